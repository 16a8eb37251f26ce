#include "client_info_upload.h"

#include "log.h"
#include "server_request.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zncore/zn_core.h"

namespace {

constexpr int kMostRows = 5000;
// The information gate takes messages only in this envelope.
inline const QString kInfoEnvelope = QStringLiteral("325005");
constexpr const char* kApmTag = "VelmarBusinessDataManagerPresenterClass::slotClientInfoCollectAPM";

QString loginAccount() {
    return CBusinessDataBase::GetInstance()->GetLoginAccount();
}

void sendApm(ZnPresenterClass* presenter, const QString& netType, const QVariantList& items) {
    const qint64 timeDiff = CBusinessDataBase::GetInstance()->getCurrentBusinessDateTimeDiff();
    ServerRequest request;
    request.msgType = Velmar_MsgType::ClientInfoUploadAPMRequest;
    request.envelopeType = netType == NetGateType::InfoGate ? kInfoEnvelope : QString();
    request.fields = {{UserAccount::userID, loginAccount()},
                      {System::ip, ZnCore::instance()->getCurrentConnectIP()},
                      {System::subGroupNumber, items.size()}};
    for (const QVariant& item : items) {
        QVariantMap row = item.toMap();
        row.insert(System::clientTimeDiff, timeDiff);
        request.rows.append(row);
    }
    postToServer(presenter, request);
}

}  // namespace

bool uploadClientInfo(ZnPresenterClass* presenter, const QList<QVariantMap>& clientInfoList) {
    ServerRequest request;
    request.msgType = Velmar_MsgType::ClientInfoUploadRequest;
    request.fields = {{UserAccount::userID, loginAccount()},
                      {System::subGroupNumber, clientInfoList.size()}};
    request.rows = clientInfoList;
    return postToServer(presenter, request);
}

void uploadClientInfoApm(ZnPresenterClass* presenter, const QString& netType,
                         const QVariantList& dataList) {
    if (dataList.size() <= kMostRows) {
        sendApm(presenter, netType, dataList);
        return;
    }
    const int pieces = (dataList.size() + kMostRows - 1) / kMostRows;
    qCDebug(lcMonitor) << kApmTag << "APM Report Split:" << dataList.size() << pieces;
    for (int piece = 0; piece < pieces; ++piece) {
        sendApm(presenter, netType, dataList.mid(piece * kMostRows, kMostRows));
    }
}

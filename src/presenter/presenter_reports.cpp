#include <QTimer>
#include <array>

#include "client_info_upload.h"
#include "dump_reports.h"
#include "push_subscriptions.h"
#include "start_up_reports.h"
#include "static_information.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "zn_business_data_manager.h"
#include "znbusinessdata/c_business_data_base.h"

using Presenter = VelmarBusinessDataManagerPresenterClass;

namespace {

constexpr int kStaticDbMs = 300000;
constexpr int kThreadsMs = 60000;

}  // namespace

void Presenter::startReportTimer(QTimer** timer, int intervalMs,
                                 const std::function<void()>& report) {
    if (!*timer) {
        *timer = new QTimer(this);
        (*timer)->setInterval(intervalMs);
        connect(*timer, &QTimer::timeout, this, report);
    }
    (*timer)->start();
}

bool Presenter::sendStartUpReports() {
    ClientInfoSink& sink = *this;
    const std::array<std::function<void()>, 9> reports{
        [&] { reportSmallScreen(sink); },
        [&] { reportColumns(sink); },
        [&] {
            publishStaticInformation(m_clock, [this] { return isClosing(); });
            m_dataManager->monitorBoard().resources();
        },
        [&] { startPerformUpload(); },
        [&] { checkProductDataVersion(); },
        [&] { m_patches->uploadClientPatchInfo(this); },
        [&] { reportLocalStaticDb(sink); },
        [&] { uploadDmpInfo(this, sink, m_clock); },
        [&] { reportLogin(sink); }};
    slotSendStaticDbErrorInfo();
    startReportTimer(&m_staticDbErrTimer, kStaticDbMs, [this] { slotSendStaticDbErrorInfo(); });
    startReportTimer(&m_threadNumTimer, kThreadsMs, [this] { slotReportThreadNum(); });
    for (const auto& report : reports) {
        if (isClosing()) {
            return false;
        }
        report();
    }
    return !isClosing();
}

void Presenter::startPerformUpload() {
    m_performance.startClientPerformUpload(this, {[this] { m_performTimerMap.clear(); },
                                                  [this](const QString& type, int periodMs) {
                                                      return startPerformTimer(type, periodMs);
                                                  }});
}

void Presenter::subscribePatchPush() {
    m_dataManager->pushSubscriptions().SubscribePushMsgFromServer(
        this, Velmar_MsgType::ClientPatchInfoPush,
        {{UserAccount::userID, CBusinessDataBase::GetInstance()->GetLoginAccount()}},
        NetGateType::TradeGate);
}

void Presenter::collectClientInfo(const QVariantMap& item) {
    emit signalClientInfoCollect(item);
}

void Presenter::slotClientInfoUpload(QList<QVariantMap> clientInfoList) {
    if (uploadClientInfo(this, clientInfoList)) {
        m_dataManager->monitorBoard().clientInfoSent(clientInfoList.size());
    }
}

void Presenter::slotClientInfoCollectAPM(QString netType, QVariantList dataList) {
    uploadClientInfoApm(this, netType, dataList);
}

void Presenter::slotReportThreadNum() {
    reportThreadNum(*this);
    m_dataManager->monitorBoard().resources();
}

void Presenter::slotSendStaticDbErrorInfo() {
    sendStaticDbErrorInfo(*this);
}

void Presenter::slotUploadClientPerformance(QString type) {
    m_performance.slotUploadClientPerformance(type);
    m_dataManager->monitorBoard().resources();
}

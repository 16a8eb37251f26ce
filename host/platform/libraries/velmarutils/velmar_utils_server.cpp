#include "data_log.h"
#include "server_query.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "znmsg/c_message_common.h"
#include "znmsg/c_pack_message_common.h"
#include "znwidget/zn_presenter_class.h"

ServerAnswer queryServer(ZnPresenterClass* presenter, const QString& msgType,
                         const QVariantMap& request) {
    if (!presenter) {
        return {QString(), QStringLiteral("%1 needs a presenter to be sent").arg(msgType), {}, {}};
    }
    CPackMessageCommon packer;
    packer.AddVaule(System::msgType, msgType);
    // After the type: a request that goes in another type's envelope names its own.
    packer.AddRowVaule(request);
    auto* message = new CMessageCommon;
    message->SetSrcid(presenter->pluginPid());
    message->SetType(msgType);
    message->SetMsg(packer.GetPackedMsg(false));
    QVariant response;
    const int result = presenter->sendRequest_Sync(message, response);
    return judgeAnswer(msgType, result, response);
}

// The message type alone says what is asked for; the mode is not sent to the server.

QString VelmarUtils::SendRequestToServer(ZnPresenterClass* p, const QString& msgType,
                                         const QVariantMap& request, QueryDataMode, QString& error,
                                         QList<QVariantMap>& rows, bool, bool) {
    const ServerAnswer answer = queryServer(p, msgType, request);
    if (!answer.error.isEmpty()) {
        qCDebug(lcPlatformQuery) << msgType << "failed:" << answer.error;
    }
    error = answer.error;
    rows = answer.rows;
    return answer.status;
}

QList<QVariantMap> VelmarUtils::QueryDatasFromServer(ZnPresenterClass* p, const QString& msgType,
                                                     const QVariantMap& request, QueryDataMode mode,
                                                     QString& error) {
    QList<QVariantMap> rows;
    SendRequestToServer(p, msgType, request, mode, error, rows, false, false);
    return rows;
}

#include <QVariantMap>
#include <utility>

#include "data_stores.h"
#include "host_msg_type.h"
#include "host_source.h"
#include "local_platform.h"
#include "log_refusal.h"
#include "message_log.h"
#include "request_broker.h"
#include "server_answer.h"
#include "vocabulary/fields.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

constexpr int kLoginTimeOutMs = 10000;

/// Sends a request of the host itself with the record as its header.
ServerAnswer ask(const QString& msgType, const QVariantMap& record) {
    QVariantMap header = record;
    header.insert(System::msgType, msgType);
    GatewayRequest request;
    request.sourceId = kHostSourceId;
    request.msgType = msgType;
    request.body = QVariantList{header};
    request.timeOutMs = kLoginTimeOutMs;
    QVariant response;
    const RequestResult result = RequestBroker::instance().sendSync(nullptr, request, response);
    return judgeAnswer(msgType, static_cast<int>(result), response);
}

bool refuse(const QString& what, const QString& why, QString* error) {
    return logRefusal(lcHost(), what, why, error);
}

}  // namespace

bool LocalPlatform::login(const QString& userId, const QString& password, QString* error) {
    return loginUser(userId, password, error) && loadAccountTree(error);
}

bool LocalPlatform::loginUser(const QString& userId, const QString& password, QString* error) {
    const ServerAnswer answer = ask(
        HostMsgType::login, {{UserAccount::loginUserId, userId}, {HostField::password, password}});
    const QString what = QStringLiteral("log-in of %1").arg(userId);
    if (!answer.error.isEmpty()) {
        return refuse(what, answer.error, error);
    }
    if (answer.rows.isEmpty()) {
        return refuse(what, QStringLiteral("the answer holds no record of the user"), error);
    }
    DataStores::businessData().setLogin(answer.rows.first());
    return true;
}

bool LocalPlatform::loadAccountTree(QString* error) {
    const QString user = CBusinessDataBase::GetInstance()->GetLoginAccount();
    ServerAnswer answer = ask(HostMsgType::accountTree, {{UserAccount::loginUserId, user}});
    if (!answer.error.isEmpty()) {
        return refuse(QStringLiteral("account tree of %1").arg(user), answer.error, error);
    }
    DataStores::businessData().setAccountTree(std::move(answer.rows));
    return true;
}

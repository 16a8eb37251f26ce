#include "handler_families.h"
#include "server_users.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"

namespace {

HandlerAnswer subscribeTopic(const ServerCall& call) {
    const QString topic = call.text(System::subscriptionTopic);
    if (topic.isEmpty()) {
        return HandlerAnswer::refused(QStringLiteral("订阅请求缺少主题"));
    }
    const QString action = call.text(Security::subscriptionRequestType);
    if (action != SubscribeType::subscribe) {
        return HandlerAnswer::refused(
            QStringLiteral("主题%1的订阅类型不支持：\"%2\"").arg(topic, action));
    }
    // A request without a user subscribes for the user who logged in on this session.
    QString userId = call.text(UserAccount::userID);
    if (userId.isEmpty()) {
        userId = call.subscriptions.user(call.session);
    }
    if (!findUser(call.store, userId)) {
        return HandlerAnswer::refused(
            QStringLiteral("主题%1的订阅用户不存在：\"%2\"").arg(topic, userId));
    }
    if (!call.subscriptions.subscribe(call.session, topic, userId, call.gate, call.gateLosses)) {
        return HandlerAnswer::refused(QStringLiteral("主题%1的订阅会话已关闭或已断线").arg(topic));
    }
    return {};
}

}  // namespace

void addSubscriptionHandlers(ServerHandlers& handlers) {
    handlers.insert(Quindar_MsgType::subscribeTopicRequest, subscribeTopic);
}

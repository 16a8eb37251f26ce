#include "push_subscriptions.h"

#include <QStringList>
#include <QTimer>
#include <memory>

#include "log.h"
#include "post.h"
#include "sanitizer.h"
#include "server_request.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "znwidget/zn_presenter_class.h"

namespace {

constexpr int kMaxAttempts = 5;
constexpr int kRetryStepMs = 5000;
inline const QChar kKeySeparator = QLatin1Char('_');
// The information gate has an envelope type of its own for subscriptions.
inline const QString kInfoGateEnvelope = QStringLiteral("325005");

}  // namespace

PushSubscriptions::~PushSubscriptions() {
    sanitizerAcquire(this);
}

QString PushSubscriptions::Subscription::key() const {
    return topic + kKeySeparator + contentText;
}

/// A scheduled retry; whoever destroys it without running it frees its place for another one.
class PushSubscriptions::PendingRetry {
public:
    PendingRetry(PushSubscriptions& owner, GateAndKey which, quint64 number)
        : m_owner(owner), m_which(std::move(which)), m_number(number) {}
    ~PendingRetry() {
        take();
        // To the owner's destructor: Qt may destroy a timer as the last step of its thread.
        sanitizerRelease(&m_owner);
    }
    Q_DISABLE_COPY(PendingRetry)

    bool take() { return m_owner.takeRetry(m_which, m_number); }

private:
    PushSubscriptions& m_owner;
    const GateAndKey m_which;
    const quint64 m_number;
};

bool PushSubscriptions::describe(const QString& topic, const QVariantMap& content,
                                 const QString& netType, Subscription* subscription) {
    if (topic.contains(kKeySeparator)) {
        qCWarning(lcHistory).noquote()
            << "the push topic" << topic << "is not subscribed: it contains \"_\"";
        return false;
    }
    QString error;
    const QString contentText = VelmarUtils::TransMap2Str(content, error);
    if (!error.isEmpty()) {
        qCWarning(lcHistory).noquote()
            << "the push topic" << topic
            << "is not subscribed: its content has no text form:" << error;
        return false;
    }
    *subscription = {topic, content, contentText, netType};
    return true;
}

bool PushSubscriptions::SubscribePushMsgFromServer(ZnPresenterClass* presenter,
                                                   const QString& topic, const QVariantMap& content,
                                                   const QString& netType) {
    Subscription subscription;
    if (!presenter || !describe(topic, content, netType, &subscription)) {
        return false;
    }
    // Held across the request: a second subscriber of the topic finds the subscription made.
    const auto order = m_subscribeLock.write();
    if (!addSubscriber(subscription.key())) {
        return attemptOnce(presenter, subscription, 0, kMaxAttempts);
    }
    qCDebug(lcHistory).noquote() << "ZnBusinessDataManager::SubscribePushMsgFromServer"
                                 << QStringLiteral("主题%1内容%2已被订阅过，不再重复订阅")
                                        .arg(topic, subscription.contentText);
    return true;
}

bool PushSubscriptions::addSubscriber(const QString& key) {
    const auto tables = m_subscribeMapsLock.lock();
    const auto known = tables->m_subscribeCountMap.find(key);
    if (known == tables->m_subscribeCountMap.end() || *known <= 0) {
        return false;
    }
    ++*known;
    return true;
}

bool PushSubscriptions::subPushMessage(ZnPresenterClass* presenter, const QString& topic,
                                       const QVariantMap& content, const QString& netType,
                                       int attempt, int maxAttempts) {
    Subscription subscription;
    return describe(topic, content, netType, &subscription) &&
           attemptOnce(presenter, subscription, attempt, maxAttempts);
}

bool PushSubscriptions::attemptOnce(ZnPresenterClass* presenter, const Subscription& subscription,
                                    int attempt, int maxAttempts) {
    ServerRequest request;
    request.msgType = Quindar_MsgType::subscribeTopicRequest;
    if (subscription.netType == NetGateType::InfoGate) {
        request.envelopeType = kInfoGateEnvelope;
    }
    request.fields = subscription.content;
    request.fields.insert(System::subscriptionTopic, subscription.topic);
    request.fields.insert(Security::subscriptionRequestType, SubscribeType::subscribe);
    request.send = SendKind::SyncBlock;
    quint64 connection = connectionOf(subscription.netType);
    ServerReply reply = sendToServer(presenter, request);
    while (reply.isAnswered() && !noteSuccess(subscription, connection)) {
        if (presenter->isClosing()) {
            return false;
        }
        qCDebug(lcHistory).noquote()
            << "the push topic" << subscription.topic
            << "is subscribed again: its gate has connected again during the request";
        connection = connectionOf(subscription.netType);
        reply = sendToServer(presenter, request);
    }
    if (reply.isAnswered()) {
        qCInfo(lcHistory).noquote()
            << "ZnBusinessDataManager::subPushMessage"
            << QStringLiteral("主题%1内容%2订阅成功，网关类型%3")
                   .arg(subscription.topic, subscription.contentText, subscription.netType);
        return true;
    }
    qCDebug(lcHistory).noquote()
        << QStringLiteral("客户端%1次订阅%2主题失败，返回值%3，失败原因：%4，订阅内容：%5")
               .arg(QString::number(attempt + 1), subscription.topic, QString::number(reply.code),
                    reply.text, subscription.contentText);
    if (attempt + 1 < maxAttempts) {
        scheduleRetry(presenter, subscription, attempt, maxAttempts);
    } else {
        qCDebug(lcHistory).noquote()
            << QStringLiteral("主题%1订阅次数已超过最大订阅次数%2次，不再尝试订阅")
                   .arg(subscription.topic, QString::number(maxAttempts));
    }
    return false;
}

quint64 PushSubscriptions::connectionOf(const QString& netType) const {
    const auto tables = m_subscribeMapsLock.lock();
    return tables->connections.value(netType);
}

bool PushSubscriptions::noteSuccess(const Subscription& subscription, quint64 connection) {
    const auto tables = m_subscribeMapsLock.lock();
    if (tables->connections.value(subscription.netType) != connection) {
        return false;
    }
    tables->m_subscribeCountMap.insert(subscription.key(), 1);
    tables->m_subscribeGateMap[subscription.netType].insert(subscription.key());
    // A retry that still waits has nothing left to do.
    tables->retries.remove({subscription.netType, subscription.key()});
    return true;
}

void PushSubscriptions::scheduleRetry(ZnPresenterClass* presenter, const Subscription& subscription,
                                      int attempt, int maxAttempts) {
    if (!presenter || presenter->isClosing()) {
        return;
    }
    const GateAndKey which{subscription.netType, subscription.key()};
    quint64 number = 0;
    {
        const auto tables = m_subscribeMapsLock.lock();
        const auto scheduled = tables->retries.constFind(which);
        // One that belongs to another presenter may end with it, so it is replaced.
        if (scheduled != tables->retries.cend() &&
            scheduled->presenterPid == presenter->pluginPid()) {
            return;
        }
        number = ++tables->lastRetry;
        tables->retries.insert(which, {presenter->pluginPid(), number});
    }
    const auto pending = std::make_shared<PendingRetry>(*this, which, number);
    startTimer(presenter, (attempt + 1) * kRetryStepMs,
               [this, presenter, subscription, attempt, maxAttempts, pending] {
                   if (pending->take() && !presenter->isClosing()) {
                       attemptOnce(presenter, subscription, attempt + 1, maxAttempts);
                   }
               });
}

bool PushSubscriptions::takeRetry(const GateAndKey& which, quint64 number) {
    const auto tables = m_subscribeMapsLock.lock();
    const auto found = tables->retries.find(which);
    if (found == tables->retries.end() || found->number != number) {
        return false;
    }
    tables->retries.erase(found);
    return true;
}

void PushSubscriptions::startTimer(ZnPresenterClass* presenter, int delayMs,
                                   const std::function<void()>& retry) {
    invokeOn(presenter,
             [presenter, delayMs, retry] { QTimer::singleShot(delayMs, presenter, retry); });
}

void PushSubscriptions::subscribeAgain(ZnPresenterClass* presenter, const QString& netType) {
    if (!presenter || (netType != NetGateType::TradeGate && netType != NetGateType::InfoGate)) {
        return;
    }
    QStringList keys;
    {
        // Waits for a subscriber whose request is under way: the server may have taken it before
        // the gate connected again.
        const auto order = m_subscribeLock.read();
        const auto tables = m_subscribeMapsLock.lock();
        ++tables->connections[netType];
        keys = tables->m_subscribeGateMap.value(netType).values();
    }
    keys.sort();
    for (const QString& key : keys) {
        if (presenter->isClosing()) {
            return;
        }
        const int split = key.indexOf(kKeySeparator);
        Subscription subscription{key.left(split), {}, key.mid(split + 1), netType};
        if (VelmarUtils::TransStr2Map(subscription.contentText, subscription.content).isEmpty()) {
            attemptOnce(presenter, subscription, 0, kMaxAttempts);
        }
    }
}

int PushSubscriptions::subscriberCount(const QString& topic, const QVariantMap& content) const {
    Subscription subscription;
    if (!describe(topic, content, {}, &subscription)) {
        return 0;
    }
    const auto tables = m_subscribeMapsLock.lock();
    return tables->m_subscribeCountMap.value(subscription.key());
}

#include "znwidget/zn_presenter_class.h"

#include <QMetaType>
#include <QVariantMap>
#include <limits>

#include "event_bus.h"
#include "message_log.h"
#include "packed_body.h"
#include "presenter_channel.h"
#include "presenter_registry.h"
#include "request_broker.h"
#include "znevent/c_event_message_common.h"
#include "znmsg/c_message_common.h"

namespace {

constexpr qint64 kMsPerSecond = 1000;
constexpr int kRefused = static_cast<int>(RequestResult::Failure);

/// Registers what signals between threads carry, references under their own names too: the first
/// emission that cannot be queued breaks its connection for good.
void registerArgumentTypes() {
    qRegisterMetaType<ZnPresenterClass*>("ZnPresenterClass*");
    qRegisterMetaType<QVariantMap>("QVariantMap&");
    qRegisterMetaType<QList<QVariantMap>>("QList<QVariantMap>");
    qRegisterMetaType<QList<QVariantMap>>("QList<QVariantMap>&");
}

GatewayRequest requestFrom(const CMessageCommon& message, const PresenterChannel& channel) {
    GatewayRequest request;
    request.sourceId = message.GetSrcid().isEmpty() ? channel.pid() : message.GetSrcid();
    request.msgType = message.GetType().toString();
    request.body = message.GetMsg();
    return request;
}

int timeOutMs(const PresenterChannel& channel, unsigned long furtherMs) {
    constexpr qint64 kLongest = std::numeric_limits<int>::max();
    const qint64 further = qint64(qMin<quint64>(furtherMs, quint64(kLongest)));
    return int(qMin(channel.timeOut.seconds() * kMsPerSecond + further, kLongest));
}

/// Does not use the presenter, which may be deleted as soon as the call has ended.
int sendAndWait(const std::shared_ptr<PresenterChannel>& channel,
                const std::unique_ptr<CMessageCommon>& message, QVariant& response,
                unsigned long furtherMs) {
    if (!message) {
        qCWarning(lcRequest) << channel->pid() << "sends a null message";
        response = makeErrorBody(QStringLiteral("no message to send"));
        return kRefused;
    }
    if (!channel->beginCall()) {
        response = makeErrorBody(QStringLiteral("the presenter is closing"));
        return kRefused;
    }
    GatewayRequest request = requestFrom(*message, *channel);
    request.timeOutMs = timeOutMs(*channel, furtherMs);
    const RequestResult result = RequestBroker::instance().sendSync(channel, request, response);
    channel->endCall();
    return static_cast<int>(result);
}

}  // namespace

ZnPresenterClass::ZnPresenterClass(const QString& pluginInstanceId, QObject*,
                                   IMessageInterface::ThreadType type)
    : m_channel(PresenterRegistry::instance().enrol(this, pluginInstanceId)) {
    registerArgumentTypes();
    if (type != IMessageInterface::OwnThreads) {
        qCWarning(lcChannel) << "presenter" << m_channel->pid() << "requests thread type"
                             << int(type) << "and gets threads of its own";
    }
    moveToThread(m_channel->objectThread());
}

ZnPresenterClass::~ZnPresenterClass() {
    m_channel->presenterDestroyed();
}

QString ZnPresenterClass::pluginPid() const {
    return m_channel->pid();
}

void ZnPresenterClass::Sub(QString pid, QVariant msgType, int) {
    if (pid != m_channel->pid()) {
        qCWarning(lcEventBus) << m_channel->pid() << "subscribes under another id:" << pid;
    }
    EventBus::instance().subscribePush(m_channel, msgType);
}

void ZnPresenterClass::SubEvent(QString pid, QVariant eventId, int) {
    if (pid != m_channel->pid()) {
        qCWarning(lcEventBus) << m_channel->pid() << "subscribes under another id:" << pid;
    }
    EventBus::instance().subscribeEvent(m_channel, eventId);
}

void ZnPresenterClass::PutEvent(QString pid, CEventMessageCommon* event) {
    const std::unique_ptr<CEventMessageCommon> owned(event);
    if (!owned) {
        qCWarning(lcEventBus) << pid << "publishes a null event";
        return;
    }
    const QString source = owned->GetSrcid().isEmpty() ? pid : owned->GetSrcid();
    EventBus::instance().publish(source, owned->GetType(), owned->GetMsg(), owned->GetDstid());
}

int ZnPresenterClass::sendRequest_Sync(CMessageCommon* msg, QVariant& response) {
    return sendRequest_Sync_Block(msg, response, 0);
}

int ZnPresenterClass::sendRequest_Sync_Block(CMessageCommon* msg, QVariant& response,
                                             unsigned long wait) {
    const std::unique_ptr<CMessageCommon> owned(msg);
    const std::shared_ptr<PresenterChannel> channel = m_channel;
    return sendAndWait(channel, owned, response, wait);
}

int ZnPresenterClass::sendRequest_Async(CMessageCommon* msg) {
    const std::unique_ptr<CMessageCommon> owned(msg);
    const std::shared_ptr<PresenterChannel> channel = m_channel;
    if (!owned) {
        qCWarning(lcRequest) << channel->pid() << "sends a null message";
        return kRefused;
    }
    const bool sent = RequestBroker::instance().sendAsync(channel, requestFrom(*owned, *channel));
    return sent ? 0 : kRefused;
}

void ZnPresenterClass::setRequestTimeOut(int seconds) {
    if (seconds < 1) {
        qCWarning(lcRequest) << m_channel->pid() << "sets a time-out of" << seconds << "s, refused";
        return;
    }
    m_channel->timeOut.set(seconds);
}

int ZnPresenterClass::getRequestTimeOut() const {
    return m_channel->timeOut.seconds();
}

bool ZnPresenterClass::isClosing() const {
    return m_channel->isClosing() || RequestBroker::instance().isClosing();
}

void ZnPresenterClass::deleteLater() {
    const std::shared_ptr<PresenterChannel> channel = m_channel;
    PresenterRegistry::instance().dispose(channel);
}

void ZnPresenterClass::ProcSubMsg(QString, QVariant, QVariant) {}

void ZnPresenterClass::ProcEventMsg(QString, QVariant, QVariant) {}

void ZnPresenterClass::ProcOtherMsg(QString, QVariant, QVariant) {}

void ZnPresenterClass::ProcResponseMsg(QString, QString, QVariant, QVariant) {}

void ZnPresenterClass::initPresenter() {
    // Once it is marked as built, the presenter may be deleted at any moment, so it is not used
    // then.
    const std::shared_ptr<PresenterChannel> channel = m_channel;
    if (isClosing()) {
        qCWarning(lcChannel) << "presenter" << channel->pid() << "is not started: closing";
    } else {
        channel->start();
    }
    channel->markBuilt();
}

#include "event_bus.h"

#include <algorithm>

#include "message_log.h"
#include "never_destroyed.h"

namespace {

template <class Table>
void removeFrom(Table& table, const PresenterChannel* channel) {
    for (auto& subscribers : table) {
        subscribers.erase(std::remove_if(subscribers.begin(), subscribers.end(),
                                         [channel](const auto& it) { return it.get() == channel; }),
                          subscribers.end());
    }
}

QString idText(int eventId) {
    return QStringLiteral("0x") + QString::number(eventId, 16).toUpper();
}

}  // namespace

EventBus& EventBus::instance() {
    return neverDestroyed([] { return new EventBus; });
}

void EventBus::add(Subscribers& subscribers, const std::shared_ptr<PresenterChannel>& channel) {
    // Under the bus's lock, which unsubscribe() takes after the presenter was marked as closing.
    if (!channel->isClosing() &&
        std::find(subscribers.begin(), subscribers.end(), channel) == subscribers.end()) {
        subscribers.push_back(channel);
    }
}

void EventBus::subscribeEvent(const std::shared_ptr<PresenterChannel>& channel,
                              const QVariant& eventId) {
    bool isNumber = false;
    const int id = eventId.toInt(&isNumber);
    if (!isNumber) {
        qCWarning(lcEventBus) << channel->pid() << "subscribes to an invalid event id:" << eventId;
        return;
    }
    qCDebug(lcTraffic).noquote() << channel->pid() << "subscribes to event" << idText(id);
    const std::lock_guard<std::mutex> lock(m_mutex);
    add(m_events[id], channel);
}

void EventBus::subscribePush(const std::shared_ptr<PresenterChannel>& channel,
                             const QVariant& msgType) {
    const QString type = msgType.toString();
    if (type.isEmpty()) {
        qCWarning(lcEventBus) << channel->pid()
                              << "subscribes to an empty message type:" << msgType;
        return;
    }
    qCDebug(lcTraffic).noquote() << channel->pid() << "subscribes to push" << type;
    const std::lock_guard<std::mutex> lock(m_mutex);
    add(m_pushes[type], channel);
}

void EventBus::unsubscribe(const PresenterChannel* channel) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    removeFrom(m_events, channel);
    removeFrom(m_pushes, channel);
}

void EventBus::publish(const QString& sourceId, const QVariant& eventId, const QVariant& body,
                       const QString& destinationId) {
    bool isNumber = false;
    const int id = eventId.toInt(&isNumber);
    if (!isNumber) {
        qCWarning(lcEventBus) << "event of" << sourceId << "without an id dropped:" << eventId;
        return;
    }
    qCDebug(lcTraffic).noquote() << sourceId << "publishes event" << idText(id);
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& channel : m_events.value(id)) {
        if (destinationId.isEmpty() || channel->instanceId() == destinationId) {
            channel->enqueue({IncomingMessage::Kind::Event, sourceId, {}, id, body});
        }
    }
}

void EventBus::push(const QString& msgType, const QVariant& body) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_pushes.constFind(msgType);
    if (found == m_pushes.constEnd() || found->empty()) {
        qCDebug(lcEventBus) << "push without a subscriber dropped:" << msgType;
        return;
    }
    for (const auto& channel : *found) {
        channel->enqueue({IncomingMessage::Kind::Push, {}, {}, msgType, body});
    }
}

void EventBus::publishTo(const PresenterChannel& channel, int eventId) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& subscriber : m_events.value(eventId)) {
        if (subscriber.get() == &channel) {
            subscriber->enqueue({IncomingMessage::Kind::Event, {}, {}, eventId, {}});
        }
    }
}

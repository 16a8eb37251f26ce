#pragma once

#include <QHash>
#include <QString>
#include <QVariant>
#include <memory>
#include <mutex>
#include <vector>

#include "presenter_channel.h"

/// Knows which presenter subscribed to which events and server pushes, and puts those into the
/// presenters' queues. Nothing is delivered on the publisher's thread. All queues are filled under
/// one lock, so that every subscriber gets the same order. Any thread.
class EventBus {
public:
    /// Never destroyed.
    static EventBus& instance();

    /// Subscribing twice, or after the presenter's disposal began, changes nothing.
    void subscribeEvent(const std::shared_ptr<PresenterChannel>& channel, const QVariant& eventId);
    void subscribePush(const std::shared_ptr<PresenterChannel>& channel, const QVariant& msgType);
    void unsubscribe(const PresenterChannel* channel);

    /// An empty destination means every subscriber; otherwise only the presenters of that plug-in
    /// instance get the event.
    void publish(const QString& sourceId, const QVariant& eventId, const QVariant& body,
                 const QString& destinationId = {});
    void push(const QString& msgType, const QVariant& body);
    /// Puts the event, without a body, into the queue of this presenter alone, if it subscribed to
    /// the event.
    void publishTo(const PresenterChannel& channel, int eventId);

private:
    using Subscribers = std::vector<std::shared_ptr<PresenterChannel>>;

    EventBus() = default;
    ~EventBus() = default;

    static void add(Subscribers& subscribers, const std::shared_ptr<PresenterChannel>& channel);

    std::mutex m_mutex;  // guards everything below; outer to a channel's own
    QHash<int, Subscribers> m_events;
    QHash<QString, Subscribers> m_pushes;
};

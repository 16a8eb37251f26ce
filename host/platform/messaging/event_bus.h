#pragma once

#include <QHash>
#include <QString>
#include <QVariant>
#include <memory>
#include <mutex>
#include <vector>

#include "presenter_channel.h"

/// Who wants which events and server pushes, and their way into the queues. Nothing is delivered
/// on the publisher's thread; under one lock, so that every subscriber gets the same order. Any
/// thread.
class EventBus {
public:
    /// Never destroyed.
    static EventBus& instance();

    /// A second subscription of the same changes nothing, one after the disposal began neither.
    void subscribeEvent(const std::shared_ptr<PresenterChannel>& channel, const QVariant& eventId);
    void subscribePush(const std::shared_ptr<PresenterChannel>& channel, const QVariant& msgType);
    void unsubscribe(const PresenterChannel* channel);

    /// An empty destination means every subscriber, another one those of that plug-in instance.
    void publish(const QString& sourceId, const QVariant& eventId, const QVariant& body,
                 const QString& destinationId = {});
    void push(const QString& msgType, const QVariant& body);

private:
    using Subscribers = std::vector<std::shared_ptr<PresenterChannel>>;

    EventBus() = default;
    ~EventBus() = default;

    static void add(Subscribers& subscribers, const std::shared_ptr<PresenterChannel>& channel);

    std::mutex m_mutex;  // guards everything below; outer to a channel's own
    QHash<int, Subscribers> m_events;
    QHash<QString, Subscribers> m_pushes;
};

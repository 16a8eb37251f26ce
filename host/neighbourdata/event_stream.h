#pragma once

#include <QVariantMap>
#include <QVector>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

/// Publishes events one after the other on a thread of its own, in the order in which they were
/// put, with no lock held. Any thread.
///
/// When more wait than the bound, they are dropped and the reload events, without a body, take
/// their place: their subscribers read everything again instead of going through what has piled up.
class EventStream {
public:
    struct Options {
        QVector<int> reloadEvents;
        size_t mostWaiting = 100000;
        /// The bound of close(), which should not take long.
        size_t mostWaitingAtClose = 1000;
        /// The platform's publishEvent() when empty.
        std::function<void(int eventId, const QVariant& body)> publish{};
    };

    explicit EventStream(const Options& options);
    /// Calls close().
    ~EventStream();
    Q_DISABLE_COPY(EventStream)

    /// Does not block. An event with an empty record has no body. Dropped after close().
    void put(int eventId, const QVariantMap& record);
    /// Blocks until everything that was put before the call is published, or replaced and the
    /// reload events are published.
    void awaitPublished();
    /// Publishes what has been put, or the reload events when that is much, and ends the thread.
    /// Blocks until it has ended; a second call does nothing.
    void close();

private:
    struct Event {
        int id = 0;
        QVariantMap record;
        quint64 number = 0;  // from 1 on, in the order of putting
    };
    void run();
    void append(int eventId, const QVariantMap& record);
    void replaceWaiting();

    const Options m_options;

    std::mutex m_lock;  // guards what follows
    std::condition_variable m_changed;
    std::deque<Event> m_events;
    quint64 m_put = 0;        // number of the last event
    quint64 m_published = 0;  // number of the last one published
    bool m_closed = false;

    std::mutex m_joinLock;  // guards the thread, for two calls of close()
    std::thread m_thread;
};

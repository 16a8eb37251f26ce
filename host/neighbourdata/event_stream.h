#pragma once

#include <QVariantMap>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

/// Publishes events one after the other on a thread of its own, in the order in which they were
/// put, with no lock held. Any thread.
class EventStream {
public:
    EventStream();
    /// Calls close().
    ~EventStream();
    Q_DISABLE_COPY(EventStream)

    /// Does not block. An event with an empty record has no body. Dropped after close().
    void put(int eventId, const QVariantMap& record);
    /// Blocks until everything that was put before the call is published.
    void awaitPublished();
    /// Publishes what has been put and ends the thread. Blocks until it has ended; a second call
    /// does nothing.
    void close();

private:
    struct Event {
        int id = 0;
        QVariantMap record;
    };
    void run();

    std::mutex m_lock;  // guards what follows
    std::condition_variable m_changed;
    std::deque<Event> m_events;
    quint64 m_put = 0;
    quint64 m_published = 0;
    bool m_closed = false;

    std::mutex m_joinLock;  // guards the thread, for two calls of close()
    std::thread m_thread;
};

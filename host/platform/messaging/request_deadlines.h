#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

#include <QtGlobal>

/// The deadlines of requests on which no caller waits. Their thread runs from the first request
/// until stop(). Any thread, but `expired` must not call stop().
class RequestDeadlines {
public:
    using Clock = std::chrono::steady_clock;
    using Expired = std::function<void(quint64 envelopeId)>;

    /// `expired` is called on this object's own thread, once per deadline that passes.
    explicit RequestDeadlines(Expired expired) : m_expired(std::move(expired)) {}

    /// Accepts deadlines again after a stop().
    void open();
    /// Forgets all deadlines, ends and joins the thread; further ones are ignored until open().
    void stop();

    void add(quint64 envelopeId, Clock::time_point deadline);
    /// Does nothing for a deadline that is unknown or just passing.
    void remove(quint64 envelopeId, Clock::time_point deadline);

private:
    void run();

    const Expired m_expired;
    std::mutex m_mutex;  // guards what follows; not held while m_expired is called
    std::condition_variable m_changed;
    std::set<std::pair<Clock::time_point, quint64>> m_deadlines;
    bool m_open = true;
    std::thread m_thread;
};

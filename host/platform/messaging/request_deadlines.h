#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

#include <QtGlobal>

/// The moments at which requests that nobody waits for are given up. Their thread runs from the
/// first request on until stop(). Any thread, except that stop() is not for `expired`.
class RequestDeadlines {
public:
    using Clock = std::chrono::steady_clock;
    using Expired = std::function<void(quint64 envelopeId)>;

    /// `expired` is called on the thread of its own, once per deadline that passes.
    explicit RequestDeadlines(Expired expired) : m_expired(std::move(expired)) {}

    /// Takes deadlines in again after a stop.
    void open();
    /// Forgets all deadlines, ends and joins the thread; takes none until open().
    void stop();

    void add(quint64 envelopeId, Clock::time_point deadline);
    /// One that is not there, or that passes at this moment, does no harm.
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

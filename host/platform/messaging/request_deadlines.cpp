#include "request_deadlines.h"

#include <pthread.h>

void RequestDeadlines::open() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_open = true;
}

void RequestDeadlines::stop() {
    std::thread thread;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_open = false;
        m_deadlines.clear();
        thread.swap(m_thread);
    }
    m_changed.notify_all();
    if (thread.joinable()) {
        thread.join();
    }
}

void RequestDeadlines::add(quint64 envelopeId, Clock::time_point deadline) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_open) {
        return;
    }
    const auto added = m_deadlines.emplace(deadline, envelopeId).first;
    if (!m_thread.joinable()) {
        m_thread = std::thread([this] { run(); });
    } else if (added == m_deadlines.begin()) {
        m_changed.notify_all();
    }
}

void RequestDeadlines::remove(quint64 envelopeId, Clock::time_point deadline) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_deadlines.erase({deadline, envelopeId});
}

void RequestDeadlines::run() {
    pthread_setname_np(pthread_self(), "deadlines");
    std::unique_lock<std::mutex> lock(m_mutex);
    while (m_open) {
        if (m_deadlines.empty()) {
            m_changed.wait(lock);
            continue;
        }
        const auto [deadline, envelopeId] = *m_deadlines.begin();
        if (Clock::now() < deadline) {
            m_changed.wait_until(lock, deadline);
            continue;
        }
        m_deadlines.erase(m_deadlines.begin());
        lock.unlock();
        m_expired(envelopeId);
        lock.lock();
    }
}

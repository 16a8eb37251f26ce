#include "thread_registry.h"

#include <QDeadlineTimer>
#include <algorithm>

#include "message_log.h"
#include "never_destroyed.h"
#include "thread_hand_over.h"
#include "znutils/zn_thread.h"

ThreadRegistry& ThreadRegistry::instance() {
    return neverDestroyed([] { return new ThreadRegistry; });
}

void ThreadRegistry::enrol(ZnThread* thread) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    Entry entry;
    entry.thread = thread;
    m_entries.push_back(entry);
}

void ThreadRegistry::withdraw(ZnThread* thread) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto find = [this, thread] {
        return std::find_if(m_entries.begin(), m_entries.end(),
                            [thread](const Entry& entry) { return entry.thread == thread; });
    };
    m_released.wait(lock, [this, &find] {
        const auto entry = find();
        return entry == m_entries.end() || entry->users == 0;
    });
    const auto entry = find();
    if (entry != m_entries.end()) {
        m_entries.erase(entry);
    }
}

bool ThreadRegistry::isClosing() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_isClosing;
}

void ThreadRegistry::setOpen() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isClosing = false;
    for (Entry& entry : m_entries) {
        entry.isLeft = false;
    }
}

unsigned ThreadRegistry::beginRound() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return ++m_round;
}

/// A running thread that the round has not met yet, which cannot be destroyed until it is released;
/// null when it has met them all.
ZnThread* ThreadRegistry::claimRunning(unsigned round, bool* isLeft) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto next = std::find_if(m_entries.begin(), m_entries.end(), [round](const Entry& entry) {
        return entry.lastRound < round && entry.thread->isRunning() &&
               entry.thread != QThread::currentThread();
    });
    if (next == m_entries.end()) {
        return nullptr;
    }
    handOverAcquire(next->thread);
    next->lastRound = round;
    ++next->users;
    *isLeft = next->isLeft;
    return next->thread;
}

void ThreadRegistry::release(ZnThread* thread, bool isLeft) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto entry =
        std::find_if(m_entries.begin(), m_entries.end(),
                     [thread](const Entry& candidate) { return candidate.thread == thread; });
    entry->isLeft = isLeft;
    --entry->users;
    m_released.notify_all();
}

/// Calls a function for each running thread, those that start meanwhile included.
void ThreadRegistry::forEachRunning(const std::function<bool(ZnThread*, bool)>& isLeftAfter) {
    const unsigned round = beginRound();
    bool isLeft = false;
    while (ZnThread* const thread = claimRunning(round, &isLeft)) {
        release(thread, isLeftAfter(thread, isLeft));
    }
}

void ThreadRegistry::endAll(std::chrono::milliseconds limit) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isClosing = true;
    }
    // All of them first, so that they end side by side.
    forEachRunning([](ZnThread* thread, bool isLeft) {
        thread->requestEnd();
        return isLeft;
    });
    const QDeadlineTimer deadline(limit);
    forEachRunning([&deadline](ZnThread* thread, bool isLeft) {
        if (isLeft) {
            return true;
        }
        if (!thread->wait(deadline)) {
            qCCritical(lcHost) << "thread" << thread->objectName()
                               << "does not end: it is left running";
            return true;
        }
        return false;
    });
}

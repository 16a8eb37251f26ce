#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

class ZnThread;

/// Every ZnThread that exists, so that those which run can be ended when the platform closes. Any
/// thread.
class ThreadRegistry {
public:
    /// Never destroyed: static objects of plug-ins contain threads.
    static ThreadRegistry& instance();

    void enrol(ZnThread* thread);
    /// Forgets the thread; waits while endAll() uses it. A second call does nothing.
    void withdraw(ZnThread* thread);

    /// Asks every running thread to end, and joins them, for all of them together at most `limit`.
    /// One that does not end in time is logged and left; later calls ask it again and do not wait
    /// for it, until setOpen(). The calling thread is left out. Threads that start from now on are
    /// asked to end when they start, until setOpen().
    void endAll(std::chrono::milliseconds limit);
    bool isClosing() const;
    /// The platform has started: threads may run, and the next endAll() waits for each of them.
    void setOpen();

private:
    struct Entry {
        ZnThread* thread = nullptr;
        int users = 0;           // calls of endAll() that use the thread now
        bool isLeft = false;     // it did not end in time
        unsigned lastRound = 0;  // of endAll() that has dealt with it
    };

    ThreadRegistry() = default;
    ~ThreadRegistry() = default;

    unsigned beginRound();
    ZnThread* claimRunning(unsigned round, bool* isLeft);
    void release(ZnThread* thread, bool isLeft);
    void forEachRunning(const std::function<bool(ZnThread*, bool isLeft)>& isLeftAfter);

    mutable std::mutex m_mutex;  // guards everything below
    std::condition_variable m_released;
    std::vector<Entry> m_entries;
    bool m_isClosing = false;
    unsigned m_round = 0;
};

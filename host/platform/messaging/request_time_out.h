#pragma once

#include <QtGlobal>
#include <mutex>
#include <thread>
#include <vector>

/// A presenter's time-out of requests, in seconds: the standing one, and those that hold for one
/// request each while it is under way. Several threads may have such requests at once; what ends
/// first takes nothing from the others, and when all have ended the standing one is back. Any
/// thread.
class RequestTimeOut {
public:
    /// What holds for a request of the calling thread: that of its own request under way, otherwise
    /// what was set last, for everybody or for another thread's request under way.
    int seconds() const;
    /// Sets the standing one; it holds at once, but for threads with a time-out of their own.
    void set(int seconds);

    /// Another one for a request of the calling thread, until end() is told the number.
    quint64 begin(int seconds);
    void end(quint64 number);

private:
    struct OfRequest {
        quint64 number;  ///< grows with each change, so that the latest one is known
        int seconds;
        std::thread::id thread;
    };

    mutable std::mutex m_mutex;  // guards everything below; held for the access alone
    int m_standing = 10;
    quint64 m_standingSince = 0;
    quint64 m_lastNumber = 0;
    std::vector<OfRequest> m_ofRequests;  // by number
};

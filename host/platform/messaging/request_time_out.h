#pragma once

#include <QtGlobal>
#include <mutex>
#include <thread>
#include <vector>

/// A presenter's time-out of requests, in seconds: the standing one, and others that hold for one
/// request each while it is pending. Several threads may have such requests at once; one that ends
/// does not affect the others, and when all have ended the standing time-out holds again. Any
/// thread.
class RequestTimeOut {
public:
    /// The time-out for a request of the calling thread: that of its own pending request, otherwise
    /// the one set last, be it the standing one or that of another thread's pending request.
    int seconds() const;
    /// Sets the standing one; it holds at once, except on threads with a time-out of their own.
    void set(int seconds);

    /// Sets another one for a request of the calling thread, until end() is called with the
    /// returned number.
    [[nodiscard]] quint64 begin(int seconds);
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

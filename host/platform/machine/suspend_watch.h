#pragma once

#include <chrono>
#include <functional>
#include <mutex>

#include "platform_export.h"

class SharedValues;

/// Notices that the machine was suspended: its boot clock goes on meanwhile, its monotonic clock
/// does not. Neither follows changes of the wall clock. Any thread.
class PLATFORM_API SuspendWatch {
public:
    using Time = std::chrono::nanoseconds;
    struct Clocks {
        std::function<Time()> boot;       ///< goes on while the machine is suspended
        std::function<Time()> monotonic;  ///< stands still meanwhile
    };

    /// The machine's own clocks and the board of the platform. Never destroyed.
    static SuspendWatch& instance();

    SuspendWatch(Clocks clocks, SharedValues& board);
    SuspendWatch(const SuspendWatch&) = delete;
    SuspendWatch& operator=(const SuspendWatch&) = delete;

    /// Begins anew: a suspension up to now does not count.
    void start();
    /// Sets ClientErrorType::ComputerSuspend and then ComputerResume on the board, as times, when
    /// the machine was suspended for a second or more since the last call. The platform calls it
    /// whenever one of the two is read, so that a reader sees them before any duration that
    /// includes the sleep. Returns whether they were set.
    bool check();

    /// Replaces the clocks and begins anew; for tests.
    void setClocks(Clocks clocks);

private:
    /// How long the machine has slept since it was booted: two limits, since the clocks are read
    /// one after the other.
    struct Slept {
        Time atLeast;
        Time atMost;
    };
    Slept readLocked() const;

    SharedValues& m_board;
    mutable std::mutex m_lock;  // guards what follows; outer to that of the board
    Clocks m_clocks;
    Time m_known{0};  ///< of the sleep that is already known
};

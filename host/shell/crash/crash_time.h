#pragma once

#include <cstdint>

/// A local time of day and date, worked out without the C library's time zones, so that a signal
/// handler may do it.
struct CrashTime {
    int year = 1970;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int millisecond = 0;

    /// `ms` since 1970-01-01 00:00 UTC; `utcOffset` in seconds, positive to the east.
    static CrashTime of(std::int64_t ms, std::int64_t utcOffset);
};

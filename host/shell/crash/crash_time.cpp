#include "crash_time.h"

namespace {

constexpr std::int64_t kMsOfSecond = 1000;
constexpr std::int64_t kSecondsOfDay = 86400;

std::int64_t floorDivide(std::int64_t value, std::int64_t by) {
    const std::int64_t quotient = value / by;
    return value % by < 0 ? quotient - 1 : quotient;
}

/// Year, month and day of a day that is counted from 1970-01-01.
void setDate(std::int64_t daysSinceEpoch, CrashTime* time) {
    // Years that begin in March end with the leap day; 400 of them repeat.
    constexpr std::int64_t kDaysToEpoch = 719468;  // from 0000-03-01
    constexpr std::int64_t kDaysOfEra = 146097;
    const std::int64_t days = daysSinceEpoch + kDaysToEpoch;
    const std::int64_t era = floorDivide(days, kDaysOfEra);
    const std::int64_t dayOfEra = days - era * kDaysOfEra;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    time->day = static_cast<int>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
    time->month = static_cast<int>(monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9);
    time->year = static_cast<int>(yearOfEra + era * 400 + (time->month <= 2 ? 1 : 0));
}

}  // namespace

CrashTime CrashTime::of(std::int64_t ms, std::int64_t utcOffset) {
    const std::int64_t local = ms + utcOffset * kMsOfSecond;
    const std::int64_t seconds = floorDivide(local, kMsOfSecond);
    const std::int64_t days = floorDivide(seconds, kSecondsOfDay);
    const std::int64_t ofDay = seconds - days * kSecondsOfDay;
    CrashTime time;
    setDate(days, &time);
    time.hour = static_cast<int>(ofDay / 3600);
    time.minute = static_cast<int>(ofDay / 60 % 60);
    time.second = static_cast<int>(ofDay % 60);
    time.millisecond = static_cast<int>(local - seconds * kMsOfSecond);
    return time;
}

#pragma once

#include <QDateTime>

/// Time as the exchanges count it: all of them are eight hours ahead of UTC, the whole year round,
/// whatever zone the machine is in.
inline constexpr int kExchangeOffsetSeconds = 8 * 3600;

inline QDateTime exchangeNow() {
    return QDateTime::currentDateTimeUtc().toOffsetFromUtc(kExchangeOffsetSeconds);
}

/// A date and time without a zone is taken as the exchanges' own; one with a zone is converted.
inline QDateTime inExchangeZone(const QDateTime& time) {
    return time.timeSpec() == Qt::LocalTime
               ? QDateTime(time.date(), time.time(), Qt::OffsetFromUTC, kExchangeOffsetSeconds)
               : time.toOffsetFromUtc(kExchangeOffsetSeconds);
}

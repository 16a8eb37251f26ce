#pragma once

#include <QDate>
#include <QDateTime>

/// The current time, as an interface so that tests can set it. Any thread.
class Clock {
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;

    /// The same as milliseconds since 1970-01-01 00:00 UTC.
    virtual qint64 msSinceEpoch() const { return now().toMSecsSinceEpoch(); }

    QDate today() const { return now().date(); }
};

/// The machine's own local time.
class SystemClock final : public Clock {
public:
    QDateTime now() const override { return QDateTime::currentDateTime(); }
    // Without the time zone, for which the system's files are looked at.
    qint64 msSinceEpoch() const override { return QDateTime::currentMSecsSinceEpoch(); }
};

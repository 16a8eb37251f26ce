#pragma once

#include <QDate>
#include <QDateTime>

/// The time, handed in so that midnight can be tested. Any thread.
class Clock {
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;

    QDate today() const { return now().date(); }
};

/// The machine's own local time.
class SystemClock final : public Clock {
public:
    QDateTime now() const override { return QDateTime::currentDateTime(); }
};

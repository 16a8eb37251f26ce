#pragma once

#include <QDate>
#include <QDateTime>

/// The current time, as an interface so that tests can set it. Any thread.
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

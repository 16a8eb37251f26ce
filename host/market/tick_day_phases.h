#pragma once

#include <QDateTime>
#include <QString>
#include <QVector>

/// The phases of a market's trading day by its clock. Day sessions only: night sessions of the
/// commodity and gold markets are left out. No holidays but the weekends. Immutable; any thread.
class DayPhases {
public:
    /// The day of an exchange, a value of the Exchange group; an unknown one has the day of
    /// Shanghai.
    explicit DayPhases(const QString& exchange);

    /// A value of TickPhase; the time is taken as it reads, whatever its time zone.
    QString at(const QDateTime& time) const;

    struct Change {
        QTime from;
        QString phase;
    };

private:
    QVector<Change> m_changes;  // by time, the first one at midnight
};

#pragma once

#include <QDateTime>
#include <QString>
#include <QVector>
#include <memory>

#include "trade_calendar.h"

/// The phases of an exchange's trading day, by its timetable and its calendar. Day sessions only:
/// the night sessions of the commodity and gold markets are left out. Immutable; any thread.
class DayPhases {
public:
    /// `exchange` is a value of the Exchange group; an unknown one gets Shanghai's timetable.
    /// Without a calendar, and outside its years, only weekends are closed and no day is a half
    /// day.
    explicit DayPhases(const QString& exchange,
                       std::shared_ptr<const TradeCalendar> calendar = nullptr);

    /// The phase at a time, a value of TickPhase. Date and time count as they read, so the time
    /// must be in the exchange's zone.
    QString at(const QDateTime& time) const;

    struct Change {
        QTime from;
        QString phase;
    };

private:
    bool isOpen(const QDate& date) const;
    bool isHalf(const QDate& date) const;

    std::shared_ptr<const TradeCalendar> m_calendar;  // may be null
    TradeDayType m_type = TradeDayType::Shares;
    QVector<Change> m_changes;  // by time, the first one at midnight
    QVector<Change> m_halfDay;  // the same for a half day; empty where there are no half days
};

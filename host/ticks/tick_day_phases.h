#pragma once

#include <QDateTime>
#include <QString>
#include <QVector>
#include <memory>

#include "trade_calendar.h"

/// The phases of a market's trading day by its clock and its calendar. Day sessions only: night
/// sessions of the commodity and gold markets are left out. Immutable; any thread.
class DayPhases {
public:
    /// The day of an exchange, a value of the Exchange group; an unknown one has the day of
    /// Shanghai. Without a calendar, and outside the years of the given one, weekends are the only
    /// holidays and no day is half.
    explicit DayPhases(const QString& exchange,
                       std::shared_ptr<const TradeCalendar> calendar = nullptr);

    /// A value of TickPhase; the time is taken as it reads, whatever its time zone.
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
    QVector<Change> m_halfDay;  // the same of a day with a morning session only; may be empty
};

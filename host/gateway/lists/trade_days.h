#pragma once

#include <QDate>
#include <QVector>

#include "market_store.h"

/// A day on which an exchange trades.
struct TradeDay {
    int date;          ///< yyyymmdd
    bool half;         ///< a morning session only
    bool provisional;  ///< a weekday of a year whose holidays are not published yet
};

/// The trade days of one kind of calendar, in order. The years of the store's calendar are
/// published; the weekdays behind them, up to the end of the year after `today`, are provisional.
/// Days before and behind these years are no trade days. Any thread; reads the store.
class TradeDays {
public:
    /// The calendar of shares, which reports of accounts follow.
    static constexpr int shares = 1;

    TradeDays(const MarketStore& store, int type, const QDate& today)
        : m_store(store), m_type(type), m_today(today) {}

    /// Whether the store has a calendar of this kind; false also when it cannot be read.
    bool exists() const;
    /// Both ends are included; an invalid end is open. False when the store cannot be read.
    bool read(const QDate& from, const QDate& to, QVector<TradeDay>* days) const;
    /// Sets whether the day is a trade day. False when the store cannot be read.
    bool contains(const QDate& day, bool* isTradeDay) const;

private:
    const MarketStore& m_store;
    const int m_type;
    const QDate m_today;
};

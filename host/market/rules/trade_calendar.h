#pragma once

#include <QDate>
#include <QMap>
#include <QString>
#include <QVector>

/// Kinds of calendar, with their numbers in requests for trade days.
enum class TradeDayType {
    Shares = 1,  ///< Shanghai, Shenzhen and Beijing; gold too
    Futures = 2,
    HongKong = 3,
    Northbound = 4,           ///< from Hong Kong into Shanghai and Shenzhen
    Southbound = 5,           ///< from Shanghai and Shenzhen into Hong Kong
    Interbank = 7,            ///< also open on weekend days that are working days
    HongKongCirculation = 9,  ///< shares of Hong Kong in full circulation
};

/// A day as the whole number yyyymmdd.
inline int dayNumber(const QDate& date) {
    return (date.year() * 100 + date.month()) * 100 + date.day();
}

/// The trade days of the years whose holidays are published. Loaded once, then read by any thread.
class TradeCalendar {
public:
    struct Day {
        QDate date;
        bool half;  ///< a morning session only
    };

    /// Reads the built-in tables of holidays. False with a text on failure.
    bool load(QString* error);

    static QVector<TradeDayType> types();
    /// The first and the last year that the tables cover.
    int firstYear() const { return m_firstYear; }
    int lastYear() const { return m_lastYear; }

    /// Whether the day is in one of those years.
    bool covers(const QDate& date) const;

    /// Whether it is a trade day; false outside the years.
    bool isTradeDay(TradeDayType type, const QDate& date) const;
    /// Whether it is a trade day with a morning session only.
    bool isHalfDay(TradeDayType type, const QDate& date) const;
    /// The trade days from one day to another, both included, in order.
    QVector<Day> days(TradeDayType type, const QDate& from, const QDate& to) const;

private:
    enum class Mark { None, Closed, Work, Half };
    using Marks = QMap<QDate, Mark>;

    bool loadMarks(const QString& file, Marks* marks, QString* error);
    bool mainlandOpen(const QDate& date) const;
    bool hongKongOpen(const QDate& date) const;

    Marks m_mainland;
    Marks m_hongKong;
    int m_firstYear = 0;
    int m_lastYear = -1;
};

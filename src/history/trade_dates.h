#pragma once

#include <QDate>
#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>

#include "guarded.h"

class ZnPresenterClass;

/// The trade days of the exchanges. Any thread; blocks for its requests and holds no lock
/// meanwhile. Lock: m_tradeDateLock.
class TradeDates {
public:
    /// The days from `startDate` to `endDate` ("yyyyMMdd") as the server writes them, in its order;
    /// an unknown exchange has the mainland's calendar. `error` is cleared, and set after a
    /// failure.
    QStringList GetTradeDates(ZnPresenterClass* presenter, const QString& startDate,
                              const QString& endDate, const QString& exchange,
                              QString& error) const;
    /// The `days` trade days around `date` ("yyyyMMdd"), likewise. Empty after a failure; a date
    /// of another form sends no request.
    QStringList GetTradeDatesByDayAndRange(ZnPresenterClass* presenter, const QString& date,
                                           int days, const QString& exchange) const;
    /// The mainland's trade days of a month (0 for the whole year) of this or the next year (0 for
    /// this one). The list of both years is requested until an answer has days, and then held for
    /// good: it ends with the year after the one in which it was loaded. Empty for any other year,
    /// after a failure, and without a presenter, which is logged.
    QList<QDate> GetTradeDatesByMonth(ZnPresenterClass* presenter, int month, int year);

private:
    struct Tables {
        QList<QDate> m_tradeDateList;  ///< the mainland's days, once an answer had any
    };

    /// The held list; when it is empty, the days of that year and the next are requested first.
    QList<QDate> monthList(ZnPresenterClass* presenter, int year);

    Guarded<Tables, QMutex> m_tradeDateLock{"m_tradeDateLock", LockRank::Leaf};
};

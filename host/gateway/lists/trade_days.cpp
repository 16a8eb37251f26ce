#include "trade_days.h"

#include <QSqlQuery>
#include <algorithm>

namespace {

int numberOf(const QDate& date) {
    return (date.year() * 100 + date.month()) * 100 + date.day();
}

/// The days of a range behind the published years.
void addProvisional(const QDate& from, const QDate& to, QVector<TradeDay>* days) {
    for (QDate date = from; date <= to; date = date.addDays(1)) {
        if (date.dayOfWeek() < Qt::Saturday) {
            days->append({numberOf(date), false, true});
        }
    }
}

}  // namespace

bool TradeDays::exists() const {
    bool found = false;
    return m_store.select(
               QStringLiteral("SELECT 1 FROM trade_calendar WHERE trade_day_type = ? LIMIT 1"),
               {m_type}, [&found](const QSqlQuery&) { found = true; }) &&
           found;
}

bool TradeDays::read(const QDate& from, const QDate& to, QVector<TradeDay>* days) const {
    constexpr int kFirstDay = 0;
    constexpr int kLastDay = 99999999;
    const bool read = m_store.select(
        QStringLiteral("SELECT trade_date, half_day FROM trade_calendar WHERE trade_day_type = ?"
                       " AND trade_date BETWEEN ? AND ? ORDER BY trade_date"),
        {m_type, from.isValid() ? numberOf(from) : kFirstDay,
         to.isValid() ? numberOf(to) : kLastDay},
        [days](const QSqlQuery& query) {
            days->append({query.value(0).toInt(), query.value(1).toBool(), false});
        });
    int lastYear = 0;
    const bool readLast =
        read &&
        m_store.select(QStringLiteral("SELECT MAX(trade_date) / 10000 FROM trade_calendar"), {},
                       [&lastYear](const QSqlQuery& query) { lastYear = query.value(0).toInt(); });
    if (readLast && lastYear > 0) {
        const QDate behind(lastYear + 1, 1, 1);
        const QDate end(std::max(m_today.year(), lastYear) + 1, 12, 31);
        addProvisional(from.isValid() ? std::max(from, behind) : behind,
                       to.isValid() ? std::min(to, end) : end, days);
    }
    return readLast;
}

bool TradeDays::contains(const QDate& day, bool* isTradeDay) const {
    QVector<TradeDay> days;
    const bool done = day.isValid() && read(day, day, &days);
    *isTradeDay = !days.isEmpty();
    return done;
}

#include "trade_calendar.h"

#include "rule_table.h"

namespace {

bool isWeekend(const QDate& date) {
    return date.dayOfWeek() >= Qt::Saturday;
}

}  // namespace

QVector<TradeDayType> TradeCalendar::types() {
    return {TradeDayType::Shares,
            TradeDayType::Futures,
            TradeDayType::HongKong,
            TradeDayType::Northbound,
            TradeDayType::Southbound,
            TradeDayType::Interbank,
            TradeDayType::HongKongCirculation};
}

bool TradeCalendar::load(QString* error) {
    m_mainland.clear();
    m_hongKong.clear();
    if (!loadMarks(QStringLiteral("holidays_mainland.csv"), &m_mainland, error) ||
        !loadMarks(QStringLiteral("holidays_hong_kong.csv"), &m_hongKong, error)) {
        return false;
    }
    m_firstYear = qMax(m_mainland.firstKey().year(), m_hongKong.firstKey().year());
    m_lastYear = qMin(m_mainland.lastKey().year(), m_hongKong.lastKey().year());
    return true;
}

bool TradeCalendar::loadMarks(const QString& file, Marks* marks, QString* error) {
    static const QMap<QString, Mark> kinds{{QStringLiteral("closed"), Mark::Closed},
                                           {QStringLiteral("work"), Mark::Work},
                                           {QStringLiteral("half"), Mark::Half}};
    const QString first = QStringLiteral("first");
    const QString last = QStringLiteral("last");
    const QString kind = QStringLiteral("kind");
    RuleTable table;
    if (!RuleTable::load(file, {first, last, kind, QStringLiteral("name")}, &table, error)) {
        return false;
    }
    for (const RuleTable::Row& row : table.rows()) {
        QDate from;
        QDate to;
        if (!table.day(row, first, &from, error) || !table.day(row, last, &to, error)) {
            return false;
        }
        const Mark mark = kinds.value(table.cell(row, kind), Mark::None);
        if (mark == Mark::None || to < from) {
            *error = table.fault(row.line, QStringLiteral("an unknown kind, or no range of days"));
            return false;
        }
        for (QDate date = from; date <= to; date = date.addDays(1)) {
            marks->insert(date, mark);
        }
    }
    return true;
}

bool TradeCalendar::mainlandOpen(const QDate& date) const {
    // Exchanges are closed on every weekend day, also on those that are working days elsewhere.
    return !isWeekend(date) && m_mainland.value(date, Mark::None) != Mark::Closed;
}

bool TradeCalendar::hongKongOpen(const QDate& date) const {
    return !isWeekend(date) && m_hongKong.value(date, Mark::None) != Mark::Closed;
}

bool TradeCalendar::covers(const QDate& date) const {
    return date.year() >= m_firstYear && date.year() <= m_lastYear;
}

bool TradeCalendar::isTradeDay(TradeDayType type, const QDate& date) const {
    if (!covers(date)) {
        return false;
    }
    switch (type) {
        case TradeDayType::Shares:
        case TradeDayType::Futures:
            return mainlandOpen(date);
        case TradeDayType::HongKong:
            return hongKongOpen(date);
        case TradeDayType::Northbound:
        case TradeDayType::Southbound:
        case TradeDayType::HongKongCirculation:
            return mainlandOpen(date) && hongKongOpen(date);
        case TradeDayType::Interbank:
            return mainlandOpen(date) || m_mainland.value(date, Mark::None) == Mark::Work;
    }
    return false;
}

bool TradeCalendar::isHalfDay(TradeDayType type, const QDate& date) const {
    const bool ofHongKong = type == TradeDayType::HongKong || type == TradeDayType::Southbound ||
                            type == TradeDayType::HongKongCirculation;
    return ofHongKong && isTradeDay(type, date) && m_hongKong.value(date, Mark::None) == Mark::Half;
}

QVector<TradeCalendar::Day> TradeCalendar::days(TradeDayType type, const QDate& from,
                                                const QDate& to) const {
    QVector<Day> list;
    for (QDate date = from; date <= to; date = date.addDays(1)) {
        if (isTradeDay(type, date)) {
            list.append({date, isHalfDay(type, date)});
        }
    }
    return list;
}

#include "tick_day_phases.h"

#include <utility>

#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"

namespace {

using Changes = QVector<DayPhases::Change>;

// Timetables as published by the exchanges, as of 2025.

/// Shares, funds, bonds and options of Shanghai, Shenzhen and Beijing.
Changes mainlandDay() {
    return {{QTime(0, 0), TickPhase::beforeOpen},       {QTime(9, 15), TickPhase::openingAuction},
            {QTime(9, 25), TickPhase::afterAuction},    {QTime(9, 30), TickPhase::continuous},
            {QTime(11, 30), TickPhase::midBreak},       {QTime(13, 0), TickPhase::continuous},
            {QTime(14, 57), TickPhase::closingAuction}, {QTime(15, 0), TickPhase::closed}};
}

/// Hong Kong, also through the connect programmes.
Changes hongKongDay() {
    return {{QTime(0, 0), TickPhase::beforeOpen},      {QTime(9, 0), TickPhase::openingAuction},
            {QTime(9, 22), TickPhase::afterAuction},   {QTime(9, 30), TickPhase::continuous},
            {QTime(12, 0), TickPhase::midBreak},       {QTime(13, 0), TickPhase::continuous},
            {QTime(16, 0), TickPhase::closingAuction}, {QTime(16, 10), TickPhase::closed}};
}

/// Hong Kong on half days: the closing auction follows the morning session.
Changes hongKongHalfDay() {
    return {{QTime(0, 0), TickPhase::beforeOpen},      {QTime(9, 0), TickPhase::openingAuction},
            {QTime(9, 22), TickPhase::afterAuction},   {QTime(9, 30), TickPhase::continuous},
            {QTime(12, 0), TickPhase::closingAuction}, {QTime(12, 10), TickPhase::closed}};
}

/// Index futures, without a closing auction.
Changes financialFuturesDay() {
    return {{QTime(0, 0), TickPhase::beforeOpen},    {QTime(9, 25), TickPhase::openingAuction},
            {QTime(9, 29), TickPhase::afterAuction}, {QTime(9, 30), TickPhase::continuous},
            {QTime(11, 30), TickPhase::midBreak},    {QTime(13, 0), TickPhase::continuous},
            {QTime(15, 0), TickPhase::closed}};
}

/// Commodity futures, with a second break in the morning.
Changes commodityDay() {
    return {{QTime(0, 0), TickPhase::beforeOpen},    {QTime(8, 55), TickPhase::openingAuction},
            {QTime(8, 59), TickPhase::afterAuction}, {QTime(9, 0), TickPhase::continuous},
            {QTime(10, 15), TickPhase::midBreak},    {QTime(10, 30), TickPhase::continuous},
            {QTime(11, 30), TickPhase::midBreak},    {QTime(13, 30), TickPhase::continuous},
            {QTime(15, 0), TickPhase::closed}};
}

/// Gold. Its auction belongs to the night session, which is left out.
Changes goldDay() {
    return {{QTime(0, 0), TickPhase::beforeOpen},
            {QTime(9, 0), TickPhase::continuous},
            {QTime(11, 30), TickPhase::midBreak},
            {QTime(13, 30), TickPhase::continuous},
            {QTime(15, 30), TickPhase::closed}};
}

bool isOfHongKong(const QString& exchange) {
    return exchange == Exchange::hhk || exchange == Exchange::szhk || exchange == Exchange::hk ||
           exchange == Exchange::HkStockCirculation;
}

bool isOfFutures(const QString& exchange) {
    return exchange == Exchange::cffex || exchange == Exchange::shf || exchange == Exchange::dcz ||
           exchange == Exchange::czce;
}

Changes dayOf(const QString& exchange) {
    if (isOfHongKong(exchange)) {
        return hongKongDay();
    }
    if (exchange == Exchange::cffex) {
        return financialFuturesDay();
    }
    if (isOfFutures(exchange)) {
        return commodityDay();
    }
    return exchange == Exchange::sge ? goldDay() : mainlandDay();
}

TradeDayType calendarOf(const QString& exchange) {
    if (exchange == Exchange::HkStockCirculation) {
        return TradeDayType::HongKongCirculation;
    }
    if (exchange == Exchange::hk) {
        return TradeDayType::HongKong;
    }
    // The connect programmes are closed when either side is.
    if (isOfHongKong(exchange)) {
        return TradeDayType::Southbound;
    }
    return isOfFutures(exchange) ? TradeDayType::Futures : TradeDayType::Shares;
}

}  // namespace

DayPhases::DayPhases(const QString& exchange, std::shared_ptr<const TradeCalendar> calendar)
    : m_calendar(std::move(calendar)),
      m_type(calendarOf(exchange)),
      m_changes(dayOf(exchange)),
      m_halfDay(isOfHongKong(exchange) ? hongKongHalfDay() : Changes()) {}

bool DayPhases::isOpen(const QDate& date) const {
    return m_calendar && m_calendar->covers(date) ? m_calendar->isTradeDay(m_type, date)
                                                  : date.dayOfWeek() < Qt::Saturday;
}

bool DayPhases::isHalf(const QDate& date) const {
    return !m_halfDay.isEmpty() && m_calendar && m_calendar->isHalfDay(m_type, date);
}

QString DayPhases::at(const QDateTime& time) const {
    if (!time.isValid() || !isOpen(time.date())) {
        return TickPhase::closed;
    }
    QString phase;
    for (const Change& change : isHalf(time.date()) ? m_halfDay : m_changes) {
        if (time.time() < change.from) {
            break;
        }
        phase = change.phase;
    }
    return phase;
}

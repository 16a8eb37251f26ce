#include "trade_dates.h"

#include <QVariantMap>
#include <algorithm>

#include "data_query.h"
#include "log.h"
#include "server_request.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

using Outcome = ServerReply::Outcome;

inline const QString kDateForm = QStringLiteral("yyyyMMdd");
constexpr int kMainland = 1;

/// SysTradeDate::TradeDayType of an exchange; one that is not listed has the mainland's.
int tradeDayTypeOf(const QString& exchange) {
    struct Calendar {
        int type;
        QStringList exchanges;
    };
    static const QList<Calendar> calendars{
        {kMainland, {Exchange::sh, Exchange::sz}},
        {2, {Exchange::cffex, Exchange::shf, Exchange::czce, Exchange::dcz}},
        {3, {Exchange::hk}},
        {4, {Exchange::ssc, Exchange::szc}},
        {5, {Exchange::hhk, Exchange::szhk}},
        {7, {Exchange::yhj}},
        {9, {Exchange::HkStockCirculation}}};
    const auto found = std::find_if(
        calendars.cbegin(), calendars.cend(),
        [&exchange](const Calendar& calendar) { return calendar.exchanges.contains(exchange); });
    return found == calendars.cend() ? kMainland : found->type;
}

QStringList tradeDatesOf(const QList<QVariantMap>& rows) {
    QStringList dates;
    dates.reserve(rows.size());
    for (const QVariantMap& row : rows) {
        dates.append(row.value(SysTradeDate::TradeDate).toString());
    }
    return dates;
}

QDate currentDay() {
    const QDate day = CBusinessDataBase::GetInstance()->getCurrentBusinessDateTime().date();
    return day.isValid() ? day : QDate::currentDate();
}

/// The mainland's days of this and the next year; empty, with a log line, after a failure.
QList<QDate> requestMonthList(ZnPresenterClass* presenter, int year) {
    ServerRequest request;
    request.msgType = Velmar_MsgType::getSysTradeDateByScopeRequest;
    request.fields = {{SysTradeDate::TradeDayType, kMainland},
                      {SysTradeDate::InitStartDate, QDate(year, 1, 1).toString(kDateForm)},
                      {SysTradeDate::InitEndDate, QDate(year + 1, 12, 31).toString(kDateForm)}};
    request.answer = AnswerForm::RowsAlone;
    const ServerReply reply = sendToServer(presenter, request);
    if (!reply.isAnswered()) {
        qCDebug(lcHistory).noquote().nospace()
            << "getSysTradeDateByScopeRequest failed, reason: "
            << (reply.outcome == Outcome::TimedOut ? QStringLiteral("查询超时") : reply.text);
        return {};
    }
    QList<QDate> days;
    for (const QString& text : tradeDatesOf(reply.rows)) {
        const QDate day = QDate::fromString(text, kDateForm);
        if (day.isValid()) {
            days.append(day);
        }
    }
    if (days.size() < reply.rows.size()) {
        qCWarning(lcHistory) << "trade days:" << reply.rows.size() - days.size() << "of"
                             << reply.rows.size() << "rows have no valid date and are left out";
    }
    return days;
}

}  // namespace

QStringList TradeDates::GetTradeDates(ZnPresenterClass* presenter, const QString& startDate,
                                      const QString& endDate, const QString& exchange,
                                      QString& error) const {
    const ServerReply reply = queryPages(presenter, Velmar_MsgType::getSysTradeDateByScopeRequest,
                                         {{SysTradeDate::TradeDayType, tradeDayTypeOf(exchange)},
                                          {SysTradeDate::InitStartDate, startDate},
                                          {SysTradeDate::InitEndDate, endDate}});
    error = reply.text;
    return tradeDatesOf(reply.rows);
}

QStringList TradeDates::GetTradeDatesByDayAndRange(ZnPresenterClass* presenter, const QString& date,
                                                   int days, const QString& exchange) const {
    if (!QDate::fromString(date, kDateForm).isValid()) {
        return {};
    }
    ServerRequest request;
    request.msgType = Velmar_MsgType::getSysTradeDateByInitDateRequest;
    request.fields = {{SysTradeDate::InitStartDate, date},
                      {SysTradeDate::TradeDayType, tradeDayTypeOf(exchange)},
                      {SysTradeDate::Days, days}};
    const ServerReply reply = sendToServer(presenter, request);
    if (!reply.isAnswered() && reply.code == 0) {
        qCInfo(lcHistory).noquote().nospace() << "GetTradeDatesByDayAndRange(" << date << ","
                                              << days << ") error, reason: " << reply.text;
    }
    return tradeDatesOf(reply.rows);
}

QList<QDate> TradeDates::GetTradeDatesByMonth(ZnPresenterClass* presenter, int month, int year) {
    if (!presenter) {
        qCDebug(lcHistory) << "GetTradeDatesByMonth prtClass == NULL";
        return {};
    }
    const int thisYear = currentDay().year();
    const QList<QDate> days = monthList(presenter, thisYear);
    const int wantedYear = year == 0 ? thisYear : year;
    if (wantedYear < thisYear || wantedYear > thisYear + 1) {
        return {};
    }
    QList<QDate> found;
    for (const QDate& day : days) {
        if (day.year() == wantedYear && (month == 0 || day.month() == month)) {
            found.append(day);
        }
    }
    return found;
}

QList<QDate> TradeDates::monthList(ZnPresenterClass* presenter, int year) {
    {
        const auto tables = m_tradeDateLock.lock();
        if (!tables->m_tradeDateList.isEmpty()) {
            return tables->m_tradeDateList;
        }
    }
    const QList<QDate> days = requestMonthList(presenter, year);
    // Of several first callers one stores its list, so that it contains each day once.
    const auto tables = m_tradeDateLock.lock();
    if (tables->m_tradeDateList.isEmpty()) {
        tables->m_tradeDateList = days;
    }
    return tables->m_tradeDateList;
}

#include "handler_families.h"
#include "list_page.h"
#include "message_centre.h"
#include "report_fields.h"
#include "trade_days.h"
#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"
#include "whole_number.h"

namespace {

/// The calendar that a request names. Empty with a text for an unknown one.
std::optional<TradeDays> calendarOf(const ServerCall& call, QString* refusal) {
    const auto type = wholeNumberOf(call.value(SysTradeDate::TradeDayType));
    if (type) {
        const TradeDays days(call.store, *type, call.messages.today());
        if (days.exists()) {
            return std::make_optional<TradeDays>(call.store, *type, call.messages.today());
        }
    }
    *refusal = QStringLiteral("不支持的交易日类型：%1").arg(call.text(SysTradeDate::TradeDayType));
    return std::nullopt;
}

QList<QVariantMap> rowsOf(const ServerCall& call, const QVector<TradeDay>& days) {
    const int type = wholeNumberOf(call.value(SysTradeDate::TradeDayType)).value_or(0);
    QList<QVariantMap> rows;
    for (const TradeDay& day : days) {
        rows.append({{SysTradeDate::TradeDate, QString::number(day.date)},
                     {SysTradeDate::TradeDayType, type},
                     {ReportField::halfDay, day.half},
                     {ReportField::provisional, day.provisional}});
    }
    return rows;
}

/// The trade days of a range, both ends included; none when it ends before it begins.
HandlerAnswer daysOfRange(const ServerCall& call) {
    QString refusal;
    QDate from;
    QDate to;
    const auto calendar = calendarOf(call, &refusal);
    if (!calendar || !readRequestDate(call, SysTradeDate::InitStartDate, &from, &refusal) ||
        !readRequestDate(call, SysTradeDate::InitEndDate, &to, &refusal)) {
        return HandlerAnswer::refused(refusal);
    }
    QVector<TradeDay> days;
    return calendar->read(from, to, &days) ? answerList(call, rowsOf(call, days))
                                           : HandlerAnswer::storeFailed();
}

/// A number of trade days from a day on, or up to a day when the number is negative, in the order
/// of the calendar. The day itself counts when it is a trade day.
HandlerAnswer daysAround(const ServerCall& call) {
    QString refusal;
    QDate start;
    const auto calendar = calendarOf(call, &refusal);
    if (!calendar || !readRequestDate(call, SysTradeDate::InitStartDate, &start, &refusal)) {
        return HandlerAnswer::refused(refusal);
    }
    const auto count = wholeNumberOf(call.value(SysTradeDate::Days));
    if (!count) {
        return HandlerAnswer::refused(
            QStringLiteral("天数无效：%1").arg(call.text(SysTradeDate::Days)));
    }
    const bool forwards = *count >= 0;
    QVector<TradeDay> days;
    if (!calendar->read(forwards ? start : QDate(), forwards ? QDate() : start, &days)) {
        return HandlerAnswer::storeFailed();
    }
    const qint64 wanted = qAbs(qint64(*count));
    const int kept = static_cast<int>(qMin<qint64>(wanted, days.size()));
    return answerList(call,
                      rowsOf(call, forwards ? days.mid(0, kept) : days.mid(days.size() - kept)));
}

}  // namespace

void addCalendarHandlers(ServerHandlers& handlers) {
    handlers.insert(Velmar_MsgType::getSysTradeDateByScopeRequest, daysOfRange);
    handlers.insert(Velmar_MsgType::getSysTradeDateByInitDateRequest, daysAround);
}

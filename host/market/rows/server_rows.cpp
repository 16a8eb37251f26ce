#include "server_rows.h"

#include "vocabulary/values.h"

QList<TableRow> makeCalendarRows(const TradeCalendar& calendar) {
    const QDate from(calendar.firstYear(), 1, 1);
    const QDate to(calendar.lastYear(), 12, 31);
    QList<TableRow> rows;
    for (const TradeDayType type : TradeCalendar::types()) {
        for (const TradeCalendar::Day& day : calendar.days(type, from, to)) {
            rows.append({QStringLiteral("trade_calendar"),
                         {static_cast<int>(type), dayNumber(day.date), day.half ? 1 : 0}});
        }
    }
    return rows;
}

QList<TableRow> makeSpreadRows(const MarketRules& rules) {
    constexpr int kThousandths = 1000;
    QList<TableRow> rows;
    const auto add = [&rows](const QString& type, const PriceLadder& ladder) {
        for (const PriceLadder::Band& band : ladder.bands()) {
            rows.append({QStringLiteral("hong_kong_spread"),
                         {type, band.upTo / double(kThousandths), band.spread.toDouble()}});
        }
    };
    add(MdcSecurityType::StockType, rules.hongKongShares);
    add(MdcSecurityType::FundType, rules.hongKongFunds);
    return rows;
}

#include "price_limits.h"

#include <algorithm>

#include "rule_table.h"
#include "vocabulary/values.h"

namespace {

constexpr double kUnitsOfOne = 10000;
inline const QString kAny = QStringLiteral("*");
inline const QString kFlagged = QStringLiteral("ST");

QString keyOf(const QString& exchange, const QString& subType, const QString& flag) {
    return QStringList{exchange, subType, flag}.join(QLatin1Char('|'));
}

/// A percentage of a price, rounded half up to the tick.
qint64 shareOf(qint64 price, int percent, qint64 tick) {
    const qint64 ofHundredTicks = price * percent;
    const qint64 tickHundred = tick * 100;
    return (2 * ofHundredTicks + tickHundred) / (2 * tickHundred) * tick;
}

double priceOf(qint64 units) {
    return static_cast<double>(units) / kUnitsOfOne;
}

}  // namespace

DayLimits dayLimits(double preClose, int percent, double tick) {
    const qint64 close = qRound64(preClose * kUnitsOfOne);
    const qint64 step = qRound64(tick * kUnitsOfOne);
    if (percent <= 0 || close <= 0 || step <= 0) {
        return {0, 0};
    }
    const qint64 max = std::max(shareOf(close, 100 + percent, step), close + step);
    const qint64 min = std::min(shareOf(close, 100 - percent, step), close - step);
    return {priceOf(max), priceOf(std::max(min, step))};
}

bool PriceLimitRules::load(QString* error) {
    const QStringList columns{QStringLiteral("name"),     QStringLiteral("exchange"),
                              QStringLiteral("sub_type"), QStringLiteral("flag"),
                              QStringLiteral("percent"),  QStringLiteral("rule")};
    RuleTable table;
    if (!RuleTable::load(QStringLiteral("price_limits.csv"), columns, &table, error)) {
        return false;
    }
    for (const RuleTable::Row& row : table.rows()) {
        int percent = 0;
        if (!table.number(row, QStringLiteral("percent"), &percent, error)) {
            return false;
        }
        if (percent < 1 || percent > 99) {
            *error = table.fault(row.line, QStringLiteral("a limit is 1 to 99 percent"));
            return false;
        }
        m_percents.insert(keyOf(table.cell(row, QStringLiteral("exchange")),
                                table.cell(row, QStringLiteral("sub_type")),
                                table.cell(row, QStringLiteral("flag"))),
                          percent);
    }
    return true;
}

int PriceLimitRules::percentOf(const QString& exchange, const QString& subType,
                               const QString& stFlag) const {
    const bool flagged = stFlag == StFlag::IsST || stFlag == StFlag::IsStarST;
    const QString& flag = flagged ? kFlagged : kAny;
    const int ofExchange = m_percents.value(keyOf(exchange, subType, flag));
    return ofExchange ? ofExchange : m_percents.value(keyOf(kAny, subType, flag));
}

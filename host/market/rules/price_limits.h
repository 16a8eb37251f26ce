#pragma once

#include <QMap>
#include <QString>

/// The highest and the lowest price of a day; 0 and 0 where there is no limit.
struct DayLimits {
    double max;
    double min;
};

/// The limits so many percent off a previous close, rounded half up to the tick. They are a tick
/// off where the percentage is less than that, and the lower one never falls below a tick. Prices
/// and tick have four decimals at most; the arithmetic is exact. No limits for a percentage of 0,
/// or where close or tick is not positive.
DayLimits dayLimits(double preClose, int percent, double tick);

/// What the exchanges limit, by exchange and kind.
class PriceLimitRules {
public:
    /// Reads the built-in table. False with a text on failure.
    bool load(QString* error);
    /// 0 for what has no limit. The flag is one of StFlag; any other text counts as none.
    int percentOf(const QString& exchange, const QString& subType, const QString& stFlag) const;

private:
    QMap<QString, int> m_percents;
};

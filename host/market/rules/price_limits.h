#pragma once

#include <QMap>
#include <QString>

/// The highest and the lowest price of a day; both are 0 for a security without limits.
struct DayLimits {
    double max;
    double min;
};

/// The limits a percentage above and below a previous close, rounded half up to the tick. They are
/// at least a tick away from the close, and the lower one is at least a tick. Prices and tick have
/// four decimals at most; the arithmetic is exact. No limits for a percentage of 0, or when close
/// or tick is not positive.
DayLimits dayLimits(double preClose, int percent, double tick);

/// The exchanges' price limits by exchange and sub-type.
class PriceLimitRules {
public:
    /// Reads the built-in table. False with a text on failure.
    bool load(QString* error);
    /// 0 without a limit. The flag is one of StFlag; any other text counts as no flag.
    int percentOf(const QString& exchange, const QString& subType, const QString& stFlag) const;

private:
    QMap<QString, int> m_percents;
};

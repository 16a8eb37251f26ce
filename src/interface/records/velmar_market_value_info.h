#pragma once

#include <QMap>
#include <QMetaType>
#include <QString>

/// The market value of one trading account's positions, in the account's currency of report
/// (docs/value.md). The totals are the sums of their parts by symbol; a symbol without a price yet
/// has the market value 0, and a symbol that was sold out stays with 0.
struct VelmarMarketValueInfo {
    QString tradingAccount;
    double marketValue = 0;                      ///< at the last prices
    double costValue = 0;                        ///< at the average costs
    QMap<QString, double> symbolMarketValueMap;  ///< market value by symbol
    QMap<QString, double> symbolCostValueMap;    ///< cost by symbol

    /// Adds the figures of `other`; the account stays.
    VelmarMarketValueInfo& operator+=(const VelmarMarketValueInfo& other) {
        marketValue += other.marketValue;
        costValue += other.costValue;
        for (auto it = other.symbolMarketValueMap.cbegin(); it != other.symbolMarketValueMap.cend();
             ++it) {
            symbolMarketValueMap[it.key()] += it.value();
        }
        for (auto it = other.symbolCostValueMap.cbegin(); it != other.symbolCostValueMap.cend();
             ++it) {
            symbolCostValueMap[it.key()] += it.value();
        }
        return *this;
    }
};

Q_DECLARE_METATYPE(VelmarMarketValueInfo)

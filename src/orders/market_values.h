#pragma once

#include <QString>
#include <QVariantMap>

#include "velmar_market_value_info.h"

class SymbolDataReader;

/// Positions of all trading accounts and their market values, kept current by position pushes and
/// ticks. Any thread. Locks: m_positionLock, m_lastPriceLock, m_marketValueLock.
class MarketValues {
public:
    explicit MarketValues(const SymbolDataReader& symbols);

    void initPosData();
    void slotPositionUpdated(const QVariantMap& dataMap);
    void takeTick(const QString& symbol);

    VelmarMarketValueInfo GetMarketValueByTradingAccount(const QString& tradingAccount) const;
    double calcMarketValue(QString& error, const QString& symbol, qint64 quantity, double price,
                           double multiplier) const;

private:
    const SymbolDataReader& m_symbols;
};

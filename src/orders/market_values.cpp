#include "market_values.h"

MarketValues::MarketValues(const SymbolDataReader& symbols) : m_symbols(symbols) {}

void MarketValues::initPosData() {}

void MarketValues::slotPositionUpdated(const QVariantMap&) {}

void MarketValues::takeTick(const QString&) {}

VelmarMarketValueInfo MarketValues::GetMarketValueByTradingAccount(const QString&) const {
    return {};
}

double MarketValues::calcMarketValue(QString&, const QString&, qint64, double, double) const {
    return 0;
}

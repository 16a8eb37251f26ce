#include "symbol_data.h"

#include "hong_kong_prices.h"
#include "price_rules.h"
#include "symbol_identity.h"

QString SymbolData::symbolOf(const QString& securityID, const QString& exchange) const {
    return m_identity.GetSymbolBySecurityIDAndExchange(securityID, exchange);
}

QVariantMap SymbolData::detailsOf(const QString& symbol) const {
    return m_identity.GetSecurityDetailsBySymbol(symbol);
}

QString SymbolData::securityTypeOf(const QString& symbol) const {
    return m_identity.GetSecurityTypeBySymbol(symbol);
}

int SymbolData::displayFactorOf(const QString& symbol) const {
    return m_prices.GetDispFactorBySymbol(symbol);
}

QMap<QString, QVariantMap> SymbolData::hongKongRates() const {
    return m_hongKong.heldRates();
}

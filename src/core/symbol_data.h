#pragma once

#include "symbol_data_reader.h"

class HongKongPrices;
class PriceRules;
class SymbolIdentity;

/// Answers from the tables of the core. Any thread.
class SymbolData : public SymbolDataReader {
public:
    SymbolData(const SymbolIdentity& identity, const PriceRules& prices,
               const HongKongPrices& hongKong)
        : m_identity(identity), m_prices(prices), m_hongKong(hongKong) {}

    QString symbolOf(const QString& securityID, const QString& exchange) const override;
    QVariantMap detailsOf(const QString& symbol) const override;
    QString securityTypeOf(const QString& symbol) const override;
    int displayFactorOf(const QString& symbol) const override;
    QMap<QString, QVariantMap> hongKongRates() const override;

private:
    const SymbolIdentity& m_identity;
    const PriceRules& m_prices;
    const HongKongPrices& m_hongKong;
};

#pragma once

#include <QMap>
#include <QString>
#include <QVariantMap>

/// What the valuation of positions needs to know about symbols. Any thread; sends nothing.
class SymbolDataReader {
public:
    virtual ~SymbolDataReader() = default;

    virtual QString symbolOf(const QString& securityID, const QString& exchange) const = 0;
    /// The symbol's record; empty when unknown.
    virtual QVariantMap detailsOf(const QString& symbol) const = 0;
    /// The symbol's MdcSecurityType; empty when unknown.
    virtual QString securityTypeOf(const QString& symbol) const = 0;
    /// Pieces of one display unit.
    virtual int displayFactorOf(const QString& symbol) const = 0;
    /// The Hong Kong exchange rate rows by exchange, as loaded so far.
    virtual QMap<QString, QVariantMap> hongKongRates() const = 0;
};

#pragma once

#include <QString>
#include <QVariantMap>
#include <QtGlobal>

#include "velmarutils/velmar_busi_utils.h"

class HongKongPrices;
class PriceCage;
class SymbolIdentity;

/// What an order ticket asks about a price. A tick is a record with the keys "Symbol", "MaxPx",
/// "TradingPhaseCode" and the quotes; prices are in the symbol's own currency. No tables; any
/// thread; nothing blocks beyond a lock.
class PriceRules {
public:
    PriceRules(const SymbolIdentity& identity, const HongKongPrices& hongKong,
               const PriceCage& cage)
        : m_identity(identity), m_hongKong(hongKong), m_cage(cage) {}

    /// The price unit as a text, "0.01" for what is unknown. `price` matters for Hong Kong alone.
    QString GetPriceUnitStringBySymbol(const QString& symbol, double price,
                                       const QString& side) const;
    /// The number of that text.
    double GetPriceUnitBySymbol(const QString& symbol, double price, const QString& side) const;
    /// Decimals of a price.
    int GetPricePrecisionBySymbol(const QString& symbol, const QString& side) const;
    /// By what a quantity is divided for display.
    int GetDispFactorBySymbol(const QString& symbol) const;
    /// The price that a price type means at a tick; with `applyCage` brought inside the cage during
    /// continuous trading and checked against the day's limits. `useDispFactor` tells that `qty` is
    /// one to be divided by the display factor where a type takes a quantity. `handicap` may be
    /// null. 0 when the tick does not have it, which `applyCage` checks like any price: it comes
    /// back as the lowest that cage and day allow.
    double GetPriceByTickAndType(const QVariantMap& tick, const CustomPriceType& type,
                                 const qint64& qty, bool useDispFactor, bool applyCage, bool isSell,
                                 HandicapInfo* handicap) const;
    /// The same without cage or check; the two types of a limit by ratio take the board's own rule,
    /// `ratio` (0.02 is two percent) being that of the science board.
    double GetPriceByTickAndType(const QVariantMap& tick, CustomPriceType type, qint64 qty,
                                 double ratio, HandicapInfo* handicap) const;
    /// Whether a market order of the symbol may carry a protective limit.
    bool IsSymbolSupportProtectedLimitPrice(const QString& symbol) const;

private:
    QString stockOrFundUnit(const QString& type, const QString& subType, double price) const;
    double priceByRatio(const QVariantMap& tick, const QString& symbol, bool isUpper,
                        double ratio) const;

    const SymbolIdentity& m_identity;
    const HongKongPrices& m_hongKong;
    const PriceCage& m_cage;
};

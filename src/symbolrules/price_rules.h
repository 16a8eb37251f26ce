#pragma once

#include <QString>
#include <QVariantMap>
#include <QtGlobal>

#include "velmarutils/velmar_busi_utils.h"

class HongKongPrices;
class PriceCage;
class SymbolIdentity;

/// Answers the questions of an order ticket about prices. A tick is a record with the keys of
/// TickField; prices are in the symbol's own currency. No tables; any thread; nothing blocks beyond
/// a lock.
class PriceRules {
public:
    PriceRules(const SymbolIdentity& identity, const HongKongPrices& hongKong,
               const PriceCage& cage)
        : m_identity(identity), m_hongKong(hongKong), m_cage(cage) {}

    /// The price unit as a text, "0.01" for an unknown symbol. `price` matters for Hong Kong only.
    QString GetPriceUnitStringBySymbol(const QString& symbol, double price,
                                       const QString& side) const;
    /// The number of that text.
    double GetPriceUnitBySymbol(const QString& symbol, double price, const QString& side) const;
    /// The number of decimals of a price.
    int GetPricePrecisionBySymbol(const QString& symbol, const QString& side) const;
    /// The number that a quantity is divided by for display.
    int GetDispFactorBySymbol(const QString& symbol) const;
    /// The price that a price type means at a tick. With `applyCage` it is limited by the cage
    /// during continuous trading and always by the day's limits. With `useDispFactor`, `qty` is
    /// divided by the display factor for the types that take a quantity. `handicap` may be null. 0
    /// when the tick has no such price; with `applyCage` that 0 is limited like any price, so the
    /// result is the lowest price that cage and day allow.
    double GetPriceByTickAndType(const QVariantMap& tick, const CustomPriceType& type,
                                 const qint64& qty, bool useDispFactor, bool applyCage, bool isSell,
                                 HandicapInfo* handicap) const;
    /// The same without cage and day limits. The two types of a limit by ratio follow the rule of
    /// the symbol's board; `ratio` (0.02 is two percent) is used on the science board only.
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

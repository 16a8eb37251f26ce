#pragma once

#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "platform_export.h"
#include "velmarutils/custom_price_type.h"

/// Helpers over the business data: names, lists of symbols, factors, prices of a tick. Any thread;
/// none sends a request. Those that need a security's record read the reference data, which may
/// take a moment at the first call; the others only compute.
class PLATFORM_API VelmarBusiUtils {
public:
    /// The display name of an exchange. For a code that has none, the name of the market of the
    /// symbol suffix; the code itself when neither is known.
    static QString GetExchangeName(const QString& exchange, const QString& symbolPost);

    /// The symbols that an account of this FundAccountType may trade, sorted: futures, options and
    /// gold by the type alone; for cash and credit accounts the shares, bonds and funds of the
    /// given exchanges. Symbols with System::deleteFlag are left out. Empty for another type.
    static QStringList GetTradableSymbolListByAccountType(const QString& fundAccountType,
                                                          const QStringList& exchanges);
    /// The same with the symbols that have System::deleteFlag, which a search still has to find.
    static QStringList GetTradableSymbolListForSearchByAccountType(const QString& fundAccountType,
                                                                   const QStringList& exchanges);

    /// How many units of quantity one displayed unit holds (a lot of the market), at least 1. By
    /// symbol suffix, or by exchange code.
    static int GetDispFactor(const QString& securityType, const QString& symbolPost);
    static int GetDispFactorByExchange(const QString& securityType, const QString& exchange);
    /// The number of decimals of a price.
    static int GetPricePrecision(const QString& securityType, const QString& subType,
                                 const QString& symbolPost, const QString& side);

    /// The price, limited to the tick's lower and upper bound where it has them.
    static double GetCheckedPriceFromTick(const QVariantMap& tick, double price);
    /// The last price of the tick; 0 when it has none.
    static double GetLastPriceFromTick(const QVariantMap& tick);
    /// The price of that type. `qty` serves the types that need a quantity; `handicap`, when given,
    /// is filled. 0 when the tick has no such price.
    static double GetPriceByTickAndType(const QVariantMap& tick, CustomPriceType type, qint64 qty,
                                        HandicapInfo* handicap);

    /// The quantity rounded down to a multiple of the step. 0 for a quantity below `minQty` and for
    /// one that is not finite; a step below 1 counts as 1. A quantity that does not fit 64 bits
    /// gives the largest multiple that does.
    static qint64 GetFloorByStepAndMinLimit(double qty, int step, int minQty);

    /// The symbol that an id on an exchange would have: the id, a dot and the exchange's suffix.
    /// Empty without an id or for an exchange that has no suffix. Does not check that
    /// such a security exists.
    static QString AssembleSymbolBySecurityIDAndExchange(const QString& securityID,
                                                         const QString& exchange);
};

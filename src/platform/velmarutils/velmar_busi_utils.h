#pragma once

#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "platform_export.h"
#include "velmarutils/custom_price_type.h"

/// Helpers over the business data: names, lists of symbols, factors, prices of a tick. Any thread;
/// no request is sent. Functions that need a security's record read the reference data, and the
/// first of them loads it, which may take a moment; the others only compute.
class PLATFORM_API VelmarBusiUtils {
public:
    /// The display name of an exchange. For a code without a name, the name of the market that the
    /// symbol suffix belongs to; the code itself when neither is known.
    static QString GetExchangeName(const QString& exchange, const QString& symbolPost);

    /// The symbols that an account of this FundAccountType may trade, sorted: futures, options and
    /// gold by the type alone; for cash and credit accounts the shares, bonds and funds of the
    /// given exchanges. Symbols with System::deleteFlag are left out. Empty for any other type.
    /// Walks all securities.
    static QStringList GetTradableSymbolListByAccountType(const QString& fundAccountType,
                                                          const QStringList& exchanges);
    /// The same, including symbols with System::deleteFlag, which a search must still find.
    static QStringList GetTradableSymbolListForSearchByAccountType(const QString& fundAccountType,
                                                                   const QStringList& exchanges);

    /// How many units of quantity one displayed unit (a lot of the market) contains, at least 1. By
    /// symbol suffix, or by exchange code.
    static int GetDispFactor(const QString& securityType, const QString& symbolPost);
    static int GetDispFactorByExchange(const QString& securityType, const QString& exchange);
    /// The number of decimals of a price.
    static int GetPricePrecision(const QString& securityType, const QString& subType,
                                 const QString& symbolPost, const QString& side);

    /// The price limited to the tick's TickField::minPrice and TickField::maxPrice; a limit that is
    /// missing or not above zero is not applied.
    static double GetCheckedPriceFromTick(const QVariantMap& tick, double price);
    /// The last price of the tick; 0 when it has no last price.
    static double GetLastPriceFromTick(const QVariantMap& tick);
    /// The price of a type. `qty` is used by the types that need a quantity; `handicap` is filled
    /// unless it is null. 0 when the tick has no such price.
    static double GetPriceByTickAndType(const QVariantMap& tick, CustomPriceType type, qint64 qty,
                                        HandicapInfo* handicap);

    /// The quantity rounded down to a multiple of the step. A quantity that misses a multiple by no
    /// more than 1e-10 of itself and a millionth of the step counts as that multiple, since it is
    /// the inexact result of a division. 0 for a quantity below `minQty`, for one that is not
    /// above zero, and for one that is not finite; a step below 1 counts as 1. Quantities beyond
    /// 64 bits give the largest multiple that 64 bits can hold.
    static qint64 GetFloorByStepAndMinLimit(double qty, int step, int minQty);

    /// The symbol that an id on an exchange would have: the id, a dot and the exchange's suffix.
    /// Empty without an id or for an exchange without a suffix. Does not check that such a security
    /// exists.
    static QString AssembleSymbolBySecurityIDAndExchange(const QString& securityID,
                                                         const QString& exchange);
};

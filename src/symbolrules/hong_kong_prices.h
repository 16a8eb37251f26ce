#pragma once

#include <QMap>
#include <QString>
#include <QVariantMap>

#include "guarded.h"
#include "rate_side_type.h"

class PriceUnitLadders;
class ZnPresenterClass;

/// Exchange rates and price ladders of Hong Kong, which the server tells once per login; a failure
/// is not repeated. Any thread. Locks: m_hkRateLock; the ladders have none, see
/// m_hkStockPriceUnitSrvMap.
class HongKongPrices {
public:
    explicit HongKongPrices(const PriceUnitLadders& builtIn) : m_builtIn(builtIn) {}

    /// Loads the rates, the first time only. Blocks for the request then.
    void initHKExchangeRate(ZnPresenterClass* presenter);
    /// Loads the ladders of shares and of funds, each the first time only. Blocks for the requests
    /// then.
    void initHKPriceUnit(ZnPresenterClass* presenter);

    /// The price unit in dollars at a price in dollars: of the ladder of funds or, for any other
    /// type, of shares; the server's ladder once the load of this very type is done, the built-in
    /// one until then. No load is made for a type other than shares and funds, so that type keeps
    /// the built-in ladder. A price on a bound belongs to the band below it, one above all of them
    /// to the highest. 0.001 from an empty ladder.
    double GetHKStockPriceUnit(double price, const QString& securityType) const;
    /// Fills `rates` with the rate rows by exchange; empty without a presenter, after a failed load
    /// and, at once, while another caller loads. May load first.
    void GetHKStockExchangeRate(ZnPresenterClass* presenter, QMap<QString, QVariantMap>& rates);
    /// One figure of an exchange's rate; 0 without a presenter, for an unknown exchange or side,
    /// after a failed load and, at once, while another caller loads. May load first.
    double GetHKStockRate(ZnPresenterClass* presenter, const QString& exchange, RateSideType side);

private:
    using Ladder = QMap<int, double>;
    struct Tables {
        QMap<QString, QVariantMap> m_hkRateMap;  // by exchange
    };

    static void loadLadder(ZnPresenterClass* presenter, const QString& securityType, int unitType,
                           Ladder* ladder);

    const PriceUnitLadders& m_builtIn;
    Guarded<Tables> m_hkRateLock{"m_hkRateLock", LockRank::Leaf};
    // Written once each, by whoever claimed the step, and read only when the registry of steps says
    // that it is done, which its own lock orders behind the writing.
    Ladder m_hkStockPriceUnitSrvMap;
    Ladder m_hkFundPriceUnitSrvMap;
};

#pragma once

#include <QMap>
#include <QString>
#include <QVariantMap>

#include "guarded.h"
#include "load_step.h"
#include "rate_side_type.h"

class PriceUnitLadders;
class ZnPresenterClass;

/// Exchange rates and price ladders of Hong Kong. They are requested from the server once per
/// login: a failed load is not repeated, but one that a closing presenter broke off is continued by
/// the next presenter. Any thread. Locks: m_hkRateLock; the ladders have no lock, see
/// m_hkStockPriceUnitSrvMap.
class HongKongPrices {
public:
    explicit HongKongPrices(const PriceUnitLadders& builtIn);

    /// Loads the rates, the first time only. Blocks for the request then.
    void initHKExchangeRate(ZnPresenterClass* presenter);
    /// Loads the ladder of shares and the ladder of funds, each the first time only. Blocks for the
    /// requests then.
    void initHKPriceUnit(ZnPresenterClass* presenter);

    /// The price unit in dollars at a price in dollars. Funds have a ladder of their own, every
    /// other type uses that of shares. The server's ladder is used once the load of this very type
    /// has succeeded, the built-in one until then; since only shares and funds are loaded, any
    /// other type keeps the built-in ladder. A price on a bound belongs to the band below it, a
    /// price above all bounds to the highest band. 0.001 when the ladder is empty.
    double GetHKStockPriceUnit(double price, const QString& securityType) const;
    /// Fills `rates` with the rate rows by exchange. Empty without a presenter and after a failed
    /// load; also empty, without blocking, while another caller loads. Loads if nobody has yet.
    void GetHKStockExchangeRate(ZnPresenterClass* presenter, QMap<QString, QVariantMap>& rates);
    /// The rate rows by exchange that are loaded so far. Does not block.
    QMap<QString, QVariantMap> heldRates() const;
    /// One figure of an exchange's rate. 0 without a presenter, for an unknown exchange or side,
    /// and after a failed load; also 0, without blocking, while another caller loads. Loads if
    /// nobody has yet.
    double GetHKStockRate(ZnPresenterClass* presenter, const QString& exchange, RateSideType side);

private:
    using Ladder = QMap<int, double>;
    struct Tables {
        QMap<QString, QVariantMap> m_hkRateMap;  // by exchange
    };

    static void loadLadder(ZnPresenterClass* presenter, int unitType, LoadStep* step,
                           Ladder* ladder);

    const PriceUnitLadders& m_builtIn;
    LoadStep m_rateStep;
    LoadStep m_stockUnitStep;
    LoadStep m_fundUnitStep;
    Guarded<Tables> m_hkRateLock{"m_hkRateLock", LockRank::Leaf};
    // Each is written once, by the thread that claimed its step, and read only when the registry of
    // steps reports it as done; the registry's lock orders the two.
    Ladder m_hkStockPriceUnitSrvMap;
    Ladder m_hkFundPriceUnitSrvMap;
};

#pragma once

#include <QMap>

/// The built-in Hong Kong price ladders of the static configuration: the upper end of a price band,
/// included, in thousandths of a Hong Kong dollar, to its price unit in dollars. Written once by
/// load(), before any reader exists, so without a lock.
class PriceUnitLadders {
public:
    /// A key that is no number counts as 0; a later one takes the place of an earlier one.
    void load();

    const QMap<int, double>& hkStockPriceUnitMap() const { return m_hkStockPriceUnitMap; }
    const QMap<int, double>& hkFundPriceUnitMap() const { return m_hkFundPriceUnitMap; }

private:
    QMap<int, double> m_hkStockPriceUnitMap;
    QMap<int, double> m_hkFundPriceUnitMap;
};

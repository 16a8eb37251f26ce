#pragma once

#include <QMap>
#include <QString>
#include <QVariant>

/// Adds a row to a ladder: the upper end of its band in thousandths of a dollar, and its price unit
/// in dollars. A bound that an int cannot hold counts as 0, a unit that is not a number as 0. One
/// warning for such a row and for a unit that is not above 0; the row is kept all the same.
void enterLadderRow(const QString& bound, const QVariant& unit, QMap<int, double>* ladder);

/// The built-in Hong Kong price ladders of the static configuration: from the upper end of a price
/// band (which belongs to the band) in thousandths of a Hong Kong dollar to the price unit in
/// dollars. Written once by load(), before any reader exists, so without a lock.
class PriceUnitLadders {
public:
    /// See enterLadderRow(); of two rows with one bound the later one is kept.
    void load();

    const QMap<int, double>& hkStockPriceUnitMap() const { return m_hkStockPriceUnitMap; }
    const QMap<int, double>& hkFundPriceUnitMap() const { return m_hkFundPriceUnitMap; }

private:
    QMap<int, double> m_hkStockPriceUnitMap;
    QMap<int, double> m_hkFundPriceUnitMap;
};

#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>

class SymbolDataReader;

/// The price at which a standard bond counts, in yuan.
inline constexpr double kStandardBondPrice = 100.0;

/// The value of a quantity in pieces (shares or contracts) at a price in the currency of the
/// symbol: for gold per gram, for futures and options per unit of the contract, for all others per
/// piece. Bonds count with their accrued interest, options with the multiplier of their record,
/// gold with the grams of one contract; `multiplier` counts for futures alone. Returns 0 with
/// `error` set for a bond whose accrued interest is unknown; `error` stays as it is otherwise. The
/// value of figures out of any range is not finite. Any thread; does not block.
double calcMarketValue(const SymbolDataReader& symbols, const QStringList& standardBonds,
                       QString& error, const QString& symbol, qint64 pieces, double price,
                       double multiplier);

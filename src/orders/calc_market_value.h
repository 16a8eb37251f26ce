#pragma once

#include <QString>
#include <QStringList>
#include <QtGlobal>

class SymbolDataReader;

/// The price at which a standard bond counts, in yuan.
inline constexpr double kStandardBondPrice = 100.0;

/// The value of `quantity` pieces (shares or contracts) at a price in the currency of the symbol:
/// for gold per gram, for futures and options per unit of the contract, for all others per piece.
/// Bonds count with their accrued interest, options with the multiplier of their record, gold with
/// the grams of one contract; `multiplier` counts for futures alone. Returns 0 with `error` set for
/// a bond whose accrued interest is unknown, and 0 with a log line when the figures give no finite
/// value; `error` stays as it is otherwise. Any thread; does not block.
double calcMarketValue(const SymbolDataReader& symbols, const QStringList& standardBonds,
                       QString& error, const QString& symbol, qint64 quantity, double price,
                       double multiplier);

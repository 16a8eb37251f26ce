#pragma once

#include <QString>

/// Fields of a security's record that a quote starts from. Prices as they are quoted, on the grid
/// of the tick.
namespace QuoteField {
inline const QString preClosePx = QStringLiteral("PreClosePx");
inline const QString maxPx = QStringLiteral("MaxPx");  ///< the day's limits; 0 where there are none
inline const QString minPx = QStringLiteral("MinPx");
inline const QString priceTick = QStringLiteral("PriceTick");
}  // namespace QuoteField

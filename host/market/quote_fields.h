#pragma once

#include <QString>

#include "vocabulary/tick_fields.h"

/// Fields of a security's record that a quote starts from, prices in the security's currency. Both
/// limits are 0 for a security without limits.
namespace QuoteField {
using TickField::maxPrice;
using TickField::minPrice;
using TickField::previousClose;
inline const QString priceTick = QStringLiteral("PriceTick");
}  // namespace QuoteField

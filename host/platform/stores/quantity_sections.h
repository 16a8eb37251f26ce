#pragma once

#include <QString>

/// Sections of the static database with the rules of quantity. A key of steps and minimums is a
/// sub-type, a type or "*"; a key of maximums may go on with "_" and conditions, as in
/// 02200_orderType:1.
namespace QuantitySection {
inline const QString step = QStringLiteral("StepQtyRule");
inline const QString min = QStringLiteral("MinQtyRule");
inline const QString max = QStringLiteral("MaxQtyRule");
}  // namespace QuantitySection

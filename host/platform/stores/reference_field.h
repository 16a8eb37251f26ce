#pragma once

#include <QString>

/// Fields of reference records that are not in the vocabulary.
namespace ReferenceField {
inline const QString accruedInterest = QStringLiteral("accruedInterest");  ///< of 100 face value
inline const QString etfCodeType = QStringLiteral("etfCodeType");
inline const QString etfStatus = QStringLiteral("etfStatus");
inline const QString fundSymbol = QStringLiteral("fundSymbol");  ///< the fund of a redemption code
inline const QString subscribeId = QStringLiteral("subscribeId");
inline const QString issuePrice = QStringLiteral("issuePrice");
inline const QString quotaQty = QStringLiteral("quotaQty");
}  // namespace ReferenceField

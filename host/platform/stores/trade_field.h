#pragma once

#include <QString>

/// Fields of orders and deals that the vocabulary does not name; prices in currency per piece.
namespace TradeField {
inline const QString orderPrice = QStringLiteral("orderPrice");
inline const QString dealPrice = QStringLiteral("lastPx");
/// Of a request to cancel: the order's Security::orderID.
inline const QString origOrderID = QStringLiteral("origOrderID");
/// Of deal statistics: the number of deals.
inline const QString dealCount = QStringLiteral("dealCount");
/// Of a delivery: what the account gets, in currency; negative where it pays.
inline const QString settledAmount = QStringLiteral("settledAmount");
}  // namespace TradeField

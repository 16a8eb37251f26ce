#pragma once

#include <QString>

#include "trade_field.h"

/// Codes of Security::side in deals and executions beside OrderSide::buy.
namespace DealSide {
inline const QString sell = QStringLiteral("2");
}

/// Values of UserAccount::ExchangeExecType in deals beside EntrustType::cancelOrder.
namespace DealRow {
inline const QString deal = QStringLiteral("0");
}

/// Events of the neighbouring data plug-in; one record per event, on the header row.
namespace NeighbourEvent {
inline constexpr int positionsLoaded = 0x31000;
inline constexpr int positionsReloaded = 0x31001;
inline constexpr int positionChanged = 0x31002;
inline constexpr int executionsReloaded = 0x30001;
inline constexpr int normalDeal = 0x30006;
inline constexpr int marginDeal = 0x30004;
}  // namespace NeighbourEvent

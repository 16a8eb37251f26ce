#pragma once

#include <QString>

/// The numbered events that the presenter subscribes to, and the look-up of named ones.
namespace EventIds {

inline constexpr int positionsLoaded = 0x31000;
inline constexpr int positionsReloaded = 0x31001;
inline constexpr int positionUpdated = 0x31002;
inline constexpr int clientInfo = 0x35000;
inline constexpr int clientInfoApm = 0x35001;
inline constexpr int executionsReloaded = 0x30001;
inline constexpr int marginDeal = 0x30004;
inline constexpr int normalDeal = 0x30006;
inline constexpr int marketTcpGateState = 0x10005;
inline constexpr int tradeGateState = 0x10006;
inline constexpr int settingsChanged = 0x1000A;
inline constexpr int infoGateState = 0x1000B;
inline constexpr int marketGrpcGateState = 0x10012;

/// The id of a named event.
int named(const QString& eventName);

}  // namespace EventIds

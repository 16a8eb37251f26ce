#pragma once

#include <QString>
#include <array>

#include "vocabulary/values.h"

/// The events of the bus that tell a gate's state.
struct GateEvent {
    int id;
    QString gate;
};

/// Never destroyed: a link may still tell states at the very end.
inline const std::array<GateEvent, 4>& gateEvents() {
    static const auto* const events =
        new std::array<GateEvent, 4>{{{0x10005, NetGateType::MarketTcpGate},
                                      {0x10006, NetGateType::TradeGate},
                                      {0x1000B, NetGateType::InfoGate},
                                      {0x10012, NetGateType::MarketGrpcGate}}};
    return *events;
}

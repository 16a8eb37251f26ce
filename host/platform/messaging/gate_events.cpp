#include "gate_events.h"

#include "never_destroyed.h"
#include "vocabulary/values.h"

const std::array<GateEvent, 4>& gateEvents() {
    return neverDestroyed([] {
        return new const std::array<GateEvent, 4>{{{0x10005, NetGateType::MarketTcpGate},
                                                   {0x10006, NetGateType::TradeGate},
                                                   {0x1000B, NetGateType::InfoGate},
                                                   {0x10012, NetGateType::MarketGrpcGate}}};
    });
}

#include "gate_switch.h"

#include <utility>

#include "gateway_log.h"
#include "vocabulary/constants.h"
#include "vocabulary/net_state.h"
#include "vocabulary/plugin_id.h"
#include "vocabulary/values.h"

namespace {

constexpr int kSubscribe = 1;

/// The gate of a gateway's name, empty for an unknown one.
QString gateNamed(const QString& gateway) {
    const std::pair<const QString&, const QString&> gates[] = {
        {Constants::ZGATE_GATEWAY, NetGateType::TradeGate},
        {Constants::ZINFO_GATEWAY, NetGateType::InfoGate},
        {Constants::MDC_TCP_GATEWAY, NetGateType::MarketTcpGate}};
    for (const auto& [name, gate] : gates) {
        if (name == gateway) {
            return gate;
        }
    }
    return {};
}

}  // namespace

GateSwitch::GateSwitch(SetGate setGate)
    : ZnPresenterClass(PluginID::PLUGINNET_GLOBALID, nullptr, IMessageInterface::OwnThreads),
      m_setGate(std::move(setGate)) {
    SubEvent(pluginPid(), kReconnectEvent, kSubscribe);
}

void GateSwitch::ProcEventMsg(QString srcId, QVariant eventId, QVariant body) {
    if (eventId.toInt() != kReconnectEvent) {
        return;
    }
    const QString gate = gateNamed(body.toString());
    if (gate.isEmpty()) {
        qCWarning(lcGateway) << srcId << "requests to reconnect an unknown gateway:" << body;
        return;
    }
    qCInfo(lcGateway).noquote() << gate << "is reconnected as requested by" << srcId;
    for (const QString& netState :
         {NET_STATE::NOCONNECT, NET_STATE::CONNECTTING, NET_STATE::CONNECTED}) {
        m_setGate(gate, netState);
    }
}

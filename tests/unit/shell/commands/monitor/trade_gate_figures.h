#pragma once

#include "monitor_figures.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"

/// Figures of the trade gate, which is up and has samples, of another gate without samples, and of
/// client information on its way.
inline MonitorFigures tradeGateFigures(const QString& otherGate, const QString& otherState) {
    MonitorFigures figures;
    GateFigures trade;
    trade.state = NET_STATE::CONNECTED;
    trade.last = 12;
    trade.lastTime = QStringLiteral("09:30:00.123");
    trade.mean = 10.5;
    trade.largest = 20;
    trade.count = 4;
    figures.gates.insert(NetGateType::TradeGate, trade);
    GateFigures other;
    other.state = otherState;
    figures.gates.insert(otherGate, other);
    figures.infoWaiting = 3;
    figures.infoSent = 250;
    return figures;
}

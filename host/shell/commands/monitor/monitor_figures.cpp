#include "monitor_figures.h"

#include <cmath>

#include "monitor_keys.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"

namespace {

/// 0 for what is no number, is negative or is not finite.
double measureOf(const QVariant& value) {
    const double number = value.toDouble();
    return std::isfinite(number) && number > 0 ? number : 0;
}

int countOf(const QVariant& value) {
    return qMax(0, value.toInt());
}

GateFigures gateOf(const QVariantMap& entry) {
    GateFigures gate;
    gate.state = entry.value(MonitorKey::Gate::state).toString();
    gate.last = countOf(entry.value(MonitorKey::Gate::last));
    gate.lastTime = entry.value(MonitorKey::Gate::lastTime).toString();
    gate.mean = measureOf(entry.value(MonitorKey::Gate::mean));
    gate.largest = countOf(entry.value(MonitorKey::Gate::largest));
    gate.count = countOf(entry.value(MonitorKey::Gate::count));
    return gate;
}

}  // namespace

bool GateFigures::isUp() const {
    return state == NET_STATE::CONNECTED;
}

QString GateFigures::stateText() const {
    if (isUp()) {
        return QStringLiteral("up");
    }
    if (state == NET_STATE::CONNECTTING) {
        return QStringLiteral("connecting");
    }
    if (state == NET_STATE::NOCONNECT) {
        return QStringLiteral("down");
    }
    return state.isEmpty() ? QStringLiteral("-") : state;
}

MonitorFigures MonitorFigures::of(const QVariantMap& board) {
    MonitorFigures figures;
    const QVariantMap gates = board.value(MonitorKey::gates).toMap();
    for (auto gate = gates.cbegin(); gate != gates.cend(); ++gate) {
        figures.gates.insert(gate.key(), gateOf(gate->toMap()));
    }
    figures.beatsOnTheirWay = countOf(board.value(MonitorKey::beatsOnTheirWay));
    const QVariantMap info = board.value(MonitorKey::clientInfo).toMap();
    figures.infoWaiting = countOf(info.value(MonitorKey::ClientInfo::waiting));
    figures.infoSent = countOf(info.value(MonitorKey::ClientInfo::sent));
    figures.infoBatches = countOf(info.value(MonitorKey::ClientInfo::batches));
    const QVariantMap resources = board.value(MonitorKey::resources).toMap();
    for (auto one = resources.cbegin(); one != resources.cend(); ++one) {
        bool isNumber = false;
        const double value = one->toDouble(&isNumber);
        if (isNumber && std::isfinite(value)) {
            figures.resources.insert(one.key(), value);
        }
    }
    return figures;
}

QStringList MonitorFigures::gatesWithoutAnswer() const {
    QStringList missing;
    for (const QString& gate :
         {NetGateType::InfoGate, NetGateType::MarketTcpGate, NetGateType::TradeGate}) {
        if (gates.value(gate).count < 1) {
            missing.append(gate);
        }
    }
    return missing;
}

QVariantMap withGateStates(QVariantMap board, const QMap<QString, QString>& states) {
    QVariantMap gates = board.value(MonitorKey::gates).toMap();
    for (auto state = states.cbegin(); state != states.cend(); ++state) {
        QVariantMap gate = gates.value(state.key()).toMap();
        gate.insert(MonitorKey::Gate::state, *state);
        gates.insert(state.key(), gate);
    }
    board.insert(MonitorKey::gates, gates);
    return board;
}

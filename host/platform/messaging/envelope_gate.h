#pragma once

#include <QString>

#include "vocabulary/values.h"

/// An envelope for messages of several types; the type is in the body.
inline const QString kSharedEnvelope = QStringLiteral("325005");

/// The gate that a request comes through: clients send the shared envelope through the info gate
/// and every other one through the trade gate.
inline QString gateOf(const QString& envelopeType) {
    return envelopeType == kSharedEnvelope ? NetGateType::InfoGate : NetGateType::TradeGate;
}

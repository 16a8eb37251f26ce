#pragma once

#include <QString>
#include <QVariantMap>

#include "envelope_gate.h"
#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"

/// The type of a request: its envelope's, or its header's System::msgType under the shared
/// envelope.
inline QString messageTypeOf(const QString& envelopeType, const QVariantMap& header) {
    return envelopeType == kSharedEnvelope ? header.value(System::msgType, envelopeType).toString()
                                           : envelopeType;
}

/// The type under which the answer to a request of messageTypeOf() travels: the envelope's, except
/// for heartbeats, whose answers have a type of their own under every envelope.
inline QString answerTypeOf(const QString& envelopeType, const QString& msgType) {
    return msgType == Velmar_MsgType::BusiHeartBeatRequest ? Velmar_MsgType::BusiHeartBeatResponse
                                                           : envelopeType;
}

/// System::msgType in the header of the answer.
inline QString answerHeaderTypeOf(const QString& msgType) {
    return answerTypeOf(msgType, msgType);
}

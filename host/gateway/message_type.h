#pragma once

#include <QString>
#include <QVariantMap>

#include "vocabulary/fields.h"

/// An envelope for messages of several types; the type is in the body.
inline const QString kSharedEnvelope = QStringLiteral("325005");

/// The type of a request: its envelope's, or its header's System::msgType under the shared
/// envelope.
inline QString messageTypeOf(const QString& envelopeType, const QVariantMap& header) {
    return envelopeType == kSharedEnvelope ? header.value(System::msgType, envelopeType).toString()
                                           : envelopeType;
}

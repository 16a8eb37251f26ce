#pragma once

#include <QString>
#include <QVariantMap>

#include "vocabulary/fields.h"

/// Carries messages of several types, which their bodies tell apart.
inline const QString kSharedEnvelope = QStringLiteral("325005");

/// The type of a request: its envelope's, or its header's System::msgType under the shared
/// envelope.
inline QString messageTypeOf(const QString& envelopeType, const QVariantMap& header) {
    return envelopeType == kSharedEnvelope ? header.value(System::msgType, envelopeType).toString()
                                           : envelopeType;
}

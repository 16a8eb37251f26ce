#pragma once

#include <QVariant>
#include <QtGlobal>

#include "platform_export.h"

/// The largest body that the platform accepts by default.
inline constexpr qint64 kStandingBodyLimit = qint64(64) * 1024 * 1024;

/// About how many bytes a packed body takes on a wire: its texts in UTF-8, bytes as they are, a few
/// bytes for every number and for every frame around a value. It counts instead of building the
/// wire form, and no further than `enough`; any result above that means "more".
PLATFORM_API qint64 bodySize(const QVariant& body, qint64 enough);

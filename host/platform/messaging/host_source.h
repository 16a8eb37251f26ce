#pragma once

#include <QString>

/// The source id of the host's own requests and events.
inline const QString kHostSourceId = QStringLiteral("ZNApp.Host");

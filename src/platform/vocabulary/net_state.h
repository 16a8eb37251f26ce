#pragma once

#include <QString>

/// Connection states of a gate, as the body of a gate state event carries them.
namespace NET_STATE {

inline const QString CONNECTED = QStringLiteral("CONNECTED");
inline const QString CONNECTTING = QStringLiteral("CONNECTTING");
inline const QString NOCONNECT = QStringLiteral("NOCONNECT");

}  // namespace NET_STATE

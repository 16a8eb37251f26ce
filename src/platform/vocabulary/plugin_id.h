#pragma once

#include <QString>

/// Ids of other plug-ins, used as the destination of an event.
namespace PluginID {

inline const QString BOTTOM_WIDGET = QStringLiteral("ZNApp.BottomWidget");
inline const QString PLUGINNET_GLOBALID = QStringLiteral("ZNApp.PluginNet");

}  // namespace PluginID

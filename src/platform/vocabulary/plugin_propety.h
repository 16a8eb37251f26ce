#pragma once

#include <QString>

/// Property keys of a plug-in object; the text of a menu's position uses the same keys.
namespace PluginPropety {

inline const QString CONTAINERID = QStringLiteral("containerId");
inline const QString MENUID = QStringLiteral("menuId");
inline const QString MENUSCREENHEIGHT = QStringLiteral("menuScreenHeight");
inline const QString MENUSCREENWIDTH = QStringLiteral("menuScreenWidth");
inline const QString PLUGINCUSTOMPROPERTITY = QStringLiteral("customProperty");
inline const QString PLUGININSTANCE_ID = QStringLiteral("pluginInstanceId");
inline const QString PLUGIN_ID = QStringLiteral("pluginId");

}  // namespace PluginPropety

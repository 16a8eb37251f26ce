#pragma once

#include "vocabulary/text_constant.h"

/// Property keys of a plug-in object; the text of a menu's position uses the same keys.
namespace PluginPropety {

VELMAR_TEXT(CONTAINERID, "containerId");
VELMAR_TEXT(MENUID, "menuId");
VELMAR_TEXT(MENUSCREENHEIGHT, "menuScreenHeight");
VELMAR_TEXT(MENUSCREENWIDTH, "menuScreenWidth");
VELMAR_TEXT(PLUGINCUSTOMPROPERTITY, "customProperty");
VELMAR_TEXT(PLUGININSTANCE_ID, "pluginInstanceId");
VELMAR_TEXT(PLUGIN_ID, "pluginId");

}  // namespace PluginPropety

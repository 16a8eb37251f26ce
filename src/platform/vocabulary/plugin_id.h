#pragma once

#include "vocabulary/text_constant.h"

/// Ids of other plug-ins, used as the destination of an event.
namespace PluginID {

VELMAR_TEXT(BOTTOM_WIDGET, "ZNApp.BottomWidget");
VELMAR_TEXT(PLUGINNET_GLOBALID, "ZNApp.PluginNet");

}  // namespace PluginID

#pragma once

#include <QJsonParseError>
#include <QList>
#include <QString>
#include <QVariantMap>

#include "velmar_plugin_info.h"

/// Reads one plug-in of a menu's position. False, and `info` unchanged, unless the map has a menu
/// id and a plug-in id; other keys may be missing. The menu's name is not in the map. Any thread.
bool pluginInfoFromMap(const QVariantMap& json, VelmarPluginInfo* info);

/// The plug-ins of a menu's position text, which is the JSON text of an object or of a list of
/// objects. Elements that are not a plug-in are left out. A text that is not JSON, or that nests
/// deeper than 1,024 levels, has no plug-ins and sets `error`. Any thread.
QList<VelmarPluginInfo> readMenuPosition(const QString& text, QJsonParseError::ParseError* error);

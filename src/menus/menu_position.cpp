#include "menu_position.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <limits>

#include "vocabulary/plugin_propety.h"

namespace {

/// The nearest whole number; 0 for one that an int cannot hold, which QVariant would make some
/// other number.
int pixelsOf(const QVariant& value) {
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    const bool fits = isNumber && number >= std::numeric_limits<int>::min() &&
                      number <= std::numeric_limits<int>::max();
    return fits ? value.toInt() : 0;
}

}  // namespace

bool pluginInfoFromMap(const QVariantMap& json, VelmarPluginInfo* info) {
    if (!json.contains(PluginPropety::MENUID) || !json.contains(PluginPropety::PLUGIN_ID)) {
        return false;
    }
    info->pluginInstanceId = json.value(PluginPropety::PLUGININSTANCE_ID).toString();
    info->pluginId = json.value(PluginPropety::PLUGIN_ID).toString();
    info->menuId = json.value(PluginPropety::MENUID).toString();
    info->containerId = json.value(PluginPropety::CONTAINERID).toString();
    info->menuScreenWidth = pixelsOf(json.value(PluginPropety::MENUSCREENWIDTH));
    info->menuScreenHeight = pixelsOf(json.value(PluginPropety::MENUSCREENHEIGHT));
    info->customProperty = json.value(PluginPropety::PLUGINCUSTOMPROPERTITY).toMap();
    return true;
}

QList<VelmarPluginInfo> readMenuPosition(const QString& text, QJsonParseError::ParseError* error) {
    QJsonParseError parsed;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &parsed);
    *error = parsed.error;
    const QJsonArray elements =
        document.isArray() ? document.array() : QJsonArray{QJsonValue(document.object())};
    QList<VelmarPluginInfo> plugins;
    for (const QJsonValue& element : elements) {
        VelmarPluginInfo info;
        if (pluginInfoFromMap(element.toObject().toVariantMap(), &info)) {
            plugins.append(info);
        }
    }
    return plugins;
}

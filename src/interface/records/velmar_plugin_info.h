#pragma once

#include <QString>
#include <QVariantMap>

/// A plug-in that a menu opens.
struct VelmarPluginInfo {
    QString pluginInstanceId;
    QString pluginId;
    QString menuId;
    QString containerId;
    int menuScreenWidth = 0;   ///< in pixels; 0 when the server sets no width
    int menuScreenHeight = 0;  ///< in pixels; 0 when the server sets no height
    QString menuName;          ///< the caption of the menu
    QVariantMap customProperty;
};

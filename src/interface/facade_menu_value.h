#pragma once

#include "facade_record_value.h"
#include "velmar_plugin_info.h"

struct PluginInfoFields {
    template <class Record, class Visitor>
    static void visit(Record& record, Visitor&& field) {
        field("pluginInstanceId", record.pluginInstanceId);
        field("pluginId", record.pluginId);
        field("menuId", record.menuId);
        field("containerId", record.containerId);
        field("menuScreenWidth", record.menuScreenWidth);
        field("menuScreenHeight", record.menuScreenHeight);
        field("menuName", record.menuName);
        field("customProperty", record.customProperty);
    }
};

template <>
struct FacadeValue<VelmarPluginInfo> {
    static QString name() { return QStringLiteral("VelmarPluginInfo"); }
    static QJsonValue toJson(const VelmarPluginInfo& value) {
        return FacadeRecordValue<VelmarPluginInfo, PluginInfoFields>::toJson(value);
    }
};

#include "core.h"
#include "first_load.h"
#include "menu_plugin_table.h"
#include "presenter_use.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager_presenter_class.h"

QString VelmarBusinessDataInterface::GetMenuIDByPluginID(QString pluginId) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().menus().GetMenuIDByPluginID(use.presenter(), pluginId);
}

QList<VelmarPluginInfo> VelmarBusinessDataInterface::GetMenuInfoListByPluginID(QString pluginId) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().menus().GetMenuInfoListByPluginID(use.presenter(), pluginId);
}

QString VelmarBusinessDataInterface::GetMenuNameByMenuId(const QString& menuId) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().menus().GetMenuNameByMenuId(use.presenter(), menuId);
}

bool VelmarBusinessDataInterface::IsUserHasMenuId(const QString& menuId) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().menus().IsUserHasMenuId(use.presenter(), menuId);
}

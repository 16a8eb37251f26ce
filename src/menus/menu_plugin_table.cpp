#include "menu_plugin_table.h"

#include "log.h"
#include "menu_position.h"
#include "server_request.h"
#include "vocabulary/fields.h"
#include "vocabulary/plugin_propety.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

constexpr const char* kInitTag = "ZnBusinessDataManager::initMenuPluginInfo";

constexpr int kPositionShown = 512;

using PluginTable = QMap<QString, VelmarPluginInfo>;

/// Adds the plug-ins of one row, which may be none.
void addPlugins(const QVariantMap& row, PluginTable* plugins) {
    const QString position = row.value(UserAccount::menuPosition).toString();
    const QString caption = row.value(UserAccount::menuCaption).toString();
    auto error = QJsonParseError::NoError;
    const QList<VelmarPluginInfo> found = readMenuPosition(position, &error);
    qCDebug(lcMenus).noquote() << kInitTag << PluginPropety::PLUGINCUSTOMPROPERTITY << caption
                               << position;
    if (error != QJsonParseError::NoError) {
        qCWarning(lcMenus).noquote().nospace()
            << "Json Parse Error = " << int(error)
            << "  strPosition = " << position.left(kPositionShown);
        return;
    }
    for (VelmarPluginInfo info : found) {
        info.menuName = caption;
        plugins->insert(info.pluginInstanceId, info);
    }
}

void logPlugins(const PluginTable& plugins) {
    if (plugins.isEmpty()) {
        qCInfo(lcMenus) << "No PluginInfo Analysed";
    }
    for (const VelmarPluginInfo& info : plugins) {
        qCDebug(lcMenus).noquote()
            << kInitTag << info.pluginInstanceId << ":" << info.pluginId << ":" << info.menuId
            << ":" << info.containerId << info.customProperty;
    }
}

void logFound(const VelmarPluginInfo& info) {
    qCDebug(lcMenus).noquote() << "PluginID found" << info.pluginId << ":" << info.menuId;
}

}  // namespace

bool MenuPluginTable::parsePluginInfo(const QVariantMap& json, VelmarPluginInfo& info) {
    return pluginInfoFromMap(json, &info);
}

void MenuPluginTable::initMenuPluginInfo(ZnPresenterClass* presenter) {
    // Held across the request: a reader that comes meanwhile waits for its menus, and two requests
    // run one after the other.
    const auto tables = m_menuLock.write();
    qCDebug(lcMenus) << "GetMenuIDByPluginID First Called";
    ServerRequest request;
    request.msgType = Quindar_MsgType::menuConfigurationRequest;
    request.fields = {{UserAccount::menuType, MenuType::client},
                      {UserAccount::userID, CBusinessDataBase::GetInstance()->GetLoginAccount()}};
    request.send = SendKind::SyncBlock;
    request.answer = AnswerForm::NamedAnyStatus;
    const QList<QVariantMap> rows = sendToServer(presenter, request).rows;
    for (const QVariantMap& row : rows) {
        // Before the position is read: a menu whose position is damaged is the user's all the same.
        tables->m_userMenuIdMap.insert(row.value(UserAccount::menuId).toString(),
                                       row.value(UserAccount::menuCaption).toString());
        addPlugins(row, &tables->m_pluginMenuMap);
    }
    logPlugins(tables->m_pluginMenuMap);
}

void MenuPluginTable::initMenuNameInfo(ZnPresenterClass* presenter) {
    // Held across the request, as in initMenuPluginInfo().
    const auto tables = m_menuLock.write();
    const ServerReply reply = sendToServer(
        presenter,
        {Velmar_MsgType::getSysMenuRequest, {{UserAccount::menuType, MenuType::client}}});
    for (const QVariantMap& row : reply.rows) {
        tables->m_menuNameMap.insert(row.value(UserAccount::menuId).toString(),
                                     row.value(UserAccount::menuCaption).toString());
    }
}

template <class Table>
Guarded<MenuPluginTable::Tables>::ReadHandle MenuPluginTable::readFilled(
    ZnPresenterClass* presenter, Table Tables::*table,
    void (MenuPluginTable::*init)(ZnPresenterClass*)) {
    auto tables = m_menuLock.read();
    if (!((*tables).*table).isEmpty()) {
        return tables;
    }
    tables.unlock();
    (this->*init)(presenter);
    return m_menuLock.read();
}

QString MenuPluginTable::GetMenuIDByPluginID(ZnPresenterClass* presenter, const QString& pluginId) {
    if (!presenter) {
        return {};
    }
    const auto tables =
        readFilled(presenter, &Tables::m_pluginMenuMap, &MenuPluginTable::initMenuPluginInfo);
    for (const VelmarPluginInfo& info : tables->m_pluginMenuMap) {
        if (info.pluginId == pluginId) {
            logFound(info);
            return info.menuId;
        }
    }
    return {};
}

QList<VelmarPluginInfo> MenuPluginTable::GetMenuInfoListByPluginID(ZnPresenterClass* presenter,
                                                                   const QString& pluginId) {
    QList<VelmarPluginInfo> found;
    if (!presenter) {
        return found;
    }
    const auto tables =
        readFilled(presenter, &Tables::m_pluginMenuMap, &MenuPluginTable::initMenuPluginInfo);
    for (const VelmarPluginInfo& info : tables->m_pluginMenuMap) {
        if (info.pluginId == pluginId) {
            logFound(info);
            found.append(info);
        }
    }
    return found;
}

QString MenuPluginTable::GetMenuNameByMenuId(ZnPresenterClass* presenter, const QString& menuId) {
    if (!presenter) {
        return {};
    }
    const auto tables =
        readFilled(presenter, &Tables::m_menuNameMap, &MenuPluginTable::initMenuNameInfo);
    return tables->m_menuNameMap.value(menuId);
}

bool MenuPluginTable::IsUserHasMenuId(ZnPresenterClass* presenter, const QString& menuId) {
    if (!presenter) {
        return false;
    }
    const auto tables =
        readFilled(presenter, &Tables::m_userMenuIdMap, &MenuPluginTable::initMenuPluginInfo);
    return tables->m_userMenuIdMap.contains(menuId);
}

QMap<QString, QString> MenuPluginTable::userMenus() const {
    const auto tables = m_menuLock.read();
    return tables->m_userMenuIdMap;
}

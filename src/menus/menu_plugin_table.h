#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QVariantMap>

#include "guarded.h"
#include "velmar_plugin_info.h"

class ZnPresenterClass;

/// The user's menus, the plug-ins behind them, and the captions of all menus. Each table is
/// requested from the server while it is empty. Any thread; a question that finds its table empty
/// blocks for a request, and the other questions with it: those that found the table empty too then
/// send requests of their own, one after the other. A null presenter gives an empty answer.
/// Lock: m_menuLock.
class MenuPluginTable {
public:
    /// Requests the user's menus and adds them and their plug-ins, whatever the status of the
    /// answer. A request that does not succeed is logged as a warning, once a minute. Blocks for
    /// the request.
    void initMenuPluginInfo(ZnPresenterClass* presenter);
    /// Requests the captions of all menus of the system and adds them; a failure adds nothing and
    /// is logged in the same way. Blocks for the request.
    void initMenuNameInfo(ZnPresenterClass* presenter);
    /// Reads a plug-in of a menu's position. False, and `info` unchanged, unless the map has a
    /// menu id and a plug-in id.
    static bool parsePluginInfo(const QVariantMap& json, VelmarPluginInfo& info);

    QString GetMenuIDByPluginID(ZnPresenterClass* presenter, const QString& pluginId);
    QList<VelmarPluginInfo> GetMenuInfoListByPluginID(ZnPresenterClass* presenter,
                                                      const QString& pluginId);
    QString GetMenuNameByMenuId(ZnPresenterClass* presenter, const QString& menuId);
    bool IsUserHasMenuId(ZnPresenterClass* presenter, const QString& menuId);

    /// Menu id to caption, as far as loaded; sends nothing.
    QMap<QString, QString> userMenus() const;

private:
    struct Tables {
        QMap<QString, QString> m_userMenuIdMap;
        QMap<QString, QString> m_menuNameMap;
        QMap<QString, VelmarPluginInfo> m_pluginMenuMap;
    };

    /// The tables, read-locked, after a request when `table` was empty.
    template <class Table>
    Guarded<Tables>::ReadHandle readFilled(ZnPresenterClass* presenter, Table Tables::*table,
                                           void (MenuPluginTable::*init)(ZnPresenterClass*));

    Guarded<Tables> m_menuLock{"m_menuLock", LockRank::Menu};
};

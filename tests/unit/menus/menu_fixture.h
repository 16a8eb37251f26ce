#pragma once

#include <QPointer>
#include <QString>
#include <QVariantMap>

#include "client_world.h"
#include "menu_plugin_table.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/velmar_msg_type.h"

inline const QString kMenus = Quindar_MsgType::menuConfigurationRequest;
inline const QString kNames = Velmar_MsgType::getSysMenuRequest;

inline QVariantMap menuRow(const QString& id, const QString& caption,
                           const QString& position = QStringLiteral("{}")) {
    return {{UserAccount::menuId, id},
            {UserAccount::menuCaption, caption},
            {UserAccount::menuPosition, position}};
}

/// The position text of one plug-in.
inline QString pluginText(const QString& instance, const QString& plugin, const QString& menu) {
    return QStringLiteral(R"({"pluginInstanceId":"%1","pluginId":"%2","menuId":"%3"})")
        .arg(instance, plugin, menu);
}

/// The menus alone, over a platform with a scripted server.
struct MenuFixture {
    MenuFixture() {
        presenter->initPresenter();
        world.login();
        world.link().clearRequests();
    }
    ~MenuFixture() {
        if (presenter) {
            presenter->deleteLater();
        }
    }
    MenuFixture(const MenuFixture&) = delete;
    MenuFixture& operator=(const MenuFixture&) = delete;

    void answerMenus(const QList<QVariantMap>& rows) {
        world.link().on(kMenus, ScriptedReply::rows(rows));
    }
    int menuRequests() { return world.link().requestCount(kMenus); }

    ClientWorld world;
    // A closing platform deletes the presenter.
    const QPointer<RecordingPresenter> presenter = new RecordingPresenter;
    MenuPluginTable menus;
};

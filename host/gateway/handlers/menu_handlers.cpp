#include "handler_families.h"
#include "paged_query.h"
#include "server_users.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

QVector<PagedFilter> menuFilters() {
    return {{PagedFilter::Kind::Equal, UserAccount::menuType, QStringLiteral("m.menu_type"), true}};
}

/// The menus of a user, with the plug-ins behind them as JSON.
HandlerAnswer userMenus(const ServerCall& call) {
    static const PagedSource source = [] {
        PagedSource made;
        made.columns = {{QStringLiteral("m.menu_id"), UserAccount::menuId},
                        {QStringLiteral("m.menu_caption"), UserAccount::menuCaption},
                        {QStringLiteral("m.menu_position"), UserAccount::menuPosition},
                        {QStringLiteral("m.menu_type"), UserAccount::menuType}};
        made.from =
            QStringLiteral("menu m JOIN user_menu u ON u.menu_id = m.menu_id AND u.user_id = ?");
        made.position = QStringLiteral("m.seq");
        made.filters = menuFilters();
        return made;
    }();
    const QString userId = call.text(UserAccount::userID);
    if (!findUser(call.store, userId)) {
        return HandlerAnswer::refused(QStringLiteral("用户%1不存在").arg(userId));
    }
    return answerPaged(call, source, {userId});
}

/// All menus of the system, whoever has them.
HandlerAnswer systemMenus(const ServerCall& call) {
    static const PagedSource source = [] {
        PagedSource made;
        made.columns = {{QStringLiteral("m.menu_id"), UserAccount::menuId},
                        {QStringLiteral("m.menu_caption"), UserAccount::menuCaption},
                        {QStringLiteral("m.menu_type"), UserAccount::menuType}};
        made.from = QStringLiteral("menu m");
        made.position = QStringLiteral("m.seq");
        made.filters = menuFilters();
        return made;
    }();
    return answerPaged(call, source);
}

}  // namespace

void addMenuHandlers(ServerHandlers& handlers) {
    handlers.insert(Quindar_MsgType::menuConfigurationRequest, userMenus);
    handlers.insert(Velmar_MsgType::getSysMenuRequest, systemMenus);
}

#include "menus_command.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "figures_text.h"
#include "text_table.h"
#include "vocabulary/fields.h"
#include "vocabulary/plugin_propety.h"

namespace {

QString text(const QJsonObject& object, const QString& field) {
    return object.value(field).toVariant().toString();
}

/// "plug-in VelmarTrade, instance 7, container main, 1200 x 800 {...}".
QString pluginText(const QJsonObject& plugin) {
    QStringList parts{QStringLiteral("plug-in %1").arg(text(plugin, PluginPropety::PLUGIN_ID))};
    const auto add = [&](const char* name, const QString& field) {
        const QString value = text(plugin, field);
        if (!value.isEmpty()) {
            parts.append(QStringLiteral("%1 %2").arg(QLatin1String(name), value));
        }
    };
    add("instance", PluginPropety::PLUGININSTANCE_ID);
    add("container", PluginPropety::CONTAINERID);
    const int width = plugin.value(PluginPropety::MENUSCREENWIDTH).toInt();
    const int height = plugin.value(PluginPropety::MENUSCREENHEIGHT).toInt();
    if (width > 0 || height > 0) {
        parts.append(QStringLiteral("%1 x %2").arg(width).arg(height));
    }
    const QJsonObject custom = plugin.value(PluginPropety::PLUGINCUSTOMPROPERTITY).toObject();
    if (!custom.isEmpty()) {
        parts.append(QString::fromUtf8(QJsonDocument(custom).toJson(QJsonDocument::Compact)));
    }
    return parts.join(QStringLiteral(", "));
}

/// How many of the menus stand above this one; the dots of an id are the levels of the tree.
int depthOf(const QString& id, const QStringList& ids) {
    int depth = 0;
    for (int dot = id.lastIndexOf(QLatin1Char('.')); dot > 0;
         dot = id.lastIndexOf(QLatin1Char('.'), dot - 1)) {
        depth += ids.contains(id.left(dot)) ? 1 : 0;
    }
    return depth;
}

}  // namespace

MenusCommand::MenusCommand(const FacadeLibrary& library, const FacadeAsk& ask,
                           const ServerRows& rows)
    : m_facade(library, ask) {
    addMenus(rows.allMenus, false);
    addMenus(rows.userMenus, true);
}

void MenusCommand::addMenus(const QList<QVariantMap>& rows, bool ofUser) {
    for (const QVariantMap& row : rows) {
        Menu& menu = m_menus[row.value(UserAccount::menuId).toString()];
        menu.caption = row.value(UserAccount::menuCaption).toString();
        menu.isOfUser = menu.isOfUser || ofUser;
        if (ofUser) {
            readPosition(row);
        }
    }
}

void MenusCommand::readPosition(const QVariantMap& row) {
    const QString position = row.value(UserAccount::menuPosition).toString();
    Menu& menu = m_menus[row.value(UserAccount::menuId).toString()];
    if (position.isEmpty()) {
        return;
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(position.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError) {
        menu.notes.append(
            QStringLiteral("its description is not JSON: %1").arg(error.errorString()));
        return;
    }
    const QJsonArray plugins =
        document.isArray() ? document.array() : QJsonArray{document.object()};
    int without = 0;
    for (const QJsonValue& one : plugins) {
        const QJsonObject plugin = one.toObject();
        const QString id = text(plugin, PluginPropety::PLUGIN_ID);
        if (plugin.contains(PluginPropety::PLUGIN_ID) && plugin.contains(PluginPropety::MENUID)) {
            ++m_described[text(plugin, PluginPropety::MENUID)];
            if (!m_pluginIds.contains(id)) {
                m_pluginIds.append(id);
            }
        } else if (!plugin.isEmpty() || !one.isObject()) {
            ++without;
        }
    }
    if (without > 0) {
        menu.notes.append(
            QStringLiteral("entries of its description without menuId and pluginId: %1")
                .arg(without));
    }
}

CommandAnswer MenusCommand::tree(int columns) {
    CommandAnswer answer;
    QMap<QString, QList<QJsonObject>> plugins;
    for (const QString& id : qAsConst(m_pluginIds)) {
        const QJsonArray found =
            m_facade.ask(QStringLiteral("GetMenuInfoListByPluginID"), {id}).toArray();
        for (const QJsonValue& plugin : found) {
            plugins[text(plugin.toObject(), PluginPropety::MENUID)].append(plugin.toObject());
        }
    }
    QJsonArray json;
    int ofUser = 0;
    QStringList ids = m_menus.keys();
    // A description may name a menu that is in neither list.
    for (auto it = plugins.constBegin(); it != plugins.constEnd(); ++it) {
        if (!ids.contains(it.key())) {
            ids.append(it.key());
            m_menus[it.key()].notes.append(
                QStringLiteral("not a menu of the server, only named in a description"));
        }
    }
    for (const QString& id : qAsConst(ids)) {
        Menu menu = m_menus.value(id);
        const QString caption =
            m_facade.ask(QStringLiteral("GetMenuNameByMenuId"), {id}).toString();
        const bool isOfUser = m_facade.ask(QStringLiteral("IsUserHasMenuId"), {id}).toBool();
        if (m_facade.interrupted()) {
            answer.interrupted = true;
            return answer;
        }
        if (isOfUser != menu.isOfUser) {
            menu.notes.append(menu.isOfUser ? QStringLiteral("the plug-in lacks this menu of the "
                                                             "user")
                                            : QStringLiteral("the plug-in gives it to the user, "
                                                             "the server does not"));
            answer.isFault = true;
        }
        const QList<QJsonObject> behind = plugins.value(id);
        if (behind.size() < m_described.value(id)) {
            menu.notes.append(QStringLiteral("%1 described, %2 in use: the others have the same "
                                             "instance id as another plug-in")
                                  .arg(countText(m_described.value(id), "plug-in"))
                                  .arg(behind.size()));
        }
        ofUser += isOfUser ? 1 : 0;
        const QString indent(4 * depthOf(id, ids), QLatin1Char(' '));
        answer.lines.append(indent +
                            QStringLiteral("%1 %2  %3")
                                .arg(isOfUser ? QStringLiteral("[x]") : QStringLiteral("[ ]"), id,
                                     caption.isEmpty() ? menu.caption : caption));
        QJsonArray behindAsJson;
        for (const QJsonObject& plugin : behind) {
            answer.lines.append(indent + QStringLiteral("      ") + pluginText(plugin));
            behindAsJson.append(plugin);
        }
        for (const QString& note : qAsConst(menu.notes)) {
            answer.lines.append(indent + QStringLiteral("      note: ") + note);
        }
        json.append(QJsonObject{{QStringLiteral("menuId"), id},
                                {QStringLiteral("caption"), caption},
                                {QStringLiteral("ofUser"), isOfUser},
                                {QStringLiteral("plugins"), behindAsJson},
                                {QStringLiteral("notes"), QJsonArray::fromStringList(menu.notes)}});
    }
    for (QString& line : answer.lines) {
        line = cutToWidth(harmlessText(line), columns);
    }
    answer.lines.append(
        QStringLiteral("%1, the user has %2 [x]").arg(countText(ids.size(), "menu")).arg(ofUser));
    answer.json = json;
    return answer;
}

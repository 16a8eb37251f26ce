#include "menu_rows.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "rule_table.h"
#include "sample_market.h"
#include "vocabulary/plugin_propety.h"
#include "vocabulary/values.h"

namespace {

inline const QString kId = QStringLiteral("id");
inline const QString kCaption = QStringLiteral("caption");
inline const QString kPlugins = QStringLiteral("plugins");
inline const QString kContainer = QStringLiteral("container");
inline const QString kWidth = QStringLiteral("width");
inline const QString kHeight = QStringLiteral("height");
inline const QString kCustom = QStringLiteral("custom");
inline const QString kUsers = QStringLiteral("users");

QString compact(const QJsonDocument& document) {
    return QString::fromUtf8(document.toJson(QJsonDocument::Compact));
}

bool readCustom(const RuleTable& table, const RuleTable::Row& row, QJsonObject* custom,
                QString* error) {
    const QString text = table.cell(row, kCustom);
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    *custom = document.object();
    if (text.isEmpty() || document.isObject()) {
        return true;
    }
    *error = table.fault(row.line, QStringLiteral("custom is not a JSON object: \"%1\"").arg(text));
    return false;
}

/// The position text of a menu: an empty object, a plug-in, or a list of them. Empty with a text on
/// failure.
QString menuPosition(const RuleTable& table, const RuleTable::Row& row, QString* error) {
    int width = 0;
    int height = 0;
    QJsonObject custom;
    if (!table.number(row, kWidth, &width, error) || !table.number(row, kHeight, &height, error) ||
        !readCustom(table, row, &custom, error)) {
        return {};
    }
    QJsonArray plugins;
    const QStringList names = table.cell(row, kPlugins).split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const QString& one : names) {
        plugins.append(QJsonObject{
            {PluginPropety::PLUGININSTANCE_ID, one.section(QLatin1Char(':'), 0, 0)},
            {PluginPropety::PLUGIN_ID, one.section(QLatin1Char(':'), 1)},
            {PluginPropety::MENUID, table.cell(row, kId)},
            {PluginPropety::CONTAINERID, table.cell(row, kContainer)},
            {PluginPropety::MENUSCREENWIDTH, width},
            {PluginPropety::MENUSCREENHEIGHT, height},
            {PluginPropety::PLUGINCUSTOMPROPERTITY, custom},
        });
    }
    if (plugins.isEmpty()) {
        return compact(QJsonDocument(QJsonObject()));
    }
    return plugins.size() == 1 ? compact(QJsonDocument(plugins.first().toObject()))
                               : compact(QJsonDocument(plugins));
}

/// The logins that have a menu.
bool readUsers(const RuleTable& table, const RuleTable::Row& row, QStringList* users,
               QString* error) {
    const QString text = table.cell(row, kUsers);
    if (text == QLatin1String("all")) {
        *users = QStringList{SampleLogin::user, SampleLogin::secondUser};
    } else if (text == QLatin1String("first")) {
        *users = QStringList{SampleLogin::user};
    } else if (text == QLatin1String("none")) {
        users->clear();
    } else {
        *error = table.fault(row.line, QStringLiteral("users is \"%1\"").arg(text));
        return false;
    }
    return true;
}

}  // namespace

bool makeMenuRows(QList<TableRow>* rows, QString* error) {
    const QStringList columns{kId,    kCaption, kPlugins, kContainer,
                              kWidth, kHeight,  kCustom,  kUsers};
    RuleTable table;
    if (!RuleTable::load(QStringLiteral("menus.csv"), columns, &table, error)) {
        return false;
    }
    int seq = 0;
    for (const RuleTable::Row& row : table.rows()) {
        const QString id = table.cell(row, kId);
        const QString position = menuPosition(table, row, error);
        QStringList users;
        if (position.isEmpty() || !readUsers(table, row, &users, error)) {
            return false;
        }
        rows->append({QStringLiteral("menu"),
                      {id, ++seq, MenuType::client, table.cell(row, kCaption), position}});
        for (const QString& user : qAsConst(users)) {
            rows->append({QStringLiteral("user_menu"), {user, id}});
        }
    }
    return true;
}

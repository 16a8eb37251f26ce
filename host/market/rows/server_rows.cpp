#include "server_rows.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <array>

#include "rule_table.h"
#include "sample_market.h"
#include "vocabulary/plugin_propety.h"
#include "vocabulary/values.h"

namespace {

QString compact(const QJsonDocument& document) {
    return QString::fromUtf8(document.toJson(QJsonDocument::Compact));
}

/// The position text of a menu: nothing, a plug-in, or a list of them.
QString menuPosition(const RuleTable& table, const RuleTable::Row& row, QString* error) {
    int width = 0;
    int height = 0;
    if (!table.number(row, QStringLiteral("width"), &width, error) ||
        !table.number(row, QStringLiteral("height"), &height, error)) {
        return {};
    }
    QJsonArray plugins;
    for (const QString& one :
         table.cell(row, QStringLiteral("plugins")).split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        plugins.append(QJsonObject{
            {PluginPropety::PLUGININSTANCE_ID, one.section(QLatin1Char(':'), 0, 0)},
            {PluginPropety::PLUGIN_ID, one.section(QLatin1Char(':'), 1)},
            {PluginPropety::MENUID, table.cell(row, QStringLiteral("id"))},
            {PluginPropety::CONTAINERID, table.cell(row, QStringLiteral("container"))},
            {PluginPropety::MENUSCREENWIDTH, width},
            {PluginPropety::MENUSCREENHEIGHT, height},
            {PluginPropety::PLUGINCUSTOMPROPERTITY, QJsonObject()},
        });
    }
    if (plugins.isEmpty()) {
        return compact(QJsonDocument(QJsonObject()));
    }
    return plugins.size() == 1 ? compact(QJsonDocument(plugins.first().toObject()))
                               : compact(QJsonDocument(plugins));
}

/// A kind of message and its text; %1 is the account's name.
struct MessageKind {
    const char* level;
    const char* type;
    const char* subType;
    bool ofAccount;
    QString text;
};

const std::array<MessageKind, 10>& messageKinds() {
    static const std::array<MessageKind, 10> kinds{{
        {"1", "4", "4002", true, QStringLiteral("%1：委托已全部成交")},
        {"1", "2", "2001", false, QStringLiteral("交易所发布休市安排")},
        {"1", "4", "4001", true, QStringLiteral("%1：委托已报")},
        {"2", "4", "4003", true, QStringLiteral("%1：委托被拒绝，可用资金不足")},
        {"1", "5", "5002", true, QStringLiteral("%1：现金红利到账")},
        {"2", "3", "3001", true, QStringLiteral("%1：单一证券持仓比例超过预警线")},
        {"1", "5", "5001", true, QStringLiteral("%1：资金划转完成")},
        {"2", "2", "2003", false, QStringLiteral("今日有新股可以申购")},
        {"3", "3", "3002", true, QStringLiteral("%1：保证金低于维持标准")},
        {"2", "1", "1003", false, QStringLiteral("系统将于今晚维护")},
    }};
    return kinds;
}

class MessageWriter {
public:
    MessageWriter(const TradeCalendar& calendar, const QDate& lastDay)
        : m_days(calendar.days(TradeDayType::Shares, lastDay.addDays(-60), lastDay)) {}

    void add(const QString& userId, int count, const AccountTree& tree, QList<TableRow>* rows) {
        for (int i = 0; i < count && !m_days.isEmpty(); ++i) {
            rows->append({QStringLiteral("busi_message"), message(userId, i, count, tree)});
        }
    }

private:
    QVariantList message(const QString& userId, int number, int count, const AccountTree& tree) {
        const MessageKind& kind = messageKinds().at(size_t(number) % messageKinds().size());
        const AccountTree::TradingAccount& account =
            tree.accounts.at(number * 7 % tree.accounts.size());
        const AccountTree::AssetAccount& asset = tree.assets.at(account.asset);
        const QDate date = m_days.at(number * m_days.size() / count).date;
        // From 09:00 in Shanghai on, ever later on the same day.
        const qint64 seconds = 9 * 3600 + number * 60 % (6 * 3600);
        const qint64 time =
            (QDate(1970, 1, 1).daysTo(date) * 86400 - 8 * 3600 + seconds) * qint64(1000);
        return {userId,
                QStringLiteral("%1").arg(number + 1, 12, 10, QLatin1Char('0')),
                QStringLiteral("M%1").arg(++m_serial, 8, 10, QLatin1Char('0')),
                QString::fromLatin1(kind.level),
                QString::fromLatin1(kind.type),
                QString::fromLatin1(kind.subType),
                kind.ofAccount ? account.account : QString(),
                kind.ofAccount ? tree.products.at(asset.product).account : QString(),
                QString(),
                QString(),
                time,
                kind.ofAccount ? kind.text.arg(account.name) : kind.text};
    }

    const QVector<TradeCalendar::Day> m_days;
    int m_serial = 0;
};

}  // namespace

QList<TableRow> makeCalendarRows(const TradeCalendar& calendar) {
    const QDate from(calendar.firstYear(), 1, 1);
    const QDate to(calendar.lastYear(), 12, 31);
    QList<TableRow> rows;
    for (const TradeDayType type : TradeCalendar::types()) {
        for (const TradeCalendar::Day& day : calendar.days(type, from, to)) {
            rows.append({QStringLiteral("trade_calendar"),
                         {static_cast<int>(type), dayNumber(day.date), day.half ? 1 : 0}});
        }
    }
    return rows;
}

QList<TableRow> makeSpreadRows(const MarketRules& rules) {
    constexpr int kThousandths = 1000;
    QList<TableRow> rows;
    const auto add = [&rows](const QString& type, const PriceLadder& ladder) {
        for (const PriceLadder::Band& band : ladder.bands()) {
            rows.append({QStringLiteral("hong_kong_spread"),
                         {type, band.upTo / double(kThousandths), band.spread.toDouble()}});
        }
    };
    add(MdcSecurityType::StockType, rules.hongKongShares);
    add(MdcSecurityType::FundType, rules.hongKongFunds);
    return rows;
}

bool makeMenuRows(QList<TableRow>* rows, QString* error) {
    const QStringList columns{QStringLiteral("id"),      QStringLiteral("caption"),
                              QStringLiteral("plugins"), QStringLiteral("container"),
                              QStringLiteral("width"),   QStringLiteral("height"),
                              QStringLiteral("second")};
    RuleTable table;
    if (!RuleTable::load(QStringLiteral("menus.csv"), columns, &table, error)) {
        return false;
    }
    int seq = 0;
    for (const RuleTable::Row& row : table.rows()) {
        const QString id = table.cell(row, QStringLiteral("id"));
        const QString position = menuPosition(table, row, error);
        if (position.isEmpty()) {
            return false;
        }
        rows->append(
            {QStringLiteral("menu"),
             {id, ++seq, MenuType::client, table.cell(row, QStringLiteral("caption")), position}});
        rows->append({QStringLiteral("user_menu"), {SampleLogin::user, id}});
        if (table.cell(row, QStringLiteral("second")) == QLatin1String("1")) {
            rows->append({QStringLiteral("user_menu"), {SampleLogin::secondUser, id}});
        }
    }
    return true;
}

QList<TableRow> makeMessageRows(const AccountTree& tree, const TradeCalendar& calendar,
                                const QDate& lastDay) {
    constexpr int kOfFirst = 300;
    constexpr int kOfSecond = 40;
    QList<TableRow> rows;
    MessageWriter writer(calendar, lastDay);
    writer.add(SampleLogin::user, kOfFirst, tree, &rows);
    AccountTree shared = tree;
    shared.accounts.resize(1);  // the first account is one that both logins see
    writer.add(SampleLogin::secondUser, kOfSecond, shared, &rows);
    return rows;
}

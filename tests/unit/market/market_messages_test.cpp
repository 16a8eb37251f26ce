// The menus, the daily messages and the risk rows of a sample market.
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSet>
#include <QtTest>

#include "market_fixture.h"
#include "message_rows.h"
#include "vocabulary/fields.h"
#include "vocabulary/own_keys.h"
#include "vocabulary/plugin_propety.h"
#include "vocabulary/values.h"

class MarketMessagesTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_market.make(&error), qPrintable(error));
    }
    void menus_positions_areAnObjectOrAListOfPlugIns();
    void menus_eachOne_hasItsParentBeforeIt();
    void menus_ofTheSecondLogin_areFewer();
    void menus_ofAMessageType_exist();
    void riskMenus_secondLogin_hasNone();
    void messages_areOfTheDictionary();
    void messages_bothLogins_haveDozens();
    void messages_texts_areWholeChineseSentences();
    void messages_accounts_areSeenByTheLogin();
    void messages_smallestMarket_haveAllTheirWords();
    void riskDictionary_code4001_isTheSecurityRiskNotice();
    void notices_areThoseOfTheFlaggedShares();
    void notices_ofDelistedShares_haveTheirDate();
    void riskTypes_haveBothKinds();
    void keyMonitor_bothLogins_haveSymbols();

private:
    QStringList keys(const QString& section) const {
        return column(
            m_market.staticDatabase(),
            QStringLiteral("SELECT key FROM static_cfg WHERE section = '%1'").arg(section));
    }
    QString config(const QString& section, const QString& key) const {
        return column(m_market.staticDatabase(),
                      QStringLiteral(
                          "SELECT value FROM static_cfg WHERE section = '%1' AND key = '%2'")
                          .arg(section, key))
            .value(0);
    }
    QStringList menusOf(const QString& user) const {
        return column(
            m_market.store(),
            QStringLiteral("SELECT menu_id FROM user_menu WHERE user_id = '%1'").arg(user));
    }

    MarketFixture m_market;
};

void MarketMessagesTest::menus_positions_areAnObjectOrAListOfPlugIns() {
    const QString sql = QStringLiteral("SELECT %1 FROM menu ORDER BY seq");
    const QStringList ids = column(m_market.store(), sql.arg("menu_id"));
    const QStringList positions = column(m_market.store(), sql.arg("menu_position"));
    QSet<QString> instances;
    int objects = 0;
    int lists = 0;
    int custom = 0;
    for (int i = 0; i < ids.size(); ++i) {
        const auto document = QJsonDocument::fromJson(positions.at(i).toUtf8());
        QVERIFY2(!document.isNull(), qPrintable(positions.at(i)));
        QJsonArray plugins = document.array();
        lists += plugins.size() == 2 ? 1 : 0;
        if (document.isObject() && !document.object().isEmpty()) {
            ++objects;
            plugins = {document.object()};
        }
        for (const QJsonValue& one : qAsConst(plugins)) {
            const QJsonObject plugin = one.toObject();
            QCOMPARE(plugin.value(PluginPropety::MENUID).toString(), ids.at(i));
            QVERIFY(!plugin.value(PluginPropety::PLUGIN_ID).toString().isEmpty());
            const QString instance = plugin.value(PluginPropety::PLUGININSTANCE_ID).toString();
            QVERIFY2(!instances.contains(instance), qPrintable(instance));
            instances.insert(instance);
            custom += plugin.value("customProperty").toObject().isEmpty() ? 0 : 1;
        }
    }
    QVERIFY(objects > 10);
    QVERIFY(lists >= 3);
    QVERIFY(custom > 0);
}

void MarketMessagesTest::menus_eachOne_hasItsParentBeforeIt() {
    QSet<QString> seen{QStringLiteral("menu")};
    for (const QString& id :
         column(m_market.store(), QStringLiteral("SELECT menu_id FROM menu ORDER BY seq"))) {
        QVERIFY2(seen.contains(id.section('.', 0, -2)), qPrintable(id));
        seen.insert(id);
    }
}

void MarketMessagesTest::menus_ofTheSecondLogin_areFewer() {
    const QStringList all = column(m_market.store(), QStringLiteral("SELECT menu_id FROM menu"));
    const QStringList first = menusOf(SampleLogin::user);
    const QStringList second = menusOf(SampleLogin::secondUser);
    QVERIFY(all.size() > first.size() && first.size() > second.size() && second.size() > 10);
    for (const QString& id : second) {
        QVERIFY2(first.contains(id), qPrintable(id));
    }
}

void MarketMessagesTest::menus_ofAMessageType_exist() {
    const QStringList first = menusOf(SampleLogin::user);
    const QStringList types = keys(QStringLiteral("BusiMsgMenuRela"));
    QCOMPARE(types.size(), keys(QStringLiteral("BusiMsgType")).size());
    for (const QString& type : types) {
        const QStringList menus = config(QStringLiteral("BusiMsgMenuRela"), type).split('|');
        for (const QString& menu : menus) {
            QVERIFY2(first.contains(menu), qPrintable(menu));
        }
    }
}

void MarketMessagesTest::riskMenus_secondLogin_hasNone() {
    const QStringList second = menusOf(SampleLogin::secondUser);
    const QStringList menus =
        config(QStringLiteral("BusiMsgMenuRela"), QStringLiteral("3")).split('|');
    QVERIFY(!menus.first().isEmpty());
    for (const QString& menu : menus) {
        QVERIFY2(!second.contains(menu), qPrintable(menu));
    }
}

void MarketMessagesTest::messages_areOfTheDictionary() {
    const QStringList types = keys(QStringLiteral("BusiMsgType"));
    const QStringList subTypes = keys(QStringLiteral("BusiMsgSubType"));
    const QStringList levels = keys(QStringLiteral("BusiMsgLevel"));
    QSet<QString> usedTypes;
    QSet<QString> usedLevels;
    int before = 0;
    m_market.store().select(
        QStringLiteral("SELECT msg_level, msg_type, msg_sub_type, second_of_day FROM daily_message"
                       " WHERE user_id = ? ORDER BY seq"),
        {SampleLogin::user}, [&](const QSqlQuery& query) {
            usedLevels.insert(query.value(0).toString());
            usedTypes.insert(query.value(1).toString());
            QVERIFY(subTypes.contains(query.value(2).toString()));
            QVERIFY(query.value(2).toString().startsWith(query.value(1).toString()));
            QVERIFY(query.value(3).toInt() >= before && query.value(3).toInt() < 86400);
            before = query.value(3).toInt();
        });
    QCOMPARE(usedTypes, QSet<QString>(types.cbegin(), types.cend()));
    QCOMPARE(usedLevels, QSet<QString>(levels.cbegin(), levels.cend()));
}

void MarketMessagesTest::messages_bothLogins_haveDozens() {
    const QString sql = QStringLiteral("SELECT count(*) FROM daily_message WHERE user_id = '%1'");
    const int first = number(m_market.store(), sql.arg(SampleLogin::user));
    const int second = number(m_market.store(), sql.arg(SampleLogin::secondUser));
    QVERIFY2(first >= 48 && second >= 24 && second < first,
             qPrintable(QStringLiteral("%1 and %2").arg(first).arg(second)));
}

void MarketMessagesTest::messages_texts_areWholeChineseSentences() {
    // A client writes texts into statements of SQL with successive arguments.
    const QRegularExpression dangerous(QStringLiteral("'|%[0-9]|[{}]"));
    const QStringList texts =
        column(m_market.store(), QStringLiteral("SELECT text_description FROM daily_message"));
    QVERIFY(!texts.isEmpty());
    for (const QString& text : texts) {
        QVERIFY2(!text.contains(dangerous), qPrintable(text));
        QVERIFY2(text.endsWith(QStringLiteral("。")) && text.size() > 10, qPrintable(text));
    }
    const QSet<QString> different(texts.cbegin(), texts.cend());
    QVERIFY(different.size() > texts.size() / 2);
}

void MarketMessagesTest::messages_accounts_areSeenByTheLogin() {
    QCOMPARE(number(m_market.store(),
                    "SELECT count(*) FROM daily_message m WHERE trading_account <> '' AND NOT"
                    " EXISTS(SELECT * FROM account_authority a WHERE a.user_id = m.user_id AND"
                    " a.trading_account = m.trading_account)"),
             0);
    for (const QString& user : {SampleLogin::user, SampleLogin::secondUser}) {
        const QString sql = QStringLiteral(
            "SELECT count(*) FROM daily_message WHERE user_id = '%1' AND trading_account %2 ''");
        QVERIFY(number(m_market.store(), sql.arg(user, "<>")) > 5);
        QVERIFY(number(m_market.store(), sql.arg(user, "=")) > 5);
    }
}

void MarketMessagesTest::messages_smallestMarket_haveAllTheirWords() {
    const AccountTree tree = makeAccountTree(1, 1);
    const QVariantMap bond{{Security::symbol, "019001.SH"},
                           {Security::securityID, "019001"},
                           {Security::chineseName, "债一"},
                           {MDCFieldDefine::mdcSecurityType, MdcSecurityType::BondType}};
    QList<TableRow> rows;
    QString error;
    QVERIFY2(makeMessageRows(1, tree, tree, {bond}, &rows, &error), qPrintable(error));
    QVERIFY(rows.size() > 70);
    for (const TableRow& row : rows) {
        QVERIFY2(!row.values.last().toString().contains('{'),
                 qPrintable(row.values.last().toString()));
    }
}

void MarketMessagesTest::riskDictionary_code4001_isTheSecurityRiskNotice() {
    QCOMPARE(config(QStringLiteral("BusiMsgSubType"), QStringLiteral("4001")),
             QStringLiteral("证券风险提示"));
    QCOMPARE(config(QStringLiteral("VelmarBusiMsgTypeDict"), QStringLiteral("SecurityRisk")),
             QStringLiteral("4|4001|2"));
    QCOMPARE(config(QStringLiteral("BusiMsgSubType"), QStringLiteral("4004")),
             QStringLiteral("委托回报"));
}

void MarketMessagesTest::notices_areThoseOfTheFlaggedShares() {
    QMap<QString, QString> flags;
    const auto securities = reference(m_market.staticDatabase(), QStringLiteral("security"));
    for (const QVariantMap& record : securities) {
        const QString flag = record.value(Security::STFlag).toString();
        if (flag == StFlag::IsST || flag == StFlag::IsStarST) {
            flags.insert(record.value(Security::securityID).toString() + ' ' +
                             record.value(UserAccount::securityExchange).toString(),
                         flag);
        }
    }
    QVERIFY(flags.size() > 5);
    const QStringList flagged =
        column(m_market.store(),
               QStringLiteral("SELECT security_id || ' ' || security_exchange FROM risk_notice"
                              " WHERE st_flag = 1 ORDER BY 1"));
    QCOMPARE(flagged, QStringList(flags.keys()));
    QCOMPARE(number(m_market.store(), "SELECT count(*) FROM risk_notice WHERE remind_info = ''"),
             0);
    QCOMPARE(column(m_market.store(), "SELECT data_key FROM data_version"),
             QStringList(OwnKeys::riskInfoItem));
    QVERIFY(number(m_market.store(), "SELECT data_version FROM data_version") >= 1);
}

void MarketMessagesTest::notices_ofDelistedShares_haveTheirDate() {
    const QString sql = QStringLiteral(
        "SELECT count(*) FROM risk_notice WHERE delist_flag = %1 AND delist_date %2");
    QVERIFY(number(m_market.store(), sql.arg("1", "LIKE '________'")) > 0);
    QCOMPARE(number(m_market.store(), sql.arg("1", "NOT LIKE '________'")), 0);
    QCOMPARE(number(m_market.store(), sql.arg("0", "<> ''")), 0);
}

void MarketMessagesTest::riskTypes_haveBothKinds() {
    const QString sql = QStringLiteral("SELECT count(*) FROM risk_type WHERE risk_flag_type = %1");
    QVERIFY(number(m_market.store(), sql.arg(SymbolRiskType::BreakingIssuePrice)) > 5);
    QVERIFY(number(m_market.store(), sql.arg(SymbolRiskType::BrokenNetPrice)) > 5);
}

void MarketMessagesTest::keyMonitor_bothLogins_haveSymbols() {
    const QString sql = QStringLiteral("SELECT count(*) FROM key_monitor WHERE user_id = '%1'");
    const int first = number(m_market.store(), sql.arg(SampleLogin::user));
    const int second = number(m_market.store(), sql.arg(SampleLogin::secondUser));
    QVERIFY(first > second && second > 0);
    QVERIFY(number(m_market.store(), "SELECT count(*) FROM key_monitor WHERE security_id = ''") >
            0);
    QCOMPARE(number(m_market.store(), "SELECT count(*) FROM key_monitor WHERE symbol = ''"), 0);
}

QTEST_GUILESS_MAIN(MarketMessagesTest)
#include "market_messages_test.moc"

#include "menu_plugin_table.h"

#include <QtTest>

#include "log_capture.h"
#include "menu_fixture.h"
#include "menu_position.h"
#include "process_per_case.h"
#include "vocabulary/plugin_propety.h"
#include "vocabulary/values.h"

namespace {

inline const QString kNothingFound = QStringLiteral("No PluginInfo Analysed");

QString nested(int depth) {
    return QString(depth, '[') + QString(depth, ']');
}

/// An object that contains itself `depth` times below a custom property.
QString nestedProperty(int depth) {
    return R"({"pluginId":"P","menuId":"M","customProperty":)" +
           QStringLiteral(R"({"a":)").repeated(depth) + "1" + QString(depth, '}') + "}";
}

QStringList instancesOf(const QList<VelmarPluginInfo>& infos) {
    QStringList ids;
    for (const VelmarPluginInfo& info : infos) {
        ids.append(info.pluginInstanceId);
    }
    return ids;
}

}  // namespace

/// A warning about a request that repeats within a minute is left out, so each case has a process
/// of its own.
class MenuPluginTableTest : public QObject {
    Q_OBJECT

private slots:
    void menus_firstQuestion_requestsTheUsersMenusOnce() {
        MenuFixture f;
        f.answerMenus({menuRow("M1", "委托"), menuRow("M2", "成交", pluginText("I", "P", "M2"))});
        const LogCapture log;
        QVERIFY(f.menus.IsUserHasMenuId(f.presenter, "M1"));
        const QVariantMap expected{{UserAccount::menuType, MenuType::client},
                                   {UserAccount::userID, "tester"},
                                   {System::msgType, kMenus}};
        QCOMPARE(f.world.link().lastRequest().header, expected);
        QCOMPARE(log.count(QtDebugMsg, "GetMenuIDByPluginID First Called"), 1);
        QVERIFY(f.menus.IsUserHasMenuId(f.presenter, "M2"));
        QVERIFY(!f.menus.IsUserHasMenuId(f.presenter, "M3"));
        QCOMPARE(f.menus.GetMenuIDByPluginID(f.presenter, "P"), QString("M2"));
        QCOMPARE(f.world.link().requestCount(), 1);
        QCOMPARE(f.menus.userMenus(), (QMap<QString, QString>{{"M1", "委托"}, {"M2", "成交"}}));
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
    }

    void menus_nothingAskedYet_listSendsNothing() {
        MenuFixture f;
        QVERIFY(f.menus.userMenus().isEmpty());
        QCOMPARE(f.world.link().requestCount(), 0);
    }

    void brokenPosition_menuIsTheUsersWithoutPlugin_data() {
        QTest::addColumn<QString>("position");
        QTest::addColumn<int>("error");
        QTest::newRow("cut off") << R"({"pluginId":"P")"
                                 << int(QJsonParseError::UnterminatedString);
        QTest::newRow("empty") << "" << int(QJsonParseError::IllegalValue);
        QTest::newRow("a word") << "nowhere" << int(QJsonParseError::IllegalValue);
        QTest::newRow("a number") << "5" << int(QJsonParseError::IllegalValue);
        QTest::newRow("null") << "null" << int(QJsonParseError::IllegalValue);
        QTest::newRow("two objects") << "{}{}" << int(QJsonParseError::GarbageAtEnd);
        QTest::newRow("2,000 levels") << nested(2000) << int(QJsonParseError::DeepNesting);
        QTest::newRow("2,000 levels of a property")
            << nestedProperty(2000) << int(QJsonParseError::DeepNesting);
    }
    void brokenPosition_menuIsTheUsersWithoutPlugin() {
        QFETCH(QString, position);
        QFETCH(int, error);
        MenuFixture f;
        f.answerMenus(
            {menuRow("M1", "坏的", position), menuRow("M2", "好的", pluginText("I2", "P2", "M2"))});
        const LogCapture log;
        QVERIFY(f.menus.IsUserHasMenuId(f.presenter, "M1"));
        QCOMPARE(log.texts(QtWarningMsg),
                 QStringList{QStringLiteral("Json Parse Error = %1  strPosition = ").arg(error) +
                             position.left(512)});
        // The whole text is in the debug line.
        QCOMPARE(log.texts(QtDebugMsg).filter(" 坏的 " + position).size(), 1);
        QVERIFY(f.menus.GetMenuIDByPluginID(f.presenter, "P").isEmpty());
        QCOMPARE(f.menus.GetMenuIDByPluginID(f.presenter, "P2"), QString("M2"));
    }

    void position_withoutPlugin_addsNoneAndLogsNoWarning_data() {
        QTest::addColumn<QString>("position");
        QTest::newRow("empty object") << "{}";
        QTest::newRow("empty list") << "[]";
        QTest::newRow("list of numbers") << "[1, 2.5, null, true, \"P\"]";
        QTest::newRow("list of lists") << "[[{\"pluginId\":\"P\",\"menuId\":\"M\"}]]";
        QTest::newRow("no plug-in id") << R"({"menuId":"M","pluginInstanceId":"I"})";
        QTest::newRow("no menu id") << R"({"pluginId":"P","pluginInstanceId":"I"})";
        QTest::newRow("1,024 levels") << nested(1024);
    }
    void position_withoutPlugin_addsNoneAndLogsNoWarning() {
        QFETCH(QString, position);
        MenuFixture f;
        f.answerMenus({menuRow("M1", "菜单", position)});
        const LogCapture log;
        QVERIFY(f.menus.IsUserHasMenuId(f.presenter, "M1"));
        QVERIFY(f.menus.GetMenuInfoListByPluginID(f.presenter, "P").isEmpty());
        QCOMPARE(log.texts(QtWarningMsg), QStringList());
        QVERIFY(log.count(QtInfoMsg, kNothingFound) > 0);
    }

    void position_deepProperty_isRead() {
        MenuFixture f;
        f.answerMenus({menuRow("M1", "深", nestedProperty(1000))});
        const LogCapture log;
        const QList<VelmarPluginInfo> infos = f.menus.GetMenuInfoListByPluginID(f.presenter, "P");
        QCOMPARE(infos.size(), 1);
        QVariant inner = infos.first().customProperty;
        int depth = 0;
        while (inner.toMap().contains("a")) {
            inner = inner.toMap().value("a");
            ++depth;
        }
        QCOMPARE(depth, 1000);
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
    }

    void position_list_addsEachPluginUnderTheMenusCaption() {
        MenuFixture f;
        f.answerMenus(
            {menuRow("M1", "交易",
                     "[" + pluginText("I2", "P", "M1") + ",7," + pluginText("I1", "P", "M1x") +
                         "," + R"({"menuId":"M1"})" + "]")});
        const LogCapture log;
        const QList<VelmarPluginInfo> infos = f.menus.GetMenuInfoListByPluginID(f.presenter, "P");
        QCOMPARE(instancesOf(infos), (QStringList{"I1", "I2"}));
        QCOMPARE(infos.at(0).menuId, QString("M1x"));
        QCOMPARE(infos.at(0).menuName, QString("交易"));
        QCOMPARE(infos.at(1).menuName, QString("交易"));
        QCOMPARE(log.count(QtDebugMsg, "PluginID found P : M1x"), 1);
        QCOMPARE(log.count(QtDebugMsg, "PluginID found P : M1"), 1);
    }

    void plugins_emptyInstanceIds_leaveTheLastOne() {
        MenuFixture f;
        f.answerMenus({menuRow("M1", "一", pluginText("", "P1", "M1")),
                       menuRow("M2", "二", R"({"pluginId":"P2","menuId":"M2"})")});
        QVERIFY(f.menus.GetMenuInfoListByPluginID(f.presenter, "P1").isEmpty());
        const QList<VelmarPluginInfo> infos = f.menus.GetMenuInfoListByPluginID(f.presenter, "P2");
        QCOMPARE(infos.size(), 1);
        QCOMPARE(infos.first().menuName, QString("二"));
    }

    void plugin_underTwoMenus_isFoundByTheFirstInstanceId() {
        MenuFixture f;
        f.answerMenus({menuRow("M1", "一", pluginText("I2", "P", "M1")),
                       menuRow("M2", "二", pluginText("I1", "P", "M2")),
                       menuRow("M3", "三", pluginText("I0", "Q", "M3"))});
        QCOMPARE(f.menus.GetMenuIDByPluginID(f.presenter, "P"), QString("M2"));
        const QList<VelmarPluginInfo> infos = f.menus.GetMenuInfoListByPluginID(f.presenter, "P");
        QCOMPARE(instancesOf(infos), (QStringList{"I1", "I2"}));
        QCOMPARE(infos.at(1).menuName, QString("一"));
        QCOMPARE(f.menuRequests(), 1);
    }

    void plugins_loaded_areLoggedOneByOne() {
        MenuFixture f;
        const QString position = R"({"pluginInstanceId":"I","pluginId":"P","menuId":"M",)"
                                 R"("containerId":"C","customProperty":{"a":"b"}})";
        f.answerMenus({menuRow("M", "菜单", position)});
        const LogCapture log;
        f.menus.initMenuPluginInfo(f.presenter);
        const QString tag = QStringLiteral("ZnBusinessDataManager::initMenuPluginInfo ");
        QCOMPARE(log.count(QtDebugMsg,
                           tag + PluginPropety::PLUGINCUSTOMPROPERTITY + " 菜单 " + position),
                 1);
        QCOMPARE(log.count(QtDebugMsg, tag + "I : P : M : C QMap((a, QVariant(QString, b)))"), 1);
        QVERIFY(!log.contains(kNothingFound));
    }

    void answer_headerOnly_isLoggedAndAskedAgain() {
        MenuFixture f;
        f.answerMenus({});
        const LogCapture log;
        QVERIFY(f.menus.GetMenuIDByPluginID(f.presenter, "P").isEmpty());
        QCOMPARE(log.count(QtInfoMsg, kNothingFound), 1);
        QVERIFY(f.menus.GetMenuInfoListByPluginID(f.presenter, "P").isEmpty());
        QVERIFY(!f.menus.IsUserHasMenuId(f.presenter, "M"));
        QCOMPARE(f.menuRequests(), 3);
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
        f.answerMenus({menuRow("M", "菜单", pluginText("I", "P", "M"))});
        QCOMPARE(f.menus.GetMenuIDByPluginID(f.presenter, "P"), QString("M"));
        QCOMPARE(f.menuRequests(), 4);
    }

    void menusWithoutPlugins_askAgainForPluginsOnly() {
        MenuFixture f;
        f.answerMenus({menuRow("M", "菜单")});
        QVERIFY(f.menus.IsUserHasMenuId(f.presenter, "M"));
        QVERIFY(f.menus.IsUserHasMenuId(f.presenter, "M"));
        QCOMPARE(f.menuRequests(), 1);
        QVERIFY(f.menus.GetMenuIDByPluginID(f.presenter, "P").isEmpty());
        QCOMPARE(f.menuRequests(), 2);
    }

    void answer_refusedWithRows_isReadAllTheSame() {
        MenuFixture f;
        f.world.link().on(kMenus,
                          ScriptedReply::rows({menuRow("M", "菜单", pluginText("I", "P", "M"))},
                                              {{System::requestExeStatus, "7"},
                                               {System::subGroupNumber, 0},
                                               {System::textDescription, "权限不足"}}));
        const LogCapture log;
        QVERIFY(f.menus.IsUserHasMenuId(f.presenter, "M"));
        QCOMPARE(f.menus.GetMenuIDByPluginID(f.presenter, "P"), QString("M"));
        QCOMPARE(log.texts(QtWarningMsg),
                 QStringList{"request " + kMenus + " was refused: 权限不足"});
    }

    void request_fails_isEmptyAndLogsAWarningOnce_data() {
        QTest::addColumn<int>("how");
        QTest::addColumn<QString>("reason");
        QTest::newRow("time-out") << 0 << " timed out: no answer came in time";
        QTest::newRow("failure") << 1 << " failed: 线路断开";
        QTest::newRow("refusal") << 2 << " was refused: 不行";
    }
    void request_fails_isEmptyAndLogsAWarningOnce() {
        QFETCH(int, how);
        QFETCH(QString, reason);
        const QList<ScriptedReply> replies{ScriptedReply::timeOut(),
                                           ScriptedReply::failure("线路断开"),
                                           ScriptedReply::refusal("不行")};
        MenuFixture f;
        f.world.link().on(kMenus, replies.at(how));
        f.world.link().on(kNames, replies.at(how));
        const LogCapture log;
        for (int i = 0; i < 3; ++i) {
            QVERIFY(!f.menus.IsUserHasMenuId(f.presenter, "M"));
            QVERIFY(f.menus.GetMenuNameByMenuId(f.presenter, "M").isEmpty());
        }
        QCOMPARE(f.menuRequests(), 3);
        QCOMPARE(f.world.link().requestCount(kNames), 3);
        QCOMPARE(log.texts(QtWarningMsg),
                 (QStringList{"request " + kMenus + reason, "request " + kNames + reason}));
        QCOMPARE(log.count(QtInfoMsg, kNothingFound), 3);
    }

    void names_areThoseOfAllMenusOfTheSystem() {
        MenuFixture f;
        f.world.link().on(kNames, ScriptedReply::rows({menuRow("M1", "委托"), menuRow("M2", "成交"),
                                                       menuRow("M3", "beyond the row count")},
                                                      {{System::subGroupNumber, 2}}));
        QCOMPARE(f.menus.GetMenuNameByMenuId(f.presenter, "M2"), QString("成交"));
        const QVariantMap expected{{UserAccount::menuType, MenuType::client},
                                   {System::msgType, kNames}};
        QCOMPARE(f.world.link().lastRequest().header, expected);
        QCOMPARE(f.menus.GetMenuNameByMenuId(f.presenter, "M1"), QString("委托"));
        QVERIFY(f.menus.GetMenuNameByMenuId(f.presenter, "M3").isEmpty());
        QCOMPARE(f.world.link().requestCount(), 1);
        QVERIFY(f.menus.userMenus().isEmpty());
    }

    void names_rowCountBeyondTheRows_isRefusedAndRequestedAgain() {
        MenuFixture f;
        f.world.link().on(
            kNames, ScriptedReply::rows({menuRow("M1", "委托")}, {{System::subGroupNumber, 3}}));
        const LogCapture log;
        QVERIFY(f.menus.GetMenuNameByMenuId(f.presenter, "M1").isEmpty());
        QCOMPARE(log.texts(QtWarningMsg).filter("holds 1 rows, its row count is \"3\"").size(), 1);
        f.world.link().on(kNames, ScriptedReply::rows({menuRow("M1", "委托")}));
        QCOMPARE(f.menus.GetMenuNameByMenuId(f.presenter, "M1"), QString("委托"));
        QCOMPARE(f.world.link().requestCount(kNames), 2);
    }

    void nullPresenter_isEmptyAtOnce() {
        MenuFixture f;
        f.answerMenus({menuRow("M", "菜单", pluginText("I", "P", "M"))});
        f.world.link().on(kNames, ScriptedReply::rows({menuRow("M", "菜单")}));
        const auto isEmpty = [&f] {
            return f.menus.GetMenuIDByPluginID(nullptr, "P").isEmpty() &&
                   f.menus.GetMenuInfoListByPluginID(nullptr, "P").isEmpty() &&
                   f.menus.GetMenuNameByMenuId(nullptr, "M").isEmpty() &&
                   !f.menus.IsUserHasMenuId(nullptr, "M");
        };
        const LogCapture log;
        QVERIFY(isEmpty());
        QVERIFY(log.texts().isEmpty());
        QCOMPARE(f.world.link().requestCount(), 0);
        // Also when the tables are filled.
        QVERIFY(f.menus.IsUserHasMenuId(f.presenter, "M"));
        QCOMPARE(f.menus.GetMenuNameByMenuId(f.presenter, "M"), QString("菜单"));
        QVERIFY(isEmpty());
    }

    void parse_allKeys_fillsAllFields() {
        const QVariantMap json{{PluginPropety::PLUGININSTANCE_ID, "I"},
                               {PluginPropety::PLUGIN_ID, "P"},
                               {PluginPropety::MENUID, "M"},
                               {PluginPropety::CONTAINERID, "C"},
                               {PluginPropety::MENUSCREENWIDTH, 800},
                               {PluginPropety::MENUSCREENHEIGHT, "600"},
                               {PluginPropety::PLUGINCUSTOMPROPERTITY, QVariantMap{{"a", 1}}}};
        VelmarPluginInfo info;
        QVERIFY(MenuPluginTable::parsePluginInfo(json, info));
        QCOMPARE(info.pluginInstanceId, QString("I"));
        QCOMPARE(info.pluginId, QString("P"));
        QCOMPARE(info.menuId, QString("M"));
        QCOMPARE(info.containerId, QString("C"));
        QCOMPARE(info.menuScreenWidth, 800);
        QCOMPARE(info.menuScreenHeight, 600);
        QVERIFY(info.menuName.isEmpty());
        QCOMPARE(info.customProperty, (QVariantMap{{"a", 1}}));
    }

    void parse_sizeWithAFraction_isTheNearestWholeNumber() {
        VelmarPluginInfo info;
        QVERIFY(MenuPluginTable::parsePluginInfo({{PluginPropety::PLUGIN_ID, "P"},
                                                  {PluginPropety::MENUID, "M"},
                                                  {PluginPropety::MENUSCREENWIDTH, 800.6},
                                                  {PluginPropety::MENUSCREENHEIGHT, 600.4}},
                                                 info));
        QCOMPARE(info.menuScreenWidth, 801);
        QCOMPARE(info.menuScreenHeight, 600);
    }

    void parse_optionalKeysMissing_leavesThemEmpty() {
        VelmarPluginInfo info;
        info.containerId = "old";
        info.menuScreenWidth = 5;
        QVERIFY(MenuPluginTable::parsePluginInfo(
            {{PluginPropety::PLUGIN_ID, "P"}, {PluginPropety::MENUID, "M"}}, info));
        QVERIFY(info.pluginInstanceId.isEmpty());
        QVERIFY(info.containerId.isEmpty());
        QCOMPARE(info.menuScreenWidth, 0);
        QCOMPARE(info.menuScreenHeight, 0);
        QVERIFY(info.customProperty.isEmpty());
    }

    void parse_requiredKeyMissing_isFalseAndChangesNothing() {
        VelmarPluginInfo info;
        info.menuId = "old";
        QVERIFY(!MenuPluginTable::parsePluginInfo({{PluginPropety::PLUGIN_ID, "P"}}, info));
        QVERIFY(!MenuPluginTable::parsePluginInfo({{PluginPropety::MENUID, "M"}}, info));
        QVERIFY(!MenuPluginTable::parsePluginInfo({}, info));
        QCOMPARE(info.menuId, QString("old"));
    }

    void parse_sizeThatAnIntCannotHold_isZero_data() {
        QTest::addColumn<QVariant>("size");
        QTest::newRow("too large") << QVariant(1e300);
        QTest::newRow("too small") << QVariant(-3e9);
        QTest::newRow("beyond 32 bits") << QVariant(4294967297LL);
        QTest::newRow("not finite") << QVariant(qQNaN());
        QTest::newRow("a word") << QVariant("wide");
        QTest::newRow("a list") << QVariant(QVariantList{1});
    }
    void parse_sizeThatAnIntCannotHold_isZero() {
        QFETCH(QVariant, size);
        VelmarPluginInfo info;
        QVERIFY(MenuPluginTable::parsePluginInfo({{PluginPropety::PLUGIN_ID, "P"},
                                                  {PluginPropety::MENUID, "M"},
                                                  {PluginPropety::MENUSCREENWIDTH, size}},
                                                 info));
        QCOMPARE(info.menuScreenWidth, 0);
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(MenuPluginTableTest)
#include "menu_plugin_table_test.moc"

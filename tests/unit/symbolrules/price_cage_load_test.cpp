#include <QtTest>

#include "log_capture.h"
#include "price_cage_script.h"
#include "zncore/zn_core.h"

namespace {

void saveLocal(const QString& key, const QVariant& value) {
    ZnCore::instance()->saveSetting(key, value);
}

CageIndex indexOf(const QString& exchange, const QString& type, const QString& subType,
                  const QString& cageId) {
    return {{exchange, {{type, {{subType, cageId}}}}}};
}

}  // namespace

class PriceCageLoadTest : public QObject {
    Q_OBJECT

private slots:
    void load_secondTime_isRefused() {
        PriceRoom room;
        room.cage.initCageMap(room.presenter, false);
        QCOMPARE(room.sink.count.load(), 1);
        const int requests = room.world.link().requestCount();
        QCOMPARE(room.cage.initCageMap(room.presenter, false),
                 QStringLiteral("当前状态不可重新初始化价格笼子配置！"));
        QCOMPARE(room.sink.count.load(), 1);
        QCOMPARE(room.world.link().requestCount(), requests);
    }

    void load_userProfile_isRequestedByTheFuzzyKey() {
        PriceRoom room;
        room.cage.initCageMap(room.presenter, false);
        QCOMPARE(room.world.link().requestCount(kProfile), 1);
        QCOMPARE(room.world.link().lastRequest(kProfile).header,
                 (QVariantMap{{UserAccount::userID, "tester"},
                              {System::msgType, kProfile},
                              {System::profileKey, "user_priceCage"},
                              {System::fuzzy, "1"}}));
    }

    void load_usersOwnRecord_isTakenWhenTheServerHasNoMoreCages() {
        PriceRoom room;
        room.world.link().on(kProfile, ScriptedReply::rows({profileRow(kCageKey, kOneCage),
                                                            profileRow(kApplyKey, kOneApply)}));
        room.world.link().on(
            kConfig, items({{SystemItemName::TagPriceCage, R"({"S":{"securityType":["2-2-*"]}})"},
                            {SystemItemName::TagPriceCageApply, R"({"Other":{"status":"1"}})"}}));
        QCOMPARE(room.cage.initCageMap(room.presenter, false), QString());
        QCOMPARE(QStringList(room.cage.GetAllCageMap().keys()), QStringList{"U"});
        QCOMPARE(room.cage.GetCageIndexMap(), indexOf("1", "2", "*", "U"));
        QCOMPARE(room.cage.GetCageApplyMap(), (CageRecords{{"ETF", {{"status", "1"}}}}));
        QCOMPARE(sourceText(room.cage), QString());
        // The user has switches, so the server is not asked for them.
        QCOMPARE(room.world.link().requestCount(kConfig), 1);
        QCOMPARE(room.cage.getCageUpdateTime(), QTime(9, 30, 15));
    }

    void load_userRowsOfOneKey_areUnitedFieldByFieldWithTheIndexOfTheFirst() {
        PriceRoom room;
        room.world.link().on(
            kProfile,
            ScriptedReply::rows(
                {profileRow(kCageKey, R"({"A":{"securityType":["1-2-*"],"controlType":1}})"),
                 profileRow("user_priceCage:Unknown", "not even a record"),
                 profileRow(kCageKey, "broken"),
                 profileRow(kCageKey, R"({"A":{"controlType":2},"B":{"securityType":["2-2-*"]}})"),
                 profileRow(kApplyKey, R"({"ETF":{"status":"1","title":"t"}})"),
                 profileRow(kApplyKey, R"({"ETF":{"status":"0"}})")}));
        room.world.link().on(kConfig,
                             items({{SystemItemName::TagPriceCage, R"({"S":{"controlType":3}})"}}));
        room.cage.initCageMap(room.presenter, false);
        const CageRecords cages = room.cage.GetAllCageMap();
        QCOMPARE(QStringList(cages.keys()), (QStringList{"A", "B"}));
        QCOMPARE(cages.value("A").value(CageField::controlType).toInt(), 2);
        QCOMPARE(cages.value("A").value(CageField::securityType).toStringList(),
                 QStringList{"1-2-*"});
        QCOMPARE(room.cage.GetCageIndexMap(), indexOf("1", "2", "*", "A"));
        QCOMPARE(room.cage.GetCageApplyMap(),
                 (CageRecords{{"ETF", {{"status", "0"}, {"title", "t"}}}}));
    }

    void load_firstUserRowWithoutClasses_takesTheIndexOfTheSecond() {
        PriceRoom room;
        room.world.link().on(
            kProfile,
            ScriptedReply::rows(
                {profileRow(kCageKey, R"({"A":{"controlType":1}})"),
                 profileRow(kCageKey, R"({"A":{"controlType":2,"securityType":["1-2-*"]}})"),
                 profileRow(kCageKey, R"({"A":{"controlType":3,"securityType":["2-2-*"]}})"),
                 profileRow(kApplyKey, kOneApply)}));
        room.world.link().on(kConfig,
                             items({{SystemItemName::TagPriceCage, R"({"S":{"controlType":3}})"}}));
        room.cage.initCageMap(room.presenter, false);
        QCOMPARE(room.cage.GetCageIndexMap(), indexOf("1", "2", "*", "A"));
        QCOMPARE(room.cage.GetAllCageMap().value("A").value(CageField::controlType).toInt(), 3);
    }

    void load_unusableCages_areKeptWithOneWarningEach() {
        PriceRoom room;
        const auto cage = [](const QString& control, const QString& ratio, const QString& ticks) {
            return QStringLiteral(R"({"controlType":%1,"%2":%3,"%4":%5})")
                .arg(control, CageField::userBuyPercent, ratio, CageField::userSellUnit, ticks);
        };
        const QString cages =
            QStringLiteral(R"({"good":%1,"texts":%2,"control":%3,"ratio":%4,)"
                           R"("ticks":%5,"both":%6,"empty":{}})")
                .arg(cage("1", "0.02", "9"), cage(R"("3")", R"("0.02")", R"("9")"),
                     cage("4", "0.02", "9"), cage("1", R"("two")", "9"),
                     cage("1", "0.02", R"("9.7")"), cage("0", "[]", "{}"));
        room.world.link().on(kProfile, ScriptedReply::rows({profileRow(kCageKey, cages),
                                                            profileRow(kApplyKey, kOneApply)}));
        const LogCapture log;
        room.cage.initCageMap(room.presenter, false);
        QCOMPARE(room.cage.GetAllCageMap().size(), 7);
        QCOMPARE(room.cage.GetAllCageMap().value("ratio").value(CageField::userBuyPercent),
                 QVariant("two"));
        QStringList warned = log.texts(QtWarningMsg).filter("has unusable figures");
        QCOMPARE(warned.size(), 5);
        const auto warnedOf = [&warned](const QString& id, const QString& figures) {
            return warned.contains(
                QStringLiteral("price cage \"%1\" has unusable figures: \"%2\"").arg(id, figures));
        };
        QVERIFY(warnedOf("control", "controlType=4"));
        QVERIFY(warnedOf("ratio", "buyPriceLimitRatio=two"));
        QVERIFY(warnedOf("ticks", "sellPriceLimitUnit=9.7"));
        QVERIFY(warnedOf("both", "controlType=0, buyPriceLimitRatio=, sellPriceLimitUnit="));
        QVERIFY(warnedOf("empty", "controlType="));
    }

    void load_localCopies_areTakenWhenTheUsersRecordFails() {
        PriceRoom room;
        room.world.link().on(kConfig,
                             items({{SystemItemName::TagPriceCage, R"({"S":{"controlType":3}})"}}));
        saveLocal(ETFTradeSetting::Self_AllPriceCageApply, kOneApply);
        saveLocal(ETFTradeSetting::Self_AllPriceCageMap, kOneCage);
        const LogCapture log;
        QCOMPARE(room.cage.initCageMap(room.presenter, false),
                 QStringLiteral("价格笼子应用设置:当前使用本地用户配置"
                                "\n价格笼子参数设置:当前使用本地用户配置"));
        QVERIFY(log.contains(QtInfoMsg, "读取本地价格笼子应用设置:"));
        QVERIFY(log.contains(QtInfoMsg, "读取本地价格笼子参数设置:"));
        QVERIFY(log.contains(QtDebugMsg, "读取本地价格笼子应用设置:"));
        QVERIFY(log.contains(QtDebugMsg, "读取本地价格笼子参数设置:"));
        QVERIFY(log.contains(QtDebugMsg, "本地SecurityType证券索引:"));
        QCOMPARE(QStringList(room.cage.GetAllCageMap().keys()), QStringList{"U"});
        QCOMPARE(room.cage.GetCageIndexMap(), indexOf("1", "2", "*", "U"));
        QVERIFY(room.cage.IsCageApply("ETF"));
        QVERIFY(room.cage.getCageUpdateTime().isNull());
    }

    void load_localCopyUnderTheProfilesName_isNotRead() {
        PriceRoom room;
        saveLocal("Self_PriceCageApply", kOneApply);
        room.cage.initCageMap(room.presenter, false);
        QVERIFY(room.cage.GetCageApplyMap().contains("Strategy"));
    }

    void load_userRecordGood_localCopiesAreNotRead() {
        PriceRoom room;
        room.world.link().on(kProfile, ScriptedReply::rows({profileRow(kCageKey, kOneCage),
                                                            profileRow(kApplyKey, kOneApply)}));
        saveLocal(ETFTradeSetting::Self_AllPriceCageApply, R"({"Local":{"status":"1"}})");
        saveLocal(ETFTradeSetting::Self_AllPriceCageMap, R"({"L":{"controlType":1}})");
        const LogCapture log;
        room.cage.initCageMap(room.presenter, false);
        QVERIFY(!log.contains(QtInfoMsg, "读取本地价格笼子应用设置:"));
        QVERIFY(!room.cage.GetCageApplyMap().contains("Local"));
        QVERIFY(!room.cage.GetAllCageMap().contains("L"));
    }

    void load_localCopyNotJson_usesTheNextSource() {
        PriceRoom room;
        saveLocal(ETFTradeSetting::Self_AllPriceCageApply, "{broken");
        saveLocal(ETFTradeSetting::Self_AllPriceCageMap, "[1]");
        room.world.link().on(kConfig, items({{SystemItemName::TagPriceCageApply, kOneApply}}));
        room.cage.initCageMap(room.presenter, false);
        QCOMPARE(QStringList(room.cage.GetCageApplyMap().keys()), QStringList{"ETF"});
        QCOMPARE(QStringList(room.cage.GetAllCageMap().keys()), (QStringList{"1", "2", "3"}));
    }

    void load_onlyOneRowOfTheUser_takesTheOtherFromTheLocalCopy_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("data");
        QTest::addColumn<QString>("cageId");
        QTest::addColumn<QString>("function");
        QTest::addColumn<QString>("text");
        QTest::newRow("cages") << kCageKey << kOneCage << "U"
                               << "Local"
                               << "价格笼子应用设置:当前使用本地用户配置";
        QTest::newRow("switches") << kApplyKey << kOneApply << "L"
                                  << "ETF"
                                  << "\n价格笼子参数设置:当前使用本地用户配置";
    }
    void load_onlyOneRowOfTheUser_takesTheOtherFromTheLocalCopy() {
        QFETCH(QString, key);
        QFETCH(QString, data);
        QFETCH(QString, cageId);
        QFETCH(QString, function);
        QFETCH(QString, text);
        PriceRoom room;
        room.world.link().on(kProfile, ScriptedReply::rows({profileRow(key, data)}));
        // As many cages as the user has, so that no server cage is added to the user's.
        room.world.link().on(kConfig, items({{SystemItemName::TagPriceCage, R"({"S":{}})"}}));
        saveLocal(ETFTradeSetting::Self_AllPriceCageApply, R"({"Local":{"status":"1"}})");
        saveLocal(ETFTradeSetting::Self_AllPriceCageMap, R"({"L":{"securityType":["2-2-*"]}})");
        QCOMPARE(room.cage.initCageMap(room.presenter, false), QString());
        QCOMPARE(QStringList(room.cage.GetAllCageMap().keys()), QStringList{cageId});
        QCOMPARE(room.cage.GetCageIndexMap().contains("2"), cageId == "L");
        QCOMPARE(QStringList(room.cage.GetCageApplyMap().keys()), QStringList{function});
        QVERIFY(room.cage.IsCageApply(function));
        QCOMPARE(sourceText(room.cage), text);
    }

    void load_emptyRecordsOfTheUser_areHisAndAreFilledFromTheServer_data() {
        QTest::addColumn<bool>("answers");
        QTest::addColumn<QStringList>("cageIds");
        QTest::addColumn<QStringList>("functions");
        QTest::newRow("server's") << true << QStringList{"S"} << QStringList{"Other"};
        QTest::newRow("built in") << false << QStringList{"1", "2", "3"}
                                  << QStringList{"ETF", "MultiArbitrage", "Strategy"};
    }
    void load_emptyRecordsOfTheUser_areHisAndAreFilledFromTheServer() {
        QFETCH(bool, answers);
        QFETCH(QStringList, cageIds);
        QFETCH(QStringList, functions);
        PriceRoom room;
        room.world.link().on(kProfile, ScriptedReply::rows({profileRow(kCageKey, "{}"),
                                                            profileRow(kApplyKey, "{}")}));
        if (answers) {
            room.world.link().on(
                kConfig,
                items({{SystemItemName::TagPriceCage, R"({"S":{"securityType":["2-2-*"]}})"},
                       {SystemItemName::TagPriceCageApply, R"({"Other":{"status":"1"}})"}}));
        }
        saveLocal(ETFTradeSetting::Self_AllPriceCageApply, R"({"Local":{"status":"1"}})");
        saveLocal(ETFTradeSetting::Self_AllPriceCageMap, R"({"L":{"controlType":1}})");
        const LogCapture log;
        QCOMPARE(room.cage.initCageMap(room.presenter, false), QString());
        QVERIFY(!log.contains(QtInfoMsg, "读取本地价格笼子应用设置:"));
        QVERIFY(!log.contains(QtInfoMsg, "读取本地价格笼子参数设置:"));
        QCOMPARE(QStringList(room.cage.GetAllCageMap().keys()), cageIds);
        QCOMPARE(QStringList(room.cage.GetCageApplyMap().keys()), functions);
    }

    void load_emptyServerItem_usesTheBuiltInText_data() {
        QTest::addColumn<QString>("item");
        QTest::newRow("broken") << "{broken";
        QTest::newRow("empty record") << "{}";
        QTest::newRow("no text") << "";
    }
    void load_emptyServerItem_usesTheBuiltInText() {
        QFETCH(QString, item);
        PriceRoom room;
        room.world.link().on(kConfig, items({{SystemItemName::TagPriceCage, item},
                                             {SystemItemName::TagPriceCageApply, item}}));
        QCOMPARE(room.cage.initCageMap(room.presenter, false),
                 QStringLiteral("价格笼子应用设置:当前使用本地默认配置\n价格笼子参数设置:"));
        QCOMPARE(QStringList(room.cage.GetAllCageMap().keys()), (QStringList{"1", "2", "3"}));
        QCOMPARE(QStringList(room.cage.GetCageApplyMap().keys()),
                 (QStringList{"ETF", "MultiArbitrage", "Strategy"}));
    }

    void load_serverItemWithSeveralRows_usesTheFirst() {
        PriceRoom room;
        room.world.link().on(kConfig,
                             ScriptedReply::rows({{{System::itemValue, R"({"A":{"status":"1"}})"}},
                                                  {{System::itemValue, R"({"B":{}})"}}}));
        room.cage.initCageMap(room.presenter, false);
        QCOMPARE(QStringList(room.cage.GetAllCageMap().keys()), QStringList{"A"});
        QCOMPARE(QStringList(room.cage.GetCageApplyMap().keys()), QStringList{"A"});
        room.world.link().on(kConfig, ScriptedReply::rows({{{System::itemValue, "{broken"}},
                                                           {{System::itemValue, R"({"B":{}})"}}}));
        room.cage.initCageMap(room.presenter, true);
        QVERIFY(!room.cage.GetAllCageMap().contains("B"));
        QVERIFY(!room.cage.GetCageApplyMap().contains("B"));
    }

    void load_serverDefaults_becomeTheFiguresInForce() {
        PriceRoom room;
        room.world.link().on(
            kConfig, items({{SystemItemName::TagPriceCage,
                             R"({"S":{"securityType":["1-2-*"],"buyPercent":0.02,"buyUnit":10,)"
                             R"("sellPercent":0.03,"sellUnit":11,"controlType":3}})"},
                            {SystemItemName::TagPriceCageApply, R"({"ETF":{"status":"0"}})"}}));
        room.cage.initCageMap(room.presenter, false);
        const QVariantMap record = room.cage.GetAllCageMap().value("S");
        QCOMPARE(record.value(CageField::userBuyPercent).toDouble(), 0.02);
        QCOMPARE(record.value(CageField::userBuyUnit).toInt(), 10);
        QCOMPARE(record.value(CageField::userSellPercent).toDouble(), 0.03);
        QCOMPARE(record.value(CageField::userSellUnit).toInt(), 11);
        QCOMPARE(record.value(CageField::buyPercent).toDouble(), 0.02);
        QCOMPARE(room.cage.GetCageIndexMap(), indexOf("1", "2", "*", "S"));
        QCOMPARE(room.cage.GetCageApplyMap(), (CageRecords{{"ETF", {{"status", "0"}}}}));
        QStringList asked;
        for (const ScriptedLink::Request& request : room.world.link().requests(kConfig)) {
            asked.append(request.header.value(System::itemName).toString());
        }
        QCOMPARE(asked,
                 (QStringList{SystemItemName::TagPriceCage, SystemItemName::TagPriceCageApply}));
        // The source reported is the union, never the server's default.
        QString text = "untouched";
        QVERIFY(room.cage.IsGetUserCageInfo(text));
        QCOMPARE(text, QString("untouched"));
    }

    void load_nothingAnswers_usesTheBuiltInTexts_data() {
        QTest::addColumn<bool>("withPresenter");
        QTest::newRow("server refuses") << true;
        QTest::newRow("no presenter") << false;
    }
    void load_nothingAnswers_usesTheBuiltInTexts() {
        QFETCH(bool, withPresenter);
        PriceRoom room;
        const LogCapture log;
        const QString notice =
            room.cage.initCageMap(withPresenter ? room.presenter.data() : nullptr, false);
        // Without a presenter the user's record is not requested, so its query has not failed.
        QCOMPARE(notice, withPresenter ? QString("价格笼子应用设置:当前使用本地默认配置"
                                                 "\n价格笼子参数设置:")
                                       : QString());
        QVERIFY(log.contains(QtInfoMsg, "读取内置价格笼子应用设置:"));
        QVERIFY(log.contains(QtInfoMsg, "读取内置价格笼子参数设置:"));
        QVERIFY(log.contains(QtDebugMsg, "ZnBusinessDataManager::initCageMap"));
        const CageRecords cages = room.cage.GetAllCageMap();
        QCOMPARE(QStringList(cages.keys()), (QStringList{"1", "2", "3"}));
        QCOMPARE(cages.value("1").value("title").toString(),
                 QString("沪市（非科创板）和深市（含创业板）股票："));
        QCOMPARE(cages.value("3").value(CageField::userBuyUnit).toInt(), 9);
        QCOMPARE(room.cage.GetCageIndexMap().value("1").value("2"),
                 (QMap<QString, QString>{{"*", "1"}, {"02200", "2"}}));
        QVERIFY(room.cage.IsCageApply("ETF"));
        QVERIFY(!room.cage.IsCageApply("MultiArbitrage"));
        QCOMPARE(room.cage.GetCageApplyMap().value("Strategy").value("title").toString(),
                 QString("策略交易"));
        QCOMPARE(room.sink.count.load(), 1);
        QCOMPARE(VelmarInitStateMgr::instance().GetInitState(InitTypeCode::PriceCageInfo),
                 InitState::Done);
    }

    void load_ended_isReportedWithoutALockOnceTheTablesAreInForce_data() {
        QTest::addColumn<bool>("succeeds");
        QTest::addColumn<int>("state");
        QTest::addColumn<QStringList>("cageIds");
        QTest::newRow("succeeded") << true << int(InitState::Done) << QStringList{"U"};
        QTest::newRow("failed") << false << int(InitState::Failed) << QStringList();
    }
    void load_ended_isReportedWithoutALockOnceTheTablesAreInForce() {
        QFETCH(bool, succeeds);
        QFETCH(int, state);
        QFETCH(QStringList, cageIds);
        PriceRoom room(CageBuiltIn{});
        if (succeeds) {
            room.world.link().on(kProfile, ScriptedReply::rows({profileRow(kCageKey, kOneCage),
                                                                profileRow(kApplyKey, kOneApply)}));
        }
        room.cage.initCageMap(room.presenter, false);
        QCOMPARE(room.sink.count.load(), 1);
        const CountingSink::Moment reported = room.sink.last();
        QCOMPARE(int(reported.state), state);
        QVERIFY(!reported.underLock);
        QCOMPARE(QStringList(reported.cages.keys()), cageIds);
    }

    void load_fewerUserCagesThanTheServer_areUnitedWholeByKeyAndExchange() {
        PriceRoom room;
        room.world.link().on(
            kProfile,
            ScriptedReply::rows(
                {profileRow(kCageKey, R"({"1":{"securityType":["1-2-02001"],"controlType":2}})"),
                 profileRow(kApplyKey, kOneApply)}));
        room.world.link().on(
            kConfig, items({{SystemItemName::TagPriceCage,
                             R"({"1":{"securityType":["1-2-*"],"title":"t","controlType":3},)"
                             R"("2":{"securityType":["2-2-*"],"controlType":3}})"}}));
        room.cage.initCageMap(room.presenter, false);
        const CageRecords cages = room.cage.GetAllCageMap();
        QCOMPARE(QStringList(cages.keys()), (QStringList{"1", "2"}));
        QCOMPARE(cages.value("1").value(CageField::controlType).toInt(), 2);
        QVERIFY(!cages.value("1").contains("title"));
        QCOMPARE(room.cage.GetCageIndexMap(),
                 (CageIndex{{"1", {{"2", {{"02001", "1"}}}}}, {"2", {{"2", {{"*", "2"}}}}}}));
        QString text;
        QVERIFY(room.cage.IsGetUserCageInfo(text));
    }

    void load_tableMissing_failsWithItsText_data() {
        QTest::addColumn<QString>("apply");
        QTest::addColumn<QString>("cage");
        QTest::addColumn<QString>("failed");
        const QString applyFailed = "获取价格笼子应用设置失败！";
        const QString cageFailed = "获取价格笼子参数设置失败！";
        QTest::newRow("both") << ""
                              << "" << applyFailed + cageFailed;
        QTest::newRow("cages") << kOneApply << "" << cageFailed;
        QTest::newRow("switches") << "" << kOneCage << applyFailed;
    }
    void load_tableMissing_failsWithItsText() {
        QFETCH(QString, apply);
        QFETCH(QString, cage);
        QFETCH(QString, failed);
        PriceRoom room(CageBuiltIn{apply, cage});
        const LogCapture log;
        QVERIFY(!room.cage.initCageMap(room.presenter, false).isEmpty());
        QCOMPARE(log.texts(QtWarningMsg).filter("设置失败！").join(""), failed);
        QVERIFY(room.cage.GetAllCageMap().isEmpty() && room.cage.GetCageIndexMap().isEmpty());
        QVERIFY(room.cage.GetCageApplyMap().isEmpty());
        QCOMPARE(VelmarInitStateMgr::instance().GetInitState(InitTypeCode::PriceCageInfo),
                 InitState::Failed);
        QCOMPARE(room.sink.count.load(), 1);
        QCOMPARE(sourceText(room.cage), QStringLiteral("价格笼子应用设置:初始化失败"
                                                       "\n价格笼子参数设置:初始化失败"));
    }

    void securityTypes_otherForm_areLoggedAndLeftOut() {
        CageIndex index;
        const LogCapture log;
        getCageFieldSecurityType(
            "7", {{CageField::securityType, QVariantList{"1-2", "1-2-3-4", "", "1--*", "G-2-*"}}},
            index);
        QCOMPARE(log.texts(QtWarningMsg).filter("securityType配置有误").size(), 3);
        QCOMPARE(index, (CageIndex{{"1", {{"", {{"*", "7"}}}}}, {"G", {{"2", {{"*", "7"}}}}}}));
        getCageFieldSecurityType("8", {{CageField::securityType, QVariantList{"G-2-*"}}}, index);
        QCOMPARE(index.value("G").value("2").value("*"), QString("8"));
    }

    void applyText_keyTwice_replacesTheRecordWhole() {
        CageRecords records{{"ETF", {{"status", "1"}, {"title", "t"}}}};
        getCageApplyMapFromJson(QByteArray(R"({"ETF":{"status":"0"}})"), records);
        QCOMPARE(records, (CageRecords{{"ETF", {{"status", "0"}}}}));
        getCageApplyMapFromJson(QVariant(), records);
        QCOMPARE(records.size(), 1);
    }

    void statusText_eachSource_hasItsText_data() {
        QTest::addColumn<int>("map");
        QTest::addColumn<int>("apply");
        QTest::addColumn<QString>("text");
        QTest::newRow("nothing") << 0 << 0
                                 << "价格笼子应用设置:初始化失败\n价格笼子参数设置:初始化失败";
        QTest::newRow("server") << 1 << 1
                                << "价格笼子应用设置:当前使用后台默认配置"
                                   "\n价格笼子参数设置:当前使用后台默认配置";
        QTest::newRow("user") << 2 << 2 << "";
        QTest::newRow("user's switches") << 3 << 2 << "\n价格笼子参数设置:当前使用本地用户配置";
        QTest::newRow("user's cages") << 2 << 4 << "价格笼子应用设置:当前使用本地默认配置";
        QTest::newRow("united") << 5 << 1
                                << "价格笼子应用设置:当前使用后台默认配置\n价格笼子参数设置:";
    }
    void statusText_eachSource_hasItsText() {
        QFETCH(int, map);
        QFETCH(int, apply);
        QFETCH(QString, text);
        QCOMPARE(getCageStatusText(static_cast<CageSource>(map), static_cast<CageSource>(apply)),
                 text);
    }
};

QTEST_GUILESS_MAIN(PriceCageLoadTest)
#include "price_cage_load_test.moc"

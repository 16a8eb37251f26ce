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
        PriceFixture fixture;
        fixture.cage.initCageMap(fixture.presenter, false);
        QCOMPARE(fixture.sink.count.load(), 1);
        const int requests = fixture.world.link().requestCount();
        QCOMPARE(fixture.cage.initCageMap(fixture.presenter, false),
                 QStringLiteral("当前状态不可重新初始化价格笼子配置！"));
        QCOMPARE(fixture.sink.count.load(), 1);
        QCOMPARE(fixture.world.link().requestCount(), requests);
    }

    void load_userProfile_isRequestedByTheFuzzyKey() {
        PriceFixture fixture;
        fixture.cage.initCageMap(fixture.presenter, false);
        QCOMPARE(fixture.world.link().requestCount(kProfile), 1);
        QCOMPARE(fixture.world.link().lastRequest(kProfile).header,
                 (QVariantMap{{UserAccount::userID, "tester"},
                              {System::msgType, kProfile},
                              {System::profileKey, "user_priceCage"},
                              {System::fuzzy, "1"}}));
    }

    void load_usersOwnRecord_isTakenWhenTheServerHasNoMoreCages() {
        PriceFixture fixture;
        fixture.world.link().on(kProfile, ScriptedReply::rows({profileRow(kCageKey, kOneCage),
                                                               profileRow(kApplyKey, kOneApply)}));
        fixture.world.link().on(
            kConfig, items({{SystemItemName::TagPriceCage, R"({"S":{"securityType":["2-2-*"]}})"},
                            {SystemItemName::TagPriceCageApply, R"({"Other":{"status":"1"}})"}}));
        QCOMPARE(fixture.cage.initCageMap(fixture.presenter, false), QString());
        QCOMPARE(QStringList(fixture.cage.GetAllCageMap().keys()), QStringList{"U"});
        QCOMPARE(fixture.cage.GetCageIndexMap(), indexOf("1", "2", "*", "U"));
        QCOMPARE(fixture.cage.GetCageApplyMap(), (CageRecords{{"ETF", {{"status", "1"}}}}));
        QCOMPARE(sourceText(fixture.cage), QString());
        // The user has switches, so the server is not asked for them.
        QCOMPARE(fixture.world.link().requestCount(kConfig), 1);
        QCOMPARE(fixture.cage.getCageUpdateTime(), QTime(9, 30, 15));
    }

    void load_userRowsOfOneKey_areUnitedFieldByFieldWithTheIndexOfTheFirst() {
        PriceFixture fixture;
        fixture.world.link().on(
            kProfile,
            ScriptedReply::rows(
                {profileRow(kCageKey, R"({"A":{"securityType":["1-2-*"],"controlType":1}})"),
                 profileRow("user_priceCage:Unknown", "not even a record"),
                 profileRow(kCageKey, "broken"),
                 profileRow(kCageKey, R"({"A":{"controlType":2},"B":{"securityType":["2-2-*"]}})"),
                 profileRow(kApplyKey, R"({"ETF":{"status":"1","title":"t"}})"),
                 profileRow(kApplyKey, R"({"ETF":{"status":"0"}})")}));
        fixture.world.link().on(
            kConfig, items({{SystemItemName::TagPriceCage, R"({"S":{"controlType":3}})"}}));
        fixture.cage.initCageMap(fixture.presenter, false);
        const CageRecords cages = fixture.cage.GetAllCageMap();
        QCOMPARE(QStringList(cages.keys()), (QStringList{"A", "B"}));
        QCOMPARE(cages.value("A").value(CageField::controlType).toInt(), 2);
        QCOMPARE(cages.value("A").value(CageField::securityType).toStringList(),
                 QStringList{"1-2-*"});
        QCOMPARE(fixture.cage.GetCageIndexMap(), indexOf("1", "2", "*", "A"));
        QCOMPARE(fixture.cage.GetCageApplyMap(),
                 (CageRecords{{"ETF", {{"status", "0"}, {"title", "t"}}}}));
    }

    void load_firstUserRowWithoutClasses_takesTheIndexOfTheSecond() {
        PriceFixture fixture;
        fixture.world.link().on(
            kProfile,
            ScriptedReply::rows(
                {profileRow(kCageKey, R"({"A":{"controlType":1}})"),
                 profileRow(kCageKey, R"({"A":{"controlType":2,"securityType":["1-2-*"]}})"),
                 profileRow(kCageKey, R"({"A":{"controlType":3,"securityType":["2-2-*"]}})"),
                 profileRow(kApplyKey, kOneApply)}));
        fixture.world.link().on(
            kConfig, items({{SystemItemName::TagPriceCage, R"({"S":{"controlType":3}})"}}));
        fixture.cage.initCageMap(fixture.presenter, false);
        QCOMPARE(fixture.cage.GetCageIndexMap(), indexOf("1", "2", "*", "A"));
        QCOMPARE(fixture.cage.GetAllCageMap().value("A").value(CageField::controlType).toInt(), 3);
    }

    void load_unusableCages_areKeptWithOneWarningEach() {
        PriceFixture fixture;
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
        fixture.world.link().on(kProfile, ScriptedReply::rows({profileRow(kCageKey, cages),
                                                               profileRow(kApplyKey, kOneApply)}));
        const LogCapture log;
        fixture.cage.initCageMap(fixture.presenter, false);
        QCOMPARE(fixture.cage.GetAllCageMap().size(), 7);
        QCOMPARE(fixture.cage.GetAllCageMap().value("ratio").value(CageField::userBuyPercent),
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
        PriceFixture fixture;
        fixture.world.link().on(
            kConfig, items({{SystemItemName::TagPriceCage, R"({"S":{"controlType":3}})"}}));
        saveLocal(ETFTradeSetting::Self_AllPriceCageApply, kOneApply);
        saveLocal(ETFTradeSetting::Self_AllPriceCageMap, kOneCage);
        const LogCapture log;
        QCOMPARE(fixture.cage.initCageMap(fixture.presenter, false),
                 QStringLiteral("价格笼子应用设置:当前使用本地用户配置"
                                "\n价格笼子参数设置:当前使用本地用户配置"));
        QVERIFY(log.contains(QtInfoMsg, "读取本地价格笼子应用设置:"));
        QVERIFY(log.contains(QtInfoMsg, "读取本地价格笼子参数设置:"));
        QVERIFY(log.contains(QtDebugMsg, "读取本地价格笼子应用设置:"));
        QVERIFY(log.contains(QtDebugMsg, "读取本地价格笼子参数设置:"));
        QVERIFY(log.contains(QtDebugMsg, "本地SecurityType证券索引:"));
        QCOMPARE(QStringList(fixture.cage.GetAllCageMap().keys()), QStringList{"U"});
        QCOMPARE(fixture.cage.GetCageIndexMap(), indexOf("1", "2", "*", "U"));
        QVERIFY(fixture.cage.IsCageApply("ETF"));
        QVERIFY(fixture.cage.getCageUpdateTime().isNull());
    }

    void load_localCopyUnderTheProfilesName_isNotRead() {
        PriceFixture fixture;
        saveLocal("Self_PriceCageApply", kOneApply);
        fixture.cage.initCageMap(fixture.presenter, false);
        QVERIFY(fixture.cage.GetCageApplyMap().contains("Strategy"));
    }

    void load_userRecordGood_localCopiesAreNotRead() {
        PriceFixture fixture;
        fixture.world.link().on(kProfile, ScriptedReply::rows({profileRow(kCageKey, kOneCage),
                                                               profileRow(kApplyKey, kOneApply)}));
        saveLocal(ETFTradeSetting::Self_AllPriceCageApply, R"({"Local":{"status":"1"}})");
        saveLocal(ETFTradeSetting::Self_AllPriceCageMap, R"({"L":{"controlType":1}})");
        const LogCapture log;
        fixture.cage.initCageMap(fixture.presenter, false);
        QVERIFY(!log.contains(QtInfoMsg, "读取本地价格笼子应用设置:"));
        QVERIFY(!fixture.cage.GetCageApplyMap().contains("Local"));
        QVERIFY(!fixture.cage.GetAllCageMap().contains("L"));
    }

    void load_localCopyNotJson_usesTheNextSource() {
        PriceFixture fixture;
        saveLocal(ETFTradeSetting::Self_AllPriceCageApply, "{broken");
        saveLocal(ETFTradeSetting::Self_AllPriceCageMap, "[1]");
        fixture.world.link().on(kConfig, items({{SystemItemName::TagPriceCageApply, kOneApply}}));
        fixture.cage.initCageMap(fixture.presenter, false);
        QCOMPARE(QStringList(fixture.cage.GetCageApplyMap().keys()), QStringList{"ETF"});
        QCOMPARE(QStringList(fixture.cage.GetAllCageMap().keys()), (QStringList{"1", "2", "3"}));
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
        PriceFixture fixture;
        fixture.world.link().on(kProfile, ScriptedReply::rows({profileRow(key, data)}));
        // As many cages as the user has, so that no server cage is added to the user's.
        fixture.world.link().on(kConfig, items({{SystemItemName::TagPriceCage, R"({"S":{}})"}}));
        saveLocal(ETFTradeSetting::Self_AllPriceCageApply, R"({"Local":{"status":"1"}})");
        saveLocal(ETFTradeSetting::Self_AllPriceCageMap, R"({"L":{"securityType":["2-2-*"]}})");
        QCOMPARE(fixture.cage.initCageMap(fixture.presenter, false), QString());
        QCOMPARE(QStringList(fixture.cage.GetAllCageMap().keys()), QStringList{cageId});
        QCOMPARE(fixture.cage.GetCageIndexMap().contains("2"), cageId == "L");
        QCOMPARE(QStringList(fixture.cage.GetCageApplyMap().keys()), QStringList{function});
        QVERIFY(fixture.cage.IsCageApply(function));
        QCOMPARE(sourceText(fixture.cage), text);
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
        PriceFixture fixture;
        fixture.world.link().on(kProfile, ScriptedReply::rows({profileRow(kCageKey, "{}"),
                                                               profileRow(kApplyKey, "{}")}));
        if (answers) {
            fixture.world.link().on(
                kConfig,
                items({{SystemItemName::TagPriceCage, R"({"S":{"securityType":["2-2-*"]}})"},
                       {SystemItemName::TagPriceCageApply, R"({"Other":{"status":"1"}})"}}));
        }
        saveLocal(ETFTradeSetting::Self_AllPriceCageApply, R"({"Local":{"status":"1"}})");
        saveLocal(ETFTradeSetting::Self_AllPriceCageMap, R"({"L":{"controlType":1}})");
        const LogCapture log;
        QCOMPARE(fixture.cage.initCageMap(fixture.presenter, false), QString());
        QVERIFY(!log.contains(QtInfoMsg, "读取本地价格笼子应用设置:"));
        QVERIFY(!log.contains(QtInfoMsg, "读取本地价格笼子参数设置:"));
        QCOMPARE(QStringList(fixture.cage.GetAllCageMap().keys()), cageIds);
        QCOMPARE(QStringList(fixture.cage.GetCageApplyMap().keys()), functions);
    }

    void load_emptyServerItem_usesTheBuiltInText_data() {
        QTest::addColumn<QString>("item");
        QTest::newRow("broken") << "{broken";
        QTest::newRow("empty record") << "{}";
        QTest::newRow("no text") << "";
    }
    void load_emptyServerItem_usesTheBuiltInText() {
        QFETCH(QString, item);
        PriceFixture fixture;
        fixture.world.link().on(kConfig, items({{SystemItemName::TagPriceCage, item},
                                                {SystemItemName::TagPriceCageApply, item}}));
        QCOMPARE(fixture.cage.initCageMap(fixture.presenter, false),
                 QStringLiteral("价格笼子应用设置:当前使用本地默认配置\n价格笼子参数设置:"));
        QCOMPARE(QStringList(fixture.cage.GetAllCageMap().keys()), (QStringList{"1", "2", "3"}));
        QCOMPARE(QStringList(fixture.cage.GetCageApplyMap().keys()),
                 (QStringList{"ETF", "MultiArbitrage", "Strategy"}));
    }

    void load_serverItemWithSeveralRows_usesTheFirst() {
        PriceFixture fixture;
        fixture.world.link().on(
            kConfig, ScriptedReply::rows({{{System::itemValue, R"({"A":{"status":"1"}})"}},
                                          {{System::itemValue, R"({"B":{}})"}}}));
        fixture.cage.initCageMap(fixture.presenter, false);
        QCOMPARE(QStringList(fixture.cage.GetAllCageMap().keys()), QStringList{"A"});
        QCOMPARE(QStringList(fixture.cage.GetCageApplyMap().keys()), QStringList{"A"});
        fixture.world.link().on(
            kConfig, ScriptedReply::rows(
                         {{{System::itemValue, "{broken"}}, {{System::itemValue, R"({"B":{}})"}}}));
        fixture.cage.initCageMap(fixture.presenter, true);
        QVERIFY(!fixture.cage.GetAllCageMap().contains("B"));
        QVERIFY(!fixture.cage.GetCageApplyMap().contains("B"));
    }

    void load_serverDefaults_becomeTheFiguresInForce() {
        PriceFixture fixture;
        fixture.world.link().on(
            kConfig, items({{SystemItemName::TagPriceCage,
                             R"({"S":{"securityType":["1-2-*"],"buyPercent":0.02,"buyUnit":10,)"
                             R"("sellPercent":0.03,"sellUnit":11,"controlType":3}})"},
                            {SystemItemName::TagPriceCageApply, R"({"ETF":{"status":"0"}})"}}));
        fixture.cage.initCageMap(fixture.presenter, false);
        const QVariantMap record = fixture.cage.GetAllCageMap().value("S");
        QCOMPARE(record.value(CageField::userBuyPercent).toDouble(), 0.02);
        QCOMPARE(record.value(CageField::userBuyUnit).toInt(), 10);
        QCOMPARE(record.value(CageField::userSellPercent).toDouble(), 0.03);
        QCOMPARE(record.value(CageField::userSellUnit).toInt(), 11);
        QCOMPARE(record.value(CageField::buyPercent).toDouble(), 0.02);
        QCOMPARE(fixture.cage.GetCageIndexMap(), indexOf("1", "2", "*", "S"));
        QCOMPARE(fixture.cage.GetCageApplyMap(), (CageRecords{{"ETF", {{"status", "0"}}}}));
        QStringList requested;
        for (const ScriptedLink::Request& request : fixture.world.link().requests(kConfig)) {
            requested.append(request.header.value(System::itemName).toString());
        }
        QCOMPARE(requested,
                 (QStringList{SystemItemName::TagPriceCage, SystemItemName::TagPriceCageApply}));
        // The source reported is the union, never the server's default.
        QString text = "untouched";
        QVERIFY(fixture.cage.IsGetUserCageInfo(text));
        QCOMPARE(text, QString("untouched"));
    }

    void load_nothingAnswers_usesTheBuiltInTexts_data() {
        QTest::addColumn<bool>("withPresenter");
        QTest::newRow("server refuses") << true;
        QTest::newRow("no presenter") << false;
    }
    void load_nothingAnswers_usesTheBuiltInTexts() {
        QFETCH(bool, withPresenter);
        PriceFixture fixture;
        const LogCapture log;
        const QString notice =
            fixture.cage.initCageMap(withPresenter ? fixture.presenter.data() : nullptr, false);
        // Without a presenter the user's record is not requested, so its query has not failed.
        QCOMPARE(notice, withPresenter ? QString("价格笼子应用设置:当前使用本地默认配置"
                                                 "\n价格笼子参数设置:")
                                       : QString());
        QVERIFY(log.contains(QtInfoMsg, "读取内置价格笼子应用设置:"));
        QVERIFY(log.contains(QtInfoMsg, "读取内置价格笼子参数设置:"));
        QVERIFY(log.contains(QtDebugMsg, "ZnBusinessDataManager::initCageMap"));
        const CageRecords cages = fixture.cage.GetAllCageMap();
        QCOMPARE(QStringList(cages.keys()), (QStringList{"1", "2", "3"}));
        QCOMPARE(cages.value("1").value("title").toString(),
                 QString("沪市（非科创板）和深市（含创业板）股票："));
        QCOMPARE(cages.value("3").value(CageField::userBuyUnit).toInt(), 9);
        QCOMPARE(fixture.cage.GetCageIndexMap().value("1").value("2"),
                 (QMap<QString, QString>{{"*", "1"}, {"02200", "2"}}));
        QVERIFY(fixture.cage.IsCageApply("ETF"));
        QVERIFY(!fixture.cage.IsCageApply("MultiArbitrage"));
        QCOMPARE(fixture.cage.GetCageApplyMap().value("Strategy").value("title").toString(),
                 QString("策略交易"));
        QCOMPARE(fixture.sink.count.load(), 1);
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
        PriceFixture fixture(CageBuiltIn{});
        if (succeeds) {
            fixture.world.link().on(
                kProfile, ScriptedReply::rows(
                              {profileRow(kCageKey, kOneCage), profileRow(kApplyKey, kOneApply)}));
        }
        fixture.cage.initCageMap(fixture.presenter, false);
        QCOMPARE(fixture.sink.count.load(), 1);
        const CountingSink::Moment reported = fixture.sink.last();
        QCOMPARE(int(reported.state), state);
        QVERIFY(!reported.underLock);
        QCOMPARE(QStringList(reported.cages.keys()), cageIds);
    }

    void load_fewerUserCagesThanTheServer_areUnitedWholeByKeyAndExchange() {
        PriceFixture fixture;
        fixture.world.link().on(
            kProfile,
            ScriptedReply::rows(
                {profileRow(kCageKey, R"({"1":{"securityType":["1-2-02001"],"controlType":2}})"),
                 profileRow(kApplyKey, kOneApply)}));
        fixture.world.link().on(
            kConfig, items({{SystemItemName::TagPriceCage,
                             R"({"1":{"securityType":["1-2-*"],"title":"t","controlType":3},)"
                             R"("2":{"securityType":["2-2-*"],"controlType":3}})"}}));
        fixture.cage.initCageMap(fixture.presenter, false);
        const CageRecords cages = fixture.cage.GetAllCageMap();
        QCOMPARE(QStringList(cages.keys()), (QStringList{"1", "2"}));
        QCOMPARE(cages.value("1").value(CageField::controlType).toInt(), 2);
        QVERIFY(!cages.value("1").contains("title"));
        QCOMPARE(fixture.cage.GetCageIndexMap(),
                 (CageIndex{{"1", {{"2", {{"02001", "1"}}}}}, {"2", {{"2", {{"*", "2"}}}}}}));
        QString text;
        QVERIFY(fixture.cage.IsGetUserCageInfo(text));
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
        PriceFixture fixture(CageBuiltIn{apply, cage});
        const LogCapture log;
        QVERIFY(!fixture.cage.initCageMap(fixture.presenter, false).isEmpty());
        QCOMPARE(log.texts(QtWarningMsg).filter("设置失败！").join(""), failed);
        QVERIFY(fixture.cage.GetAllCageMap().isEmpty() && fixture.cage.GetCageIndexMap().isEmpty());
        QVERIFY(fixture.cage.GetCageApplyMap().isEmpty());
        QCOMPARE(VelmarInitStateMgr::instance().GetInitState(InitTypeCode::PriceCageInfo),
                 InitState::Failed);
        QCOMPARE(fixture.sink.count.load(), 1);
        QCOMPARE(sourceText(fixture.cage), QStringLiteral("价格笼子应用设置:初始化失败"
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

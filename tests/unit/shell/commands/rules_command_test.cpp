#include "rules_command.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QtTest>
#include <limits>

#include "child_process.h"
#include "facade_recorder.h"
#include "test_paths.h"
#include "vocabulary/values.h"

namespace {

constexpr int kWide = std::numeric_limits<int>::max();
inline const QString kProgram = QStringLiteral(VELMAR_BINARY_DIR "/bin/velmar-client");
inline const QString kSymbol = QStringLiteral("688001.SH");

/// The answers about one symbol, and the calls that check a price against its cage.
class Answers final : public FacadeRecorder {
public:
    Answers() {
        results = {{"GetSecurityDetailsBySymbol", QJsonObject{{"symbol", kSymbol},
                                                              {"chineseName", "某科技"},
                                                              {"PreClosePx", 10.0},
                                                              {"MaxPx", 12.0},
                                                              {"MinPx", 8.0}}},
                   {"GetSecurityTypeBySymbol", "2"},
                   {"GetSecuritySubTypeBySymbol", "02200"},
                   {"GetASecurityExchangeBySymbol", "1"},
                   {"GetSecurityExchangeListBySymbol", QJsonArray{"1"}},
                   {"GetQtyStepBySymbol", 100},
                   {"GetMinQtyPerOrderBySymbol", 100},
                   {"GetMaxQtyPerOrderBySymbol", 1000000},
                   {"GetMinSoldQtyBySymbol", 200},
                   {"GetPriceUnitStringBySymbol", "0.01"},
                   {"GetPricePrecisionBySymbol", 2},
                   {"GetDispFactorBySymbol", 100},
                   {"IsUserCageInfoInited", true}};
    }

    QString notice;
    QMap<QString, int> largestWhen;  ///< by the order as JSON
    QList<QStringList> cageCalls;
    double buyLimit = 10.2;
    double sellLimit = 9.8;
    QMap<QString, QString> symbols;  ///< by code and exchange, "600000 1"

    void setCage(const QJsonObject& figures) {
        QJsonObject cage = figures;
        cage.insert("title", "科创板股票：");
        cage.insert("controlType", 3);
        cage.insert(CageField::userBuyPercent, 0.02);
        cage.insert(CageField::userBuyUnit, 10);
        cage.insert(CageField::userSellPercent, 0.02);
        cage.insert(CageField::userSellUnit, 10);
        results.insert("GetCageMapBySymbol", cage);
        results.insert("GetAllCageMap", QJsonObject{{"7", cage}});
        results.insert("GetCageIndexMap",
                       QJsonObject{{"1", QJsonObject{{"2", QJsonObject{{"*", "7"}}}}}});
    }

protected:
    void reply(const QString& name, const QStringList& arguments, QJsonObject* answer) override {
        FacadeRecorder::reply(name, arguments, answer);
        if (name == "IsGetUserCageInfo") {
            answer->insert("out", QJsonArray{QJsonObject{{"parameter", 1}, {"value", notice}}});
        }
        if (name == "GetMaxQtyPerOrderBySymbol" && largestWhen.contains(arguments.last())) {
            answer->insert("result", largestWhen.value(arguments.last()));
        }
        if (name == "GetSymbolBySecurityIDAndExchange") {
            answer->insert("result", symbols.value(arguments.join(' ')));
        }
        if (name == "CheckCagePrice") {
            cageCalls.append(arguments);
            answer->insert("result", arguments.last() == "true" ? sellLimit : buyLimit);
        }
    }
};

/// The line of a rule, with each run of blanks reduced to one.
QString lineOf(const CommandAnswer& answer, const QString& rule) {
    for (const QString& line : answer.lines) {
        if (line.startsWith(rule + "  ")) {
            return line.simplified();
        }
    }
    return {};
}

}  // namespace

class RulesCommandTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_library.load(facadeLibraryFile(), &error), qPrintable(error));
    }

    void languageOf_locale_isChineseForZh() {
        QCOMPARE(languageOf("zh_CN.UTF-8"), TextLanguage::Chinese);
        QCOMPARE(languageOf("zh"), TextLanguage::Chinese);
        QCOMPARE(languageOf("en_US.UTF-8"), TextLanguage::English);
        QCOMPARE(languageOf("C"), TextLanguage::English);
    }

    void languageOfEnvironment_firstVariableThatIsSet_decides() {
        const auto languageWith = [](const char* all, const char* messages, const char* lang) {
            qputenv("LC_ALL", all);
            qputenv("LC_MESSAGES", messages);
            qputenv("LANG", lang);
            return languageOfEnvironment();
        };
        QCOMPARE(languageWith("", "", "zh_CN.UTF-8"), TextLanguage::Chinese);
        QCOMPARE(languageWith("", "en_US.UTF-8", "zh_CN.UTF-8"), TextLanguage::English);
        QCOMPARE(languageWith("zh_TW", "en_US.UTF-8", "C"), TextLanguage::Chinese);
        QCOMPARE(languageWith("", "", ""), TextLanguage::English);
    }

    void step_eachSource_isNamed_data() {
        QTest::addColumn<double>("lot");
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<QString>("english");
        QTest::addColumn<QString>("chinese");
        const QStringList all{"02200", "2", "*"};
        QTest::newRow("lot") << 100.9 << all << "lot size of the security"
                             << "证券自身的每手数量";
        QTest::newRow("hardly a lot") << 1e-11 << all << "StepQtyRule, sub-type 02200"
                                      << "StepQtyRule，子类型 02200";
        QTest::newRow("sub-type") << 0.0 << all << "StepQtyRule, sub-type 02200"
                                  << "StepQtyRule，子类型 02200";
        QTest::newRow("type") << 0.0 << QStringList(all.mid(1)) << "StepQtyRule, type 2"
                              << "StepQtyRule，类型 2";
        QTest::newRow("any") << 0.0 << QStringList(all.mid(2)) << "StepQtyRule, every security (*)"
                             << "StepQtyRule，所有证券（*）";
        QTest::newRow("default") << 0.0 << QStringList() << "built-in default"
                                 << "内置默认值";
    }
    void step_eachSource_isNamed() {
        QFETCH(double, lot);
        QFETCH(QStringList, keys);
        Answers answers;
        RulesFacts facts;
        facts.security = {{"LotSize", lot}};
        for (const QString& key : keys) {
            facts.stepRules.insert(key, "100");
        }
        QFETCH(QString, english);
        QFETCH(QString, chinese);
        QCOMPARE(lineOf(explain(answers, facts), "quantity step"), "quantity step 100 " + english);
        QCOMPARE(lineOf(explain(answers, facts, TextLanguage::Chinese), "数量步长"),
                 "数量步长 100 " + chinese);
    }

    void step_lotBeyondAnInt_isTheLargestInt() {
        Answers answers;
        answers.results.insert("GetQtyStepBySymbol", std::numeric_limits<int>::max());
        RulesFacts facts;
        facts.security = {{"LotSize", 1e12}};
        QCOMPARE(lineOf(explain(answers, facts), "quantity step"),
                 QString("quantity step 2147483647 lot size of the security"));
    }

    void step_lotOfTheJoinedDetailsAlone_isNotItsSource() {
        Answers answers;
        QJsonObject record = answers.results.value("GetSecurityDetailsBySymbol").toObject();
        record.insert("LotSize", 7);
        answers.results.insert("GetSecurityDetailsBySymbol", record);
        QCOMPARE(lineOf(explain(answers, {}), "quantity step"),
                 QString("quantity step 100 built-in default"));
    }

    void smallestAndLargest_eachSource_isNamed_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("source");
        QTest::newRow("sub-type") << "02200"
                                  << "%1, sub-type 02200";
        QTest::newRow("type") << "2"
                              << "%1, type 2";
        QTest::newRow("any") << "*"
                             << "%1, every security (*)";
        QTest::newRow("default") << ""
                                 << "built-in default";
    }
    void smallestAndLargest_eachSource_isNamed() {
        QFETCH(QString, key);
        QFETCH(QString, source);
        Answers answers;
        RulesFacts facts;
        if (!key.isEmpty()) {
            facts.minRules = {{key, "100"}};
            facts.maxRules = {{key, "1000000"}};
        }
        const CommandAnswer answer = explain(answers, facts);
        QCOMPARE(lineOf(answer, "smallest order"),
                 "smallest order 100 " + QString(source).replace("%1", "MinQtyRule"));
        QCOMPARE(lineOf(answer, "largest order"),
                 "largest order 1000000 " + QString(source).replace("%1", "MaxQtyRule"));
    }

    void prices_unitDecimalsAndFactor_areShown() {
        Answers answers;
        const CommandAnswer answer = explain(answers, {});
        QCOMPARE(lineOf(answer, "price unit"), QString("price unit 0.01 at a price of 10"));
        QCOMPARE(lineOf(answer, "price decimals"), QString("price decimals 2"));
        QCOMPARE(lineOf(answer, "display factor"), QString("display factor 100"));
    }

    void sourceThatDisagrees_isCalledUnclear() {
        Answers answers;
        RulesFacts facts;
        facts.minRules = {{"02200", "200"}};
        const CommandAnswer answer = explain(answers, facts);
        QCOMPARE(lineOf(answer, "smallest order"),
                 QString("smallest order 100 unclear: the rules as read give 200"));
    }

    void hongKong_hasItsOwnRules() {
        Answers answers;
        answers.results.insert("GetSecuritySubTypeBySymbol", "02400");
        answers.results.insert("GetMaxQtyPerOrderBySymbol", 300000);
        RulesFacts facts;
        facts.isHongKong = true;
        facts.minRules = {{"*", "5"}};
        const CommandAnswer answer = explain(answers, facts);
        QCOMPARE(lineOf(answer, "smallest order"),
                 QString("smallest order 100 Hong Kong: the quantity step"));
        QCOMPARE(lineOf(answer, "largest order"),
                 QString("largest order 300000 Hong Kong: 3000 steps, at most 99999999"));
    }

    void largestOrder_eachCondition_isCheckedOnItsOwn() {
        Answers answers;
        answers.largestWhen = {{R"({"orderType":"1"})", 50000}};
        RulesFacts facts;
        facts.maxRules = {{"02200", "1000000"},
                          {"02200_orderType:1", "50000"},
                          {"02200_nothing", "1"},
                          {"2_orderType:1", "7"}};
        const CommandAnswer answer = explain(answers, facts);
        QCOMPARE(lineOf(answer, "largest order"),
                 QString("largest order 1000000 MaxQtyRule, sub-type 02200"));
        QCOMPARE(answer.lines.filter("largest order when").size(), 1);
        QCOMPARE(lineOf(answer, "largest order when orderType:1"),
                 QString("largest order when orderType:1 50000 MaxQtyRule, sub-type 02200"));
    }

    void largestOrder_conditionsThatCannotHold_areLeftOut_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("isShown");
        QTest::newRow("own exchange") << "02200_securityExchange:1,orderType:2" << true;
        QTest::newRow("another exchange") << "02200_securityExchange:2" << false;
        QTest::newRow("another type") << "2_mdcSecurityType:8" << false;
        QTest::newRow("another sub-type") << "2_mdcSubSecurityType:02001,orderType:1" << false;
        QTest::newRow("another security's key") << "02100_orderType:2" << false;
        QTest::newRow("type, preceded by the sub-type") << "2_orderType:1,side:B" << false;
        QTest::newRow("type, not preceded") << "2_orderType:2" << true;
    }
    void largestOrder_conditionsThatCannotHold_areLeftOut() {
        QFETCH(QString, key);
        QFETCH(bool, isShown);
        Answers answers;
        RulesFacts facts;
        facts.maxRules = {{"02200_orderType:1", "1000000"}, {key, "1000000"}};
        const QStringList shown = explain(answers, facts).lines.filter("largest order when");
        QCOMPARE(shown.size(), isShown ? 2 : 1);
        QCOMPARE(shown.filter(key.section('_', 1)).size(), isShown ? 1 : 0);
        QVERIFY(shown.filter("unclear").isEmpty());
    }

    void cage_unit_comesFromTheDecimals_andDiffersFromTheOrders() {
        Answers answers;
        answers.setCage({});
        answers.results.insert("GetPricePrecisionBySymbol", 3);
        answers.results.insert("GetPriceUnitStringBySymbol", "0.050");
        const CommandAnswer answer = explain(answers, {});
        QCOMPARE(lineOf(answer, "price unit of the cage"),
                 QString("price unit of the cage 0.001 3 decimals of a price; orders step by 0.050 "
                         "at 10"));
        answers.results.insert("GetPricePrecisionBySymbol", -1);
        QVERIFY(lineOf(explain(answers, {}, TextLanguage::Chinese), "笼子价位单位")
                    .startsWith("笼子价位单位 0.01 "));
    }

    void cage_answersThatTheFiguresDoNotGive_areCalledUnclear() {
        Answers answers;
        answers.setCage({});
        answers.buyLimit = 10.3;
        const CommandAnswer answer = explain(answers, {});
        QCOMPARE(lineOf(answer, "cage: buy at most"),
                 QString("cage: buy at most 10.3 unclear: the rules as read give 10.2"));
        QCOMPARE(lineOf(answer, "cage: sell at least"),
                 QString("cage: sell at least 9.8 base price 10 (PreClosePx)"));
        answers.results.insert("GetAllCageMap", QJsonObject());
        QVERIFY(lineOf(explain(answers, {}), "price cage").contains("unclear"));
    }

    void cage_figures_areComparedWithTheDefault() {
        Answers answers;
        answers.setCage({{CageField::buyPercent, 0.02},
                         {CageField::buyUnit, 10},
                         {CageField::sellPercent, 0.05},
                         {CageField::sellUnit, 10}});
        const CommandAnswer answer = explain(answers, {});
        QCOMPARE(lineOf(answer, "price cage"),
                 QString("price cage 科创板股票： cage 7, class 1-2-*"));
        QCOMPARE(lineOf(answer, "buy limit"),
                 QString("buy limit 2 % or 10 price units as the server's default"));
        QVERIFY(lineOf(answer, "sell limit")
                    .endsWith("the user's own; the server's default is 5 % or 10 price units"));
        answers.setCage({});
        QVERIFY(lineOf(explain(answers, {}), "buy limit").endsWith("the server has no default"));
        QVERIFY(lineOf(answer, "cage tables").contains("the user's"));
        answers.notice = "价格笼子应用设置:初始化失败\n价格笼子参数设置:初始化失败";
        QVERIFY(
            lineOf(explain(answers, {}), "cage tables").endsWith("价格笼子参数设置:初始化失败"));
    }

    void cage_figures_inChinese_areAPercentageAndUnits() {
        Answers answers;
        answers.setCage({});
        const CommandAnswer answer = explain(answers, {}, TextLanguage::Chinese);
        QVERIFY2(lineOf(answer, "买入幅度").startsWith("买入幅度 2%或10个价位 "),
                 qPrintable(answer.lines.join('\n')));
    }

    void nameWithALineBreak_staysInTheHeading() {
        Answers answers;
        QJsonObject record = answers.results.value("GetSecurityDetailsBySymbol").toObject();
        record.insert("chineseName", "A\nforged");
        answers.results.insert("GetSecurityDetailsBySymbol", record);
        QVERIFY(explain(answers, {}).lines.first().endsWith(QStringLiteral("A\uFFFDforged")));
    }

    void cage_controlType_isShownInWords_data() {
        QTest::addColumn<QJsonValue>("type");
        QTest::addColumn<QString>("english");
        QTest::addColumn<QString>("chinese");
        QTest::newRow("share") << QJsonValue(1) << "the percentage controlType 1"
                               << "按比例 controlType 1";
        QTest::newRow("units") << QJsonValue(2) << "the price units controlType 2"
                               << "按价位数 controlType 2";
        QTest::newRow("both") << QJsonValue(3) << "the wider of the two controlType 3"
                              << "取较宽者 controlType 3";
        QTest::newRow("rounded") << QJsonValue(2.6) << "the wider of the two controlType 3"
                                 << "取较宽者 controlType 3";
        const QString unknown = "unknown: 0 for buying, the wider of the two for selling";
        QTest::newRow("none") << QJsonValue(0) << unknown + " controlType 0"
                              << "未知方式：买入为0，卖出取较宽者 controlType 0";
        QTest::newRow("unknown") << QJsonValue(4) << unknown + " controlType 4"
                                 << "未知方式：买入为0，卖出取较宽者 controlType 4";
    }
    void cage_controlType_isShownInWords() {
        QFETCH(QJsonValue, type);
        QFETCH(QString, english);
        QFETCH(QString, chinese);
        Answers answers;
        answers.setCage({});
        QJsonObject cage = answers.results.value("GetCageMapBySymbol").toObject();
        cage.insert(CageField::controlType, type);
        answers.results.insert("GetCageMapBySymbol", cage);
        QCOMPARE(lineOf(explain(answers, {}), "which limit counts"),
                 "which limit counts " + english);
        QCOMPARE(lineOf(explain(answers, {}, TextLanguage::Chinese), "生效方式"),
                 "生效方式 " + chinese);
    }

    void cage_fractionalUnits_areShownAsTheyCount() {
        Answers answers;
        answers.setCage({});
        QJsonObject cage = answers.results.value("GetCageMapBySymbol").toObject();
        cage.insert(CageField::userBuyUnit, 9.7);
        cage.insert(CageField::userSellUnit, 1e300);
        answers.results.insert("GetCageMapBySymbol", cage);
        const CommandAnswer answer = explain(answers, {});
        QVERIFY(lineOf(answer, "buy limit").contains(" 2 % or 10 price units "));
        QVERIFY(lineOf(answer, "sell limit").contains(" 2 % or 2147483647 price units "));
    }

    void switches_onlyThoseThatAreOn_areListed_data() {
        QTest::addColumn<QStringList>("on");
        QTest::addColumn<QString>("english");
        QTest::addColumn<QString>("chinese");
        QTest::newRow("one") << QStringList{"Strategy"} << "Strategy"
                             << "Strategy";
        QTest::newRow("two") << QStringList{"ETF", "Strategy"} << "ETF, Strategy"
                             << "ETF, Strategy";
        QTest::newRow("none") << QStringList() << "nothing"
                              << "无";
    }
    void switches_onlyThoseThatAreOn_areListed() {
        QFETCH(QStringList, on);
        QFETCH(QString, english);
        QFETCH(QString, chinese);
        Answers answers;
        answers.results.insert("GetCageApplyMap", QJsonObject{{"ETF", QJsonObject()},
                                                              {"Other", QJsonObject()},
                                                              {"Strategy", QJsonObject()}});
        const auto isOn = [&on](const QString& function, const QStringList& arguments,
                                QJsonObject* answer) {
            if (function == "IsCageApply") {
                answer->insert("result", on.contains(arguments.first()));
            }
        };
        QCOMPARE(lineOf(explainWith(answers, isOn, TextLanguage::English), "switched on for"),
                 "switched on for " + english);
        QCOMPARE(lineOf(explainWith(answers, isOn, TextLanguage::Chinese), "已启用功能"),
                 "已启用功能 " + chinese);
    }

    void cage_adviceForTheUser_isPassedOn() {
        Answers answers;
        QStringList keys;
        const CommandAnswer answer = explainWith(
            answers,
            [&keys](const QString& function, const QStringList& arguments, QJsonObject* answered) {
                if (function == "IsUserCageInfoInited") {
                    keys = arguments;
                    answered->insert("out", QJsonArray{QJsonObject{{"parameter", 1},
                                                                   {"value", "请点击【设置】"}}});
                }
            },
            TextLanguage::English);
        QVERIFY(answer.lines.contains("请点击【设置】"));
        // An empty key: the question is not about one function.
        QCOMPARE(keys, QStringList(QString()));
    }

    void cage_tickWithoutPrices_hasNoBase() {
        Answers answers;
        answers.setCage({});
        RulesFacts facts;
        facts.tick = {{"Symbol", kSymbol}, {"TradingPhaseCode", "3"}};
        const CommandAnswer answer = explain(answers, facts);
        QCOMPARE(lineOf(answer, "cage: buy at most"),
                 QString("cage: buy at most 10.2 no base price"));
        QCOMPARE(lineOf(explain(answers, facts, TextLanguage::Chinese), "笼子：最低卖出价"),
                 QString("笼子：最低卖出价 9.8 无基准价"));
    }

    void cage_limits_areOfTheTickWithItsBase() {
        Answers answers;
        answers.setCage({});
        RulesFacts facts;
        facts.tick = {{"Symbol", kSymbol}, {"TradingPhaseCode", "6"}, {"Sell1Price", 10.5},
                      {"LastPx", 10.4},    {"MaxPx", 12.0},           {"MinPx", 8.0}};
        answers.buyLimit = 10.71;
        answers.sellLimit = 10.29;
        const CommandAnswer answer = explain(answers, facts);
        QCOMPARE(lineOf(answer, "cage: buy at most"),
                 QString("cage: buy at most 10.71 base price 10.5 (Sell1Price)"));
        // Without a bid the ask is the base.
        QCOMPARE(lineOf(answer, "cage: sell at least"),
                 QString("cage: sell at least 10.29 base price 10.5 (Sell1Price)"));
        QCOMPARE(answers.cageCalls.size(), 2);
        const QJsonObject tick =
            QJsonDocument::fromJson(answers.cageCalls.first().at(1).toUtf8()).object();
        QCOMPARE(tick.value("TradingPhaseCode").toString(), QString("3"));
        QVERIFY(!tick.contains("MaxPx") && !tick.contains("MinPx"));
        QVERIFY(answer.lines.join(' ').contains("continuous trading (phase 3) only"));
        QCOMPARE(lineOf(answer, "limits of the day"), QString("limits of the day 8 - 12"));
    }

    void dayWithoutAnUpperLimit_isReported() {
        Answers answers;
        RulesFacts facts;
        facts.tick = {{"Symbol", kSymbol}, {"MaxPx", 99999999.0}, {"MinPx", 0.01}};
        QCOMPARE(lineOf(explain(answers, facts), "limits of the day"),
                 QString("limits of the day 0.01 - 99999999 no upper limit"));
    }

    void cage_withoutATick_usesTheRecord() {
        Answers answers;
        answers.setCage({});
        const CommandAnswer answer = explain(answers, {});
        QVERIFY(answer.lines.at(2).startsWith("no tick received"));
        QCOMPARE(lineOf(answer, "cage: buy at most"),
                 QString("cage: buy at most 10.2 base price 10 (PreClosePx)"));
    }

    void cage_missingOrNotLoaded_isReported() {
        Answers answers;
        QVERIFY(lineOf(explain(answers, {}), "price cage").contains("no price cage covers"));
        answers.results.insert("IsUserCageInfoInited", false);
        RulesFacts facts;
        facts.cageWaitSeconds = 20;
        answers.calls.clear();
        const CommandAnswer answer = explain(answers, facts);
        QVERIFY(answer.lines.contains(
            "the price cage was not loaded within 20 s; it is left out below"));
        QVERIFY(!answers.calls.contains("GetCageMapBySymbol"));
        QCOMPARE(explain(answers, facts, TextLanguage::Chinese).lines.filter("20秒").size(), 1);
    }

    void unknownSymbol_isAnErrorInBothLanguages() {
        Answers answers;
        answers.results.insert("GetSecurityDetailsBySymbol", QJsonObject());
        QCOMPARE(explain(answers, {}).error, QString("no security is called '688001.SH'"));
        QCOMPARE(explain(answers, {}, TextLanguage::Chinese).error,
                 QString("没有证券代码'688001.SH'"));
    }

    void unknownSymbol_symbolsOfTheSameCode_areSuggested() {
        Answers answers;
        answers.results.insert("GetSecurityDetailsBySymbol", QJsonObject());
        answers.symbols = {{"600000 1", "600000.SH"},
                           {"600000 2", ""},
                           {"700 G", "700.HK"},
                           {"700 S", "700.HK"},
                           {"700 K", "700.K"}};
        const auto errorOf = [&](const QString& symbol, TextLanguage language) {
            return RulesCommand(m_library, answers.function(), language)
                .explain(symbol, {}, kWide)
                .error;
        };
        QCOMPARE(errorOf("600000", TextLanguage::English),
                 QString("no security is called '600000'; did you mean 600000.SH?"));
        QCOMPARE(errorOf("600000.sh", TextLanguage::Chinese),
                 QString("没有证券代码'600000.sh'，是否为 600000.SH？"));
        QCOMPARE(errorOf("700.SZ", TextLanguage::English),
                 QString("no security is called '700.SZ'; did you mean 700.HK, 700.K?"));
    }

    void interrupt_endsTheQuestions() {
        Answers answers;
        answers.interruptAfter = 6;
        QVERIFY(explain(answers, {}).interrupted);
        QCOMPARE(answers.calls.size(), 6);
    }

    void program_rules_answersFromTheRunningClient() {
        const QTemporaryDir home;
        const auto run = [&home](const QString& symbol) {
            return runChild(kProgram,
                            QStringList{"--home", home.path(), "rules", "explain", symbol});
        };
        qputenv("LC_ALL", "C.UTF-8");
        const ChildResult english = run(kSymbol);
        QVERIFY2(english.succeeded(), qPrintable(english.output));
        QVERIFY(english.output.contains("tick of the feed"));
        QVERIFY(english.output.contains("cage 2, class 1-2-02200"));
        QVERIFY(!english.output.contains("unclear"));
        QVERIFY(!english.output.contains("is not exported"));
        const ChildResult hongKong = run("02001.HK");
        QVERIFY2(hongKong.succeeded(), qPrintable(hongKong.output));
        QVERIFY(hongKong.output.contains("lot size of the security"));
        QVERIFY(!hongKong.output.contains("unclear"));
        QVERIFY2(hongKong.output.contains(
                     QRegularExpression("\nprice unit of the cage +0\\.001 +3 decimals")),
                 qPrintable(hongKong.output));
        const ChildResult bare = run("600000");
        QCOMPARE(bare.exitCode, 2);
        QVERIFY2(bare.output.contains("did you mean 600000.SH?"), qPrintable(bare.output));
        qputenv("LC_ALL", "zh_CN.UTF-8");
        const ChildResult chinese = run("600000.SH");
        QVERIFY2(chinese.succeeded(), qPrintable(chinese.output));
        QVERIFY2(chinese.output.contains("笼子：最高买入价"), qPrintable(chinese.output));
        const ChildResult unknown = run("NOPE.SH");
        QCOMPARE(unknown.exitCode, 2);
        QVERIFY2(unknown.output.contains("没有证券代码'NOPE.SH'"), qPrintable(unknown.output));
    }

private:
    CommandAnswer explain(Answers& answers, const RulesFacts& facts,
                          TextLanguage language = TextLanguage::English) {
        return RulesCommand(m_library, answers.function(), language).explain(kSymbol, facts, kWide);
    }
    /// With answers to which `more` adds some, or replaces them by name.
    template <class More>
    CommandAnswer explainWith(Answers& answers, More more, TextLanguage language) {
        const auto byName = answers.function();
        const auto ask = [&](const FacadeFunction& function, const QStringList& arguments,
                             QJsonObject* answer) {
            const bool answered = byName(function, arguments, answer);
            more(QString::fromLatin1(function.name), arguments, answer);
            return answered;
        };
        return RulesCommand(m_library, ask, language).explain(kSymbol, {}, kWide);
    }

    FacadeLibrary m_library;
};

QTEST_GUILESS_MAIN(RulesCommandTest)
#include "rules_command_test.moc"

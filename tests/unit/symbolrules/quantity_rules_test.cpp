#include <QtTest>
#include <limits>

#include "client_world.h"
#include "log_capture.h"
#include "quantity_rules.h"
#include "symbol_identity.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "znbasebusinessdatamgr/zn_etf_data_handler.h"

namespace {

const QString kSide = QStringLiteral("Side");
const QString kKind = QStringLiteral("Kind");

StaticDbBuilder& add(StaticDbBuilder& builder, const QString& symbol, const QString& type,
                     const QString& subType, const QVariantMap& more = {}) {
    QVariantMap record{{Security::securityID, symbol.section('.', 0, 0)},
                       {UserAccount::securityExchange, symbol.endsWith("SZ") ? "2" : "1"},
                       {MDCFieldDefine::mdcSecurityType, type},
                       {MDCFieldDefine::mdcSubSecurityType, subType}};
    for (auto it = more.cbegin(); it != more.cend(); ++it) {
        record.insert(it.key(), it.value());
    }
    return builder.reference("security", symbol, record);
}

/// The boards with the rules of their exchanges: step, minimum, and maximum of a limit and of a
/// market order.
StaticDbBuilder boards() {
    using namespace MdcSubSecurityType;
    const QString& stock = MdcSecurityType::StockType;
    const QString market = QStringLiteral("_%1:%2").arg(Security::orderType, OrderType::market);
    StaticDbBuilder builder;
    builder.section("StepQtyRule", {{ScienTechInnovateBoard, "1"}, {BjSelectedStock, "1"}});
    builder.section("MinQtyRule", {{ScienTechInnovateBoard, "200"},
                                   {HStcokCirculation, "300"},
                                   {HKSharesTypeList.at(1), "70"}});
    builder.section("MaxQtyRule", {{ScienTechInnovateBoard, "100000"},
                                   {HStcokCirculation, "7000"},
                                   {HKSharesTypeList.at(1), "9000"},
                                   {ScienTechInnovateBoard + market, "50000"},
                                   {Gemstock, "300000"},
                                   {Gemstock + market, "150000"}});
    add(builder, "600000.SH", stock, "02001");
    add(builder, "688001.SH", stock, ScienTechInnovateBoard);
    add(builder, "300001.SZ", stock, Gemstock);
    add(builder, "920001.BJ", stock, BjSelectedStock);
    add(builder, "00700.HK", stock, HKSharesTypeList.at(0), {{Security::LotSize, 200}});
    add(builder, "00001.HK", stock, HKSharesTypeList.at(0), {{Security::LotSize, 50000}});
    add(builder, "00002.HK", stock, HKSharesTypeList.at(0), {{Security::LotSize, 1000000}});
    add(builder, "00003.HK", stock, HKSharesTypeList.at(1), {{Security::LotSize, 500}});
    add(builder, "02800.HK", MdcSecurityType::FundType, HKSharesTypeList.at(2),
        {{Security::LotSize, 500}});
    add(builder, "00004.HK", stock, HStcokCirculation, {{Security::LotSize, 500}});
    add(builder, "00005.SZ", stock, HKSharesTypeList.at(1), {{Security::LotSize, 400}});
    return builder;
}

/// A platform with some rules, and quantity rules that loaded them.
struct Rules {
    explicit Rules(const StaticDbBuilder& data) : world({}, data) { rules.initSymbolQtyRules(); }
    const ClientWorld world;
    const SymbolIdentity identity{};
    QuantityRules rules{identity};
};

StaticDbBuilder withRules(const char* section, const QMap<QString, QString>& rows) {
    StaticDbBuilder builder;
    builder.section(section, rows);
    add(builder, "A.SH", "2", "02001");
    return builder;
}

}  // namespace

class QuantityRulesTest : public QObject {
    Q_OBJECT

private slots:
    void load_stepsAndMinimums_areNumbersUnderTheirKeysAndLogged() {
        LogCapture log;
        StaticDbBuilder builder = withRules("StepQtyRule", {{"*", "10"}, {"02001", "5"}});
        builder.section("MinQtyRule", {{"2", "20"}, {"3", "many"}, {"5", ""}});
        const Rules all(builder);
        QCOMPARE(all.rules.stepQtyMap(), (QMap<QString, int>{{"*", 10}, {"02001", 5}}));
        QCOMPARE(all.rules.minQtyMap(), (QMap<QString, int>{{"2", 20}, {"3", 0}, {"5", 0}}));
        QVERIFY(log.contains(QtInfoMsg,
                             "ZnBusinessDataManager::initSymbolQtyRules "
                             "证券代码数量步长初始化: QMap((\"*\", 10)"));
        QVERIFY(log.contains(QtInfoMsg,
                             "ZnBusinessDataManager::initSymbolQtyRules "
                             "证券代码最小委托数量初始化: QMap((\"2\", 20)"));
        QVERIFY(log.contains(QtInfoMsg, "单笔订单委托数量最大值初始化"));
    }

    void load_secondTime_replacesTheTables() {
        Rules all(withRules("MaxQtyRule", {{"X_Side:1", "3"}}));
        all.rules.initSymbolQtyRules();
        QCOMPARE(all.rules.maxQtyMap().value("X").size(), 1);
    }

    void load_maximums_eachKindOfRowGivesItsEntries_data() {
        using Rows = QMap<QString, QString>;
        QTest::addColumn<Rows>("rows");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QList<int>>("limits");
        QTest::addColumn<QVariantMap>("firstFilter");
        const QVariantMap none;
        QTest::newRow("plain") << Rows{{"X", "5"}} << "X" << QList<int>{5} << none;
        QTest::newRow("plain and conditional") << Rows{{"X", "5"}, {"X_Side:1", "3"}} << "X"
                                               << QList<int>{3, 5} << QVariantMap{{kSide, "1"}};
        QTest::newRow("more conditions lead")
            << Rows{{"X", "5"}, {"X_A:1", "3"}, {"X_A:1,B:2", "2"}, {"X_A:1,B:2,C:3", "1"}} << "X"
            << QList<int>{1, 2, 3, 5} << QVariantMap{{"A", "1"}, {"B", "2"}, {"C", "3"}};
        QTest::newRow("parts between are ignored")
            << Rows{{"X_A:9_B:9_Side:1", "3"}} << "X" << QList<int>{3} << QVariantMap{{kSide, "1"}};
        QTest::newRow("empty parts of the key")
            << Rows{{"__X__Side:1_", "3"}} << "X" << QList<int>{3} << QVariantMap{{kSide, "1"}};
        QTest::newRow("no colon, dropped") << Rows{{"X_A", "3"}} << "X" << QList<int>{} << none;
        QTest::newRow("piece without a colon")
            << Rows{{"X_A,,Side:1", "3"}} << "X" << QList<int>{3} << QVariantMap{{kSide, "1"}};
        QTest::newRow("last of three parts")
            << Rows{{"X_Side:2:1", "3"}} << "X" << QList<int>{3} << QVariantMap{{kSide, "1"}};
        QTest::newRow("empty field and value")
            << Rows{{"X_:", "3"}} << "X" << QList<int>{3} << QVariantMap{{"", ""}};
        QTest::newRow("a field twice")
            << Rows{{"X_Side:2,Side:1", "3"}} << "X" << QList<int>{3} << QVariantMap{{kSide, "1"}};
        QTest::newRow("no number") << Rows{{"X", "all"}} << "X" << QList<int>{0} << none;
        // After "X_" in the order of keys, and with the same first part.
        QTest::newRow("a later plain row discards")
            << Rows{{"X_Side:1", "3"}, {"X__", "7"}} << "X" << QList<int>{7} << none;
        QTest::newRow("nothing but bars") << Rows{{"__", "3"}} << "" << QList<int>{} << none;
    }
    void load_maximums_eachKindOfRowGivesItsEntries() {
        using Rows = QMap<QString, QString>;
        QFETCH(Rows, rows);
        QFETCH(QString, key);
        QFETCH(QList<int>, limits);
        QFETCH(QVariantMap, firstFilter);
        LogCapture log;
        const Rules all(withRules("MaxQtyRule", rows));
        QList<int> found;
        const auto entries = all.rules.maxQtyMap().value(key);
        for (const QtyRuleEntry& entry : entries) {
            found.append(entry.qty);
        }
        QCOMPARE(found, limits);
        QCOMPARE(entries.value(0).filter, firstFilter);
        // Dropped rows are logged too.
        for (auto row = rows.cbegin(); row != rows.cend(); ++row) {
            const QString line = QStringLiteral("读入key：%1，value：%2")
                                     .arg(row.key(), QString::number(row.value().toInt()));
            QVERIFY(log.contains(QtInfoMsg, line));
        }
    }

    void load_atItsEnd_logsEachKeyWithItsList() {
        LogCapture log;
        const Rules all(withRules("MaxQtyRule", {{"X", "5000"}, {"X_Side:1", "3000"}, {"Y", "7"}}));
        const QStringList said = log.texts();
        const QStringList x = said.filter(QRegularExpression("initSymbolQtyRules X .*3000 .*5000"));
        QCOMPARE(x.size(), 1);
        QVERIFY(x.first().contains("Side"));
        const QStringList y = said.filter(QRegularExpression("initSymbolQtyRules Y .* 7$"));
        QCOMPARE(y.size(), 1);
        QVERIFY(said.indexOf(x.first()) < said.indexOf(y.first()));
    }

    void load_textsWithPlaceMarkers_areLoggedUnchanged() {
        LogCapture log;
        const Rules all(withRules("MaxQtyRule", {{"%2", "3"}}));
        QVERIFY(log.contains("读入key：%2，value：3"));
    }

    void lookUp_precedence_isSubTypeTypeAnyDefault_data() {
        using Rows = QMap<QString, QString>;
        QTest::addColumn<Rows>("rows");
        QTest::addColumn<int>("expected");
        QTest::newRow("sub-type") << Rows{{"02001", "7"}, {"2", "8"}, {"*", "9"}} << 7;
        QTest::newRow("type") << Rows{{"02002", "7"}, {"2", "8"}, {"*", "9"}} << 8;
        QTest::newRow("any") << Rows{{"02002", "7"}, {"3", "8"}, {"*", "9"}} << 9;
        QTest::newRow("default") << Rows{{"02002", "7"}} << 100;
    }
    void lookUp_precedence_isSubTypeTypeAnyDefault() {
        using Rows = QMap<QString, QString>;
        QFETCH(Rows, rows);
        QFETCH(int, expected);
        StaticDbBuilder builder = withRules("StepQtyRule", rows);
        builder.section("MinQtyRule", rows);
        const Rules all(builder);
        QCOMPARE(all.rules.GetQtyStepBySymbol("A.SH"), expected);
        QCOMPARE(all.rules.GetMinQtyPerOrderBySymbol("A.SH"), expected);
    }

    void lookUp_firstKeyHeld_winsWhateverItsValue() {
        const Rules all(withRules("MinQtyRule", {{"02001", "none"}, {"2", "8"}}));
        QCOMPARE(all.rules.GetMinQtyPerOrderBySymbol("A.SH"), 0);
    }

    void unknownSymbol_withoutRules_getsTheDefaults() {
        const Rules all{StaticDbBuilder()};
        QCOMPARE(all.rules.GetQtyStepBySymbol("nobody"), 100);
        QCOMPARE(all.rules.GetMinQtyPerOrderBySymbol("nobody"), 100);
        QCOMPARE(all.rules.GetMaxQtyPerOrderBySymbol("nobody", {}), 1000000);
        QCOMPARE(all.rules.GetMinSoldQtyBySymbol("nobody"), 1);
    }

    void step_ownLot_beatsTheRules_data() {
        QTest::addColumn<QVariant>("lot");
        QTest::addColumn<int>("step");
        QTest::newRow("tiny counts as missing") << QVariant(1e-11) << 7;
        QTest::newRow("at the edge counts as missing") << QVariant(1e-10) << 7;
        QTest::newRow("truncated") << QVariant(100.9) << 100;
        QTest::newRow("text") << QVariant("500") << 500;
        QTest::newRow("none") << QVariant(0) << 7;
        QTest::newRow("negative") << QVariant(-100) << 7;
        QTest::newRow("beyond an int") << QVariant(1e12) << std::numeric_limits<int>::max();
        QTest::newRow("below one") << QVariant(0.5) << 0;
    }
    void step_ownLot_beatsTheRules() {
        QFETCH(QVariant, lot);
        QFETCH(int, step);
        StaticDbBuilder builder;
        builder.section("StepQtyRule", {{"02001", "7"}});
        add(builder, "A.SH", "2", "02001", {{Security::LotSize, lot}});
        QCOMPARE(Rules(builder).rules.GetQtyStepBySymbol("A.SH"), step);
    }

    void step_lotOfAnotherSource_isIgnored() {
        StaticDbBuilder builder;
        builder.section("StepQtyRule", {{"8", "50"}});
        builder.reference("etf", "510011.SH",
                          {{UserAccount::securityExchange, "1"},
                           {MDCFieldDefine::mdcSecurityType, "2"},
                           {MDCFieldDefine::mdcSubSecurityType, "08900"},
                           {Security::LotSize, 7}});
        const Rules all(builder);
        QVERIFY(ZnEtfDataHandler::instance().load());
        // The joined details have the lot, but the rules read only the business data.
        const QVariantMap details = all.identity.GetSecurityDetailsBySymbol("510011.SH");
        QCOMPARE(details.value(Security::LotSize).toInt(), 7);
        QCOMPARE(all.rules.GetQtyStepBySymbol("510011.SH"), 100);
    }

    void boards_limitsOfEachExchange_areThoseOfItsRules_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QList<int>>(
            "expected");  // step, minimum, maximum, of a market order, sold
        QTest::newRow("main board") << "600000.SH" << QList<int>{100, 100, 1000000, 1000000, 1};
        QTest::newRow("science board") << "688001.SH" << QList<int>{1, 200, 100000, 50000, 200};
        QTest::newRow("growth board") << "300001.SZ" << QList<int>{100, 100, 300000, 150000, 1};
        QTest::newRow("Beijing") << "920001.BJ" << QList<int>{1, 100, 1000000, 1000000, 100};
        QTest::newRow("Hong Kong") << "00700.HK" << QList<int>{200, 200, 600000, 600000, 1};
        QTest::newRow("Hong Kong, growth board")
            << "00003.HK" << QList<int>{500, 500, 1500000, 1500000, 1};
        QTest::newRow("Hong Kong, fund") << "02800.HK" << QList<int>{500, 500, 1500000, 1500000, 1};
        // The minimum goes by the suffix, the maximum by the sub-type.
        QTest::newRow("circulating share") << "00004.HK" << QList<int>{500, 500, 7000, 7000, 1};
        QTest::newRow("Hong Kong's sub-type under another suffix")
            << "00005.SZ" << QList<int>{400, 70, 1200000, 1200000, 1};
        QTest::newRow("large lot, at the cap")
            << "00001.HK" << QList<int>{50000, 50000, 99999999, 99999999, 1};
        // 1,000,000 x 3000 wraps to a negative number, which is then the smaller one.
        QTest::newRow("lot beyond 32 bits")
            << "00002.HK" << QList<int>{1000000, 1000000, -1294967296, -1294967296, 1};
    }
    void boards_limitsOfEachExchange_areThoseOfItsRules() {
        QFETCH(QString, symbol);
        QFETCH(QList<int>, expected);
        const Rules all(boards());
        const QVariantMap market{{Security::orderType, OrderType::market}};
        QCOMPARE((QList<int>{all.rules.GetQtyStepBySymbol(symbol),
                             all.rules.GetMinQtyPerOrderBySymbol(symbol),
                             all.rules.GetMaxQtyPerOrderBySymbol(symbol, {}),
                             all.rules.GetMaxQtyPerOrderBySymbol(symbol, market),
                             all.rules.GetMinSoldQtyBySymbol(symbol)}),
                 expected);
    }

    void minSold_sharesOfTheTransferSystem_is100() {
        StaticDbBuilder builder;
        add(builder, "1", "2", MdcSubSecurityType::GuZhuanBase);
        add(builder, "2", "2", MdcSubSecurityType::GuZhuanInnovate);
        const Rules all(builder);
        QCOMPARE(all.rules.GetMinSoldQtyBySymbol("1"), 100);
        QCOMPARE(all.rules.GetMinSoldQtyBySymbol("2"), 100);
    }

    void minimum_hongKong_isTheStepWhateverTheTable() {
        StaticDbBuilder builder = boards();
        builder.section("MinQtyRule", {{"*", "7"}});
        QCOMPARE(Rules(builder).rules.GetMinQtyPerOrderBySymbol("00700.HK"), 200);
    }

    void maximum_severalRules_isThatOfTheFirstThatFits_data() {
        using Rows = QMap<QString, QString>;
        QTest::addColumn<Rows>("rows");
        QTest::addColumn<QVariantMap>("order");
        QTest::addColumn<int>("expected");
        const QVariantMap buy{{kSide, 1}};
        const Rows two{{"02001", "5000"}, {"02001_Side:1", "3000"}};
        QTest::newRow("met, a number as text") << two << buy << 3000;
        QTest::newRow("not met") << two << QVariantMap{{kSide, "2"}} << 5000;
        QTest::newRow("field missing") << two << QVariantMap{} << 5000;
        QTest::newRow("goes on to the type")
            << Rows{{"02001_Side:2", "1"}, {"2", "4"}, {"*", "9"}} << buy << 4;
        QTest::newRow("neither fits, the fallback")
            << Rows{{"02001_Side:2", "1"}, {"2_Side:3", "4"}, {"*", "9"}} << buy << 9;
        QTest::newRow("no row of the type, no fallback")
            << Rows{{"02001_Side:2", "1"}} << buy << 1000000;
        QTest::newRow("conditions of the fallback are ignored")
            << Rows{{"*", "9"}, {"*_Side:2", "8"}} << buy << 8;
    }
    void maximum_severalRules_isThatOfTheFirstThatFits() {
        using Rows = QMap<QString, QString>;
        QFETCH(Rows, rows);
        QFETCH(QVariantMap, order);
        QFETCH(int, expected);
        const Rules all(withRules("MaxQtyRule", rows));
        QCOMPARE(all.rules.GetMaxQtyPerOrderBySymbol("A.SH", order), expected);
    }

    void oddLots_stepOf100MinimumOf200_areAdjusted_data() {
        QTest::addColumn<int>("type");
        QTest::addColumn<bool>("flag");
        QTest::addColumn<qint64>("qty");
        QTest::addColumn<qint64>("expected");
        const auto row = [](int type, qint64 qty, qint64 expected, bool flag = false) {
            QTest::newRow(qPrintable(QString("%1 of %2 %3").arg(type).arg(qty).arg(flag)))
                << type << flag << qty << expected;
        };
        row(0, 150, 150);
        row(1, 150, 0);
        row(1, 200, 200);
        row(1, 399, 300);
        row(2, 150, 200);
        row(2, 100, 200);
        row(2, 90, 0);
        row(2, 350, 400);
        row(2, 349, 300);
        row(3, 150, 200);
        row(3, 301, 400);
        row(3, 300, 300);
        row(4, 399, 300, true);
        row(4, 301, 400, false);
        row(4, 150, 0, true);
        row(4, 150, 200, false);
        row(5, 150, 150);
        row(-1, 150, 150);
        row(1, -150, 0);
        row(2, -150, -200);
        row(3, -150, 200);
        for (int type = 0; type <= 5; ++type) {
            row(type, 0, 0);
        }
        // Beyond the precision of a double, but without overflow.
        row(1, std::numeric_limits<qint64>::max(), 9223372036854775800);
        row(3, std::numeric_limits<qint64>::max(), std::numeric_limits<qint64>::max());
    }
    void oddLots_stepOf100MinimumOf200_areAdjusted() {
        QFETCH(int, type);
        QFETCH(bool, flag);
        QFETCH(qint64, qty);
        QFETCH(qint64, expected);
        const Rules all(withRules("MinQtyRule", {{"*", "200"}}));
        QCOMPARE(
            all.rules.GetQtyByOddLotType("A.SH", static_cast<CustomOddLotType>(type), qty, flag),
            expected);
    }

    void oddLots_quantityBeyondTheDoubles_isExactDownwardsOnly_data() {
        QTest::addColumn<int>("step");
        QTest::addColumn<qint64>("down");
        QTest::addColumn<qint64>("nearest");
        QTest::addColumn<qint64>("up");
        // 2^53 + 1 is the first whole number that is not a double.
        QTest::newRow("step 1") << 1 << Q_INT64_C(9007199254740993) << Q_INT64_C(9007199254740992)
                                << Q_INT64_C(9007199254740992);
        QTest::newRow("step 3, a multiple")
            << 3 << Q_INT64_C(9007199254740993) << Q_INT64_C(9007199254740992)
            << Q_INT64_C(9007199254740992);
        QTest::newRow("step 100") << 100 << Q_INT64_C(9007199254740900)
                                  << Q_INT64_C(9007199254741000) << Q_INT64_C(9007199254741000);
    }
    void oddLots_quantityBeyondTheDoubles_isExactDownwardsOnly() {
        QFETCH(int, step);
        QFETCH(qint64, down);
        QFETCH(qint64, nearest);
        QFETCH(qint64, up);
        StaticDbBuilder builder = withRules("StepQtyRule", {{"*", QString::number(step)}});
        builder.section("MinQtyRule", {{"*", "1"}});
        const Rules all(builder);
        const qint64 qty = (Q_INT64_C(1) << 53) + 1;
        const auto brought = [&](CustomOddLotType type, bool flag = false) {
            return all.rules.GetQtyByOddLotType("A.SH", type, qty, flag);
        };
        QCOMPARE(brought(CustomOddLotType::Keep), qty);
        QCOMPARE(brought(CustomOddLotType::Down), down);
        QCOMPARE(brought(CustomOddLotType::Nearest), nearest);
        QCOMPARE(brought(CustomOddLotType::Up), up);
        QCOMPARE(brought(CustomOddLotType::ByFlag, true), down);
        QCOMPARE(brought(CustomOddLotType::ByFlag, false), up);
    }

    void oddLots_minimumOfZero_negativeQuantityStaysFinite() {
        const Rules all(withRules("MinQtyRule", {{"*", "0"}}));
        QCOMPARE(all.rules.GetQtyByOddLotType("A.SH", CustomOddLotType::Nearest, -150, false),
                 qint64(0));
    }

    void oddLots_stepBelowOne_leavesTheQuantityWithALogLine() {
        StaticDbBuilder builder;
        add(builder, "A.SH", "2", "02001", {{Security::LotSize, 0.5}});
        const Rules all(builder);
        LogCapture log;
        for (int type = 0; type <= 5; ++type) {
            QCOMPARE(
                all.rules.GetQtyByOddLotType("A.SH", static_cast<CustomOddLotType>(type), 0, true),
                qint64(0));
        }
        // The symbol is not looked up for a quantity of 0.
        QVERIFY(!log.contains("no usable quantity step"));
        for (int type = 1; type <= 4; ++type) {
            QCOMPARE(all.rules.GetQtyByOddLotType("A.SH", static_cast<CustomOddLotType>(type), 150,
                                                  true),
                     qint64(150));
        }
        QVERIFY(log.contains(QtWarningMsg, "no usable quantity step of \"A.SH\" : 0"));
    }
};

QTEST_GUILESS_MAIN(QuantityRulesTest)
#include "quantity_rules_test.moc"

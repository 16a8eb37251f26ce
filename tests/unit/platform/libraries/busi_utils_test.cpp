#include <QtTest>
#include <limits>

#include "client_world.h"
#include "log_capture.h"
#include "velmarutils/velmar_busi_utils.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "znbasebusinessdatamgr/zn_bond_data_mgr.h"
#include "znbasebusinessdatamgr/zn_gold_etf_data_mgr.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zndatabase/c_data_base.h"

namespace {

using LikeMap = QMap<QString, CompareLike::LikeType>;

QVariantMap record(const QString& id, const QString& exchange, const QString& type,
                   const QString& subType, bool deleted = false) {
    return {{Security::securityID, id},
            {Security::chineseName, "名" + id},
            {UserAccount::securityExchange, exchange},
            {MDCFieldDefine::mdcSecurityType, type},
            {MDCFieldDefine::mdcSubSecurityType, subType},
            {System::deleteFlag, deleted}};
}

StaticDbBuilder symbols() {
    return StaticDbBuilder()
        .section(DictionaryKey::Markert2SymbolPost, {{"1", "SH"}})
        .reference("security", "600000.SH", record("600000", "1", "2", "02001"))
        .reference("security", "600001.SH", record("600001", "1", "2", "02001", true))
        .reference("security", "00700.HK", record("00700", "G,S,G,", "2", "02400"))
        .reference("security", "HONG", record("HONG", "S", "2", "02400"))
        .reference("security", "IF2601.CFE", record("IF2601", "7", "5", "05100"))
        .reference("security", "OPT.SH", record("OPT", "1", "6", "06100"))
        .reference("security", "AU01.SGE", record("AU01", "E", "9", "09100"))
        .reference("security", "ABS.SH",
                   record("ABS", "1", "", MdcSubSecurityType::Assetbackedsecurities))
        // The same id as a share's, on the same exchange.
        .reference("security", "600000.ZZ", record("600000", "1", "2", "02001"))
        .reference("bond", "113001.SH", {{"accruedInterest", 1.25}})
        .reference("gold", "AU01.SGE", {{GoldTrade::TradeUnitQty, 10}});
}

CBusinessDataBase& data() {
    return *CBusinessDataBase::GetInstance();
}

}  // namespace

class BusiUtilsTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_world = std::make_unique<ClientWorld>(QList<TestAccount>(), symbols()); }
    void cleanup() { m_world.reset(); }

    void floor_stepAndMinimum_giveTheMultiple_data() {
        QTest::addColumn<double>("qty");
        QTest::addColumn<int>("step");
        QTest::addColumn<int>("minQty");
        QTest::addColumn<qint64>("floor");
        const double inf = std::numeric_limits<double>::infinity();
        QTest::newRow("down") << 399.9 << 100 << 100 << qint64(300);
        QTest::newRow("on the step") << 300.0 << 100 << 100 << qint64(300);
        QTest::newRow("at the minimum") << 200.0 << 100 << 200 << qint64(200);
        QTest::newRow("below it") << 199.99 << 100 << 200 << qint64(0);
        QTest::newRow("minimum off the step") << 270.0 << 100 << 250 << qint64(200);
        QTest::newRow("step 0") << 7.9 << 0 << 1 << qint64(7);
        QTest::newRow("negative step") << 7.9 << -3 << 1 << qint64(7);
        QTest::newRow("zero") << 0.0 << 100 << 0 << qint64(0);
        QTest::newRow("negative") << -300.0 << 100 << 0 << qint64(0);
        // The inexact result of a division counts as the multiple beside it, and nothing else does.
        QTest::newRow("519 by 5.19") << 519 / 5.19 << 100 << 100 << qint64(100);
        QTest::newRow("error of a division") << 299.99999999999994 << 100 << 100 << qint64(300);
        QTest::newRow("within 1e-10 of it") << 100.0 - 9e-9 << 100 << 100 << qint64(100);
        QTest::newRow("beyond 1e-10 of it") << 100.0 - 2e-8 << 100 << 100 << qint64(0);
        QTest::newRow("large, within a millionth of the step")
            << 1e9 - 0.9e-4 << 100 << 100 << qint64(1000000000);
        QTest::newRow("large, beyond it") << 1e9 - 2e-4 << 100 << 100 << qint64(999999900);
        QTest::newRow("large, one unit less") << 1e12 - 1 << 100 << 100 << qint64(999999999900);
        QTest::newRow("minimum reached by it") << 200.0 - 1e-12 << 100 << 200 << qint64(200);
        QTest::newRow("step 1") << 0.99999999999999 << 1 << 1 << qint64(1);
        QTest::newRow("step 1, less") << 0.999999999 << 1 << 1 << qint64(0);
        QTest::newRow("not a number")
            << std::numeric_limits<double>::quiet_NaN() << 1 << 1 << qint64(0);
        QTest::newRow("infinity") << inf << 1 << 1 << qint64(0);
        QTest::newRow("minus infinity") << -inf << 1 << 1 << qint64(0);
        QTest::newRow("beyond 64 bits") << 1e300 << 1000 << 1 << qint64(9223372036854775000);
        QTest::newRow("2 to the 63rd")
            << 9223372036854775808.0 << 1 << 1 << std::numeric_limits<qint64>::max();
    }
    void floor_stepAndMinimum_giveTheMultiple() {
        QFETCH(double, qty);
        QFETCH(int, step);
        QFETCH(int, minQty);
        QFETCH(qint64, floor);
        QCOMPARE(VelmarBusiUtils::GetFloorByStepAndMinLimit(qty, step, minQty), floor);
    }

    void filter_allFieldsEqual_fits_data() {
        QTest::addColumn<QVariantMap>("filter");
        QTest::addColumn<bool>("fits");
        QTest::newRow("empty") << QVariantMap{} << true;
        QTest::newRow("as text") << QVariantMap{{"n", "1"}, {"t", "abc"}} << true;
        QTest::newRow("one differs") << QVariantMap{{"n", "1"}, {"t", "ab"}} << false;
        QTest::newRow("missing") << QVariantMap{{"n", "1"}, {"x", ""}} << false;
        QTest::newRow("present and empty") << QVariantMap{{"e", ""}} << true;
    }
    void filter_allFieldsEqual_fits() {
        QFETCH(QVariantMap, filter);
        QFETCH(bool, fits);
        const QVariantMap order{{"n", 1}, {"t", "abc"}, {"e", ""}};
        QVariantMap matched;
        QCOMPARE(VelmarUtils::IsMapQuatifiedByFilter(order, filter, matched, {}), fits);
        QCOMPARE(matched.size() == filter.size(), fits);
    }

    void filter_otherComparison_isThatOfTheField() {
        const QVariantMap order{{"t", "abc"}};
        QVariantMap matched;
        const auto fits = [&](const QString& wanted, CompareLike::LikeType like) {
            return VelmarUtils::IsMapQuatifiedByFilter(order, {{"t", wanted}}, matched,
                                                       LikeMap{{"t", like}});
        };
        QVERIFY(fits("bc", CompareLike::Contains) && !fits("bd", CompareLike::Contains));
        QVERIFY(fits("ab", CompareLike::StartsWith) && !fits("bc", CompareLike::StartsWith));
        QVERIFY(fits("abc", CompareLike::Equal) && !fits("ab", CompareLike::Equal));
    }

    void hongKong_suffixOrExchange_decides() {
        QVERIFY(VelmarUtils::isHKTypeSymbol("00700.HK"));
        QVERIFY(VelmarUtils::isHKTypeSymbol("nobody.HK"));
        QVERIFY(VelmarUtils::isHKTypeSymbol("HONG"));
        QVERIFY(!VelmarUtils::isHKTypeSymbol("600000.SH"));
        QVERIFY(!VelmarUtils::isHKTypeSymbol("nobody"));
        QVERIFY(!VelmarUtils::isHKTypeSymbol(""));
    }

    void exchangeName_unknownCode_fallsBackToTheSuffix() {
        QCOMPARE(VelmarBusiUtils::GetExchangeName("G", "HK"), QString("沪港通"));
        QCOMPARE(VelmarBusiUtils::GetExchangeName("?", "HK"), QString("港交所"));
        QCOMPARE(VelmarBusiUtils::GetExchangeName("?", "??"), QString("?"));
    }

    void assembledSymbol_needsAnIdAndASuffix() {
        const auto assembled = &VelmarBusiUtils::AssembleSymbolBySecurityIDAndExchange;
        QCOMPARE(assembled("600009", "1"), QString("600009.SH"));
        QCOMPARE(assembled("", "1"), QString());
        QCOMPARE(assembled("600009", "?"), QString());
    }

    void tradableSymbols_byAccountType_data() {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QStringList>("exchanges");
        QTest::addColumn<QStringList>("symbols");
        QTest::newRow("cash in Shanghai") << FundAccountType::Cash << QStringList{"1"}
                                          << QStringList{"600000.SH", "600000.ZZ", "ABS.SH"};
        QTest::newRow("credit in Shenzhen's connect")
            << FundAccountType::Credit << QStringList{"S"} << QStringList{"00700.HK", "HONG"};
        QTest::newRow("cash nowhere") << FundAccountType::Cash << QStringList() << QStringList();
        QTest::newRow("futures") << FundAccountType::Future << QStringList()
                                 << QStringList{"IF2601.CFE"};
        QTest::newRow("options") << FundAccountType::Option << QStringList{"1"}
                                 << QStringList{"OPT.SH"};
        QTest::newRow("gold") << FundAccountType::Metal << QStringList{"1"}
                              << QStringList{"AU01.SGE"};
        QTest::newRow("none") << "" << QStringList{"1"} << QStringList();
    }
    void tradableSymbols_byAccountType() {
        QFETCH(QString, type);
        QFETCH(QStringList, exchanges);
        QFETCH(QStringList, symbols);
        QCOMPARE(VelmarBusiUtils::GetTradableSymbolListByAccountType(type, exchanges), symbols);
        QStringList forSearch = symbols;
        if (exchanges.contains("1") && type == FundAccountType::Cash) {
            forSearch.insert(2, "600001.SH");
        }
        QCOMPARE(VelmarBusiUtils::GetTradableSymbolListForSearchByAccountType(type, exchanges),
                 forSearch);
    }

    void securities_eachQuestion_isAnswered() {
        QCOMPARE(data().GetSecurityTypeBySymbol("OPT.SH"), QString("6"));
        QCOMPARE(data().GetSecuritySubTypeBySymbol("OPT.SH"), QString("06100"));
        QCOMPARE(data().GetSecurityDetailsBySymbol("OPT.SH").size(), 6);
        QCOMPARE(data().GetSecurityChineseName("OPT.SH", ""), QString("名OPT"));
        QCOMPARE(data().GetSymbolPostBySymbol("a.b.SH"), QString("SH"));
        QCOMPARE(data().GetSymbolPostBySymbol("ab"), QString());
        QCOMPARE(data().GetSecurityExchangeBySymbol("00700.HK", true), (QStringList{"G", "S"}));
        QVERIFY(data().GetSecurityExchangeBySymbol("nobody", true).isEmpty());
    }

    void securityIds_bothDirections_goByExchangeAndSource() {
        const QString& source = SecurityIDSource::securityID;
        QCOMPARE(data().getSecurityIDBySymbol("00700.HK", "", source), QString("00700"));
        QCOMPARE(data().getSecurityIDBySymbol("00700.HK", "S", source), QString("00700"));
        QCOMPARE(data().getSecurityIDBySymbol("00700.HK", "1", source), QString());
        QCOMPARE(data().getSecurityIDBySymbol("00700.HK", "", "?"), QString());
        QCOMPARE(data().getSymbolBySecurityIDAndExchange("00700", "S", source),
                 QString("00700.HK"));
        QCOMPARE(data().getSymbolBySecurityIDAndExchange("00700", "", source), QString("00700.HK"));
        QCOMPARE(data().getSymbolBySecurityIDAndExchange("00700", "1", source), QString());
        QCOMPARE(data().getSymbolBySecurityIDAndExchange("00700", "S", "?"), QString());
        QCOMPARE(data().getSymbolBySecurityIDAndExchange("600000", "1", source),
                 QString("600000.SH"));
    }

    void securities_otherPlatform_areReadAgain() {
        QVERIFY(!data().GetSecurityDetailsBySymbol("600000.SH").isEmpty());
        m_world.reset();
        const ClientWorld other(
            {}, StaticDbBuilder().reference("security", "X", record("X", "1", "2", "3")));
        QVERIFY(data().GetSecurityDetailsBySymbol("600000.SH").isEmpty());
        QVERIFY(!data().GetSecurityDetailsBySymbol("X").isEmpty());
    }

    void bondFigures_loadedAndUnknownBond_areFoundOrNot() {
        stuBaseInfo bond;
        QVERIFY(ZnBondDataMgr::instance().GetSingelBondBaseInfo("113001.SH", bond) != "0");
        QVERIFY(ZnBondDataMgr::instance().load());
        QCOMPARE(ZnBondDataMgr::instance().GetSingelBondBaseInfo("113001.SH", bond), QString("0"));
        QCOMPARE(bond.stockInterest, 1.25);
        QVERIFY(ZnBondDataMgr::instance().GetSingelBondBaseInfo("nobody", bond) != "0");
        QCOMPARE(bond.symbol, QString("113001.SH"));
    }

    void goldContract_loadedAndUnknown_isFoundOrNot() {
        ZnGoldEtfDataMgr* const gold = ZnGoldEtfDataMgr::instance();
        QVERIFY(gold->load(0, 0));
        QCOMPARE(gold->GetGoldSecurityInfoBySymbol("AU01.SGE").value(GoldTrade::TradeUnitQty),
                 QVariant(10));
        QVERIFY(gold->GetGoldSecurityInfoBySymbol("nobody").isEmpty());
    }

    void stepRule_notAboveZero_isLeftOutWithALogLine() {
        m_world.reset();
        const LogCapture log;
        const ClientWorld world(
            {}, StaticDbBuilder()
                    .section("StepQtyRule", {{"a", "0"}, {"b", "-1"}, {"c", "x"}, {"d", "10"}})
                    .section("MinQtyRule", {{"a", "0"}}));
        const QMap<QString, QString> left{{"d", "10"}};
        QCOMPARE(CDataBase::GetInstance()->GetStaticValuesBySection("StepQtyRule"), left);
        QCOMPARE(CDataBase::GetInstance()->GetStaticCfgValue("MinQtyRule", "a"), QString("0"));
        QVERIFY(log.contains(QtWarningMsg, "section StepQtyRule key a value 0"));
        QVERIFY(log.contains(QtWarningMsg, "section StepQtyRule key b value -1"));
        QVERIFY(log.contains(QtWarningMsg, "section StepQtyRule key c value x"));
    }

private:
    std::unique_ptr<ClientWorld> m_world;
};

QTEST_GUILESS_MAIN(BusiUtilsTest)
#include "busi_utils_test.moc"

#include <QtTest>
#include <limits>

#include "calc_market_value.h"
#include "client_world.h"
#include "clock.h"
#include "commonquotahandler/common_quota_handler.h"
#include "hong_kong_prices.h"
#include "local_platform.h"
#include "log_capture.h"
#include "market_values.h"
#include "price_cage.h"
#include "price_cage_sink.h"
#include "price_rules.h"
#include "price_unit_ladders.h"
#include "scripted_neighbour.h"
#include "symbol_data.h"
#include "symbol_identity.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znbasebusinessdatamgr/zn_bond_data_mgr.h"
#include "znbasebusinessdatamgr/zn_gold_etf_data_mgr.h"

namespace {

const QString kMissingInterest = QStringLiteral("未找到债券代码%1的应计利息（stockInterest）");

class NoSink final : public PriceCageSink {
public:
    void priceCageInfoFinishInit() override {}
};

/// Securities as the sample market describes them, of every type.
StaticDbBuilder marketData() {
    StaticDbBuilder data;
    const auto add = [&data](const QString& symbol, const QString& exchange, const QString& type,
                             const QString& subType, const QVariantMap& more = {}) {
        QVariantMap record = more;
        record.insert(Security::symbol, symbol);
        record.insert(Security::securityID, symbol.section('.', 0, 0));
        record.insert(UserAccount::securityExchange, exchange);
        record.insert(MDCFieldDefine::mdcSecurityType, type);
        record.insert(MDCFieldDefine::mdcSubSecurityType, subType);
        data.reference("security", symbol, record);
    };
    const auto contract = [](const QVariant& multiplier) {
        return QVariantMap{{Security::LotSize, 1}, {Security::contractMultiplier, multiplier}};
    };
    add("600000.SH", Exchange::sh, MdcSecurityType::StockType, "02001");
    add("920001.BJ", Exchange::bj, MdcSecurityType::StockType, MdcSubSecurityType::BjSelectedStock);
    add("510010.SH", Exchange::sh, MdcSecurityType::FundType,
        MdcSubSecurityType::TradingopenindexfundETF);
    add("113001.SH", Exchange::sh, MdcSecurityType::BondType, MdcSubSecurityType::Convertiblebond);
    add("010001.SH", Exchange::sh, MdcSecurityType::BondType, "03100");
    add("136001.SH", Exchange::sh, MdcSecurityType::BondType, "03400");
    add("888880.SH", Exchange::sh, MdcSecurityType::BondType, "03990");
    add("IF2601.CFE", Exchange::cffex, MdcSecurityType::FuturesType, "05200", contract(300));
    add("CU2601.SHF", Exchange::shf, MdcSecurityType::FuturesType, "05100", contract(5));
    add("10000001.SH", Exchange::sh, MdcSecurityType::OptionType, "06100", contract(10000));
    add("10000002.SH", Exchange::sh, MdcSecurityType::OptionType, "06100");
    add("10000003.SH", Exchange::sh, MdcSecurityType::OptionType, "06100", contract(0));
    add("AU01.SGE", Exchange::sge, MdcSecurityType::SpotType, "09100", contract(1));
    add("AU02.SGE", Exchange::sge, MdcSecurityType::SpotType, "09100", contract(1));
    add("02001.HK", Exchange::hhk, MdcSecurityType::StockType,
        MdcSubSecurityType::HKSharesTypeList.at(0), {{Security::LotSize, 500}});
    data.reference("bond", "113001.SH", {{"accruedInterest", 0.0}});
    data.reference("bond", "010001.SH", {{"accruedInterest", 1.5}});
    data.reference("gold", "AU01.SGE", {{GoldTrade::TradeUnitQty, 1000}});
    return data;
}

/// The companions that value a quantity, over a platform with reference data and Hong Kong rates.
struct Valuation {
    Valuation() : world({TestAccount("A1")}, marketData()) {
        world.link().on(Velmar_MsgType::HKStockExchangeRateRequest,
                        ScriptedReply::rows({{{UserAccount::securityExchange, Exchange::hhk},
                                              {HKSExchgRate::HKSExchgRateBuy, 0.90},
                                              {HKSExchgRate::HKSExchgRateSell, 0.94}}}));
        world.login();
        presenter->initPresenter();
        hongKong.initHKExchangeRate(presenter);
        CommonQuotaHandler::instance().Init();
        ZnBondDataMgr::instance().load();
        ZnGoldEtfDataMgr::instance()->load(0, 0);
        LocalPlatform::instance().setNeighbourData(neighbour);
        values.loadStandardBonds();
    }
    ~Valuation() { presenter->deleteLater(); }
    Valuation(const Valuation&) = delete;
    Valuation& operator=(const Valuation&) = delete;

    double calc(const QString& symbol, qint64 quantity, double price, double multiplier = 1) {
        return values.calcMarketValue(error, symbol, quantity, price, multiplier);
    }

    ClientWorld world;
    RecordingPresenter* const presenter = new RecordingPresenter;
    NoSink sink;
    SystemClock clock;
    SymbolIdentity identity;
    PriceUnitLadders ladders;
    HongKongPrices hongKong{ladders};
    PriceCage cage{identity, clock, sink};
    PriceRules prices{identity, hongKong, cage};
    SymbolData symbols{identity, prices, hongKong};
    MarketValues values{symbols};
    const std::shared_ptr<ScriptedNeighbour> neighbour = std::make_shared<ScriptedNeighbour>();
    QString error{"before"};
};

}  // namespace

class CalcMarketValueTest : public QObject {
    Q_OBJECT

private slots:
    // Pieces are shares, bonds of 100 yuan face value, contracts. The position row is the one that
    // the neighbouring data plug-in has for these pieces: pieces divided by the display factor.
    void tenThousand_eachKind_isWorthItBothWays_data() {
        QTest::addColumn<QString>("symbol");
        QTest::addColumn<QString>("exchange");
        QTest::addColumn<int>("pieces");
        QTest::addColumn<double>("price");
        QTest::addColumn<double>("multiplier");
        QTest::addColumn<double>("rowQuantity");
        QTest::addColumn<double>("rate");
        QTest::newRow("1,000 shares")
            << "600000.SH" << Exchange::sh << 1000 << 10.0 << 1.0 << 10.0 << 1.0;
        QTest::newRow("1,000 shares of Beijing")
            << "920001.BJ" << Exchange::bj << 1000 << 10.0 << 1.0 << 10.0 << 1.0;
        QTest::newRow("1,000 fund units")
            << "510010.SH" << Exchange::sh << 1000 << 10.0 << 1.0 << 10.0 << 1.0;
        QTest::newRow("1,000 bonds")
            << "113001.SH" << Exchange::sh << 1000 << 10.0 << 1.0 << 100.0 << 1.0;
        QTest::newRow("standard bonds")
            << "888880.SH" << Exchange::sh << 100 << 10.0 << 1.0 << 10.0 << 1.0;
        QTest::newRow("index futures")
            << "IF2601.CFE" << Exchange::cffex << 10 << 10.0 / 3 << 300.0 << 10.0 << 1.0;
        QTest::newRow("copper futures")
            << "CU2601.SHF" << Exchange::shf << 200 << 10.0 << 5.0 << 200.0 << 1.0;
        QTest::newRow("options") << "10000001.SH" << Exchange::sh << 10 << 0.1 << 1.0 << 10.0
                                 << 1.0;
        QTest::newRow("gold, one kilogram")
            << "AU01.SGE" << Exchange::sge << 1 << 10.0 << 1.0 << 1.0 << 1.0;
        QTest::newRow("1,000 shares of Hong Kong")
            << "02001.HK" << Exchange::hhk << 1000 << 10.0 << 1.0 << 1000.0 << 0.92;
    }
    void tenThousand_eachKind_isWorthItBothWays() {
        QFETCH(QString, symbol);
        QFETCH(QString, exchange);
        QFETCH(int, pieces);
        QFETCH(double, price);
        QFETCH(double, multiplier);
        QFETCH(double, rowQuantity);
        QFETCH(double, rate);
        Valuation f;
        QCOMPARE(f.calc(symbol, pieces, price, multiplier), 10000.0);
        QCOMPARE(f.error, QString("before"));
        const double factor = f.symbols.displayFactorOf(symbol);
        QCOMPARE(pieces / factor, rowQuantity);

        LocalPlatform::instance().publishTick(symbol, {{TickField::lastPrice, price}}, "feed");
        const QVariantMap row{{UserAccount::tradingAccount, "A1"},
                              {Security::securityID, symbol.section('.', 0, 0)},
                              {UserAccount::securityExchange, exchange},
                              {Security::nominalQty, rowQuantity},
                              {Security::omsAverageCost, price}};
        f.neighbour->setPositions({row});
        f.values.initPosData();
        const auto total = [&f] { return f.values.GetMarketValueByTradingAccount("A1"); };
        QCOMPARE(total().marketValue, 10000.0 * rate);
        QCOMPARE(total().symbolMarketValueMap, (QMap<QString, double>{{symbol, 10000.0 * rate}}));
        const double cost = total().costValue;

        // The same by a push.
        f.neighbour->setPositions({});
        f.values.initPosData();
        f.values.slotPositionUpdated(row);
        f.values.takeTick(symbol);
        QCOMPARE(total().marketValue, 10000.0 * rate);
        QCOMPARE(total().costValue, cost);
        if (symbol != "888880.SH") {
            QCOMPARE(cost, 10000.0 * rate);
        }
    }

    void bond_accruedInterest_isAddedToThePrice() {
        Valuation f;
        QCOMPARE(f.calc("010001.SH", 10, 98.5), 1000.0);
        QCOMPARE(f.error, QString("before"));
    }

    void bond_unknownInterest_isNothingWithAText() {
        Valuation f;
        QCOMPARE(f.calc("136001.SH", 10, 98.5), 0.0);
        QCOMPARE(f.error, kMissingInterest.arg("136001.SH"));
    }

    void standardBond_anyPrice_countsAtAHundred() {
        Valuation f;
        QCOMPARE(f.calc("888880.SH", 7, 3.0, 5.0), 700.0);
        // No list of securities contains the other one here.
        QCOMPARE(f.calc("131990.SZ", 7, 3.0), 700.0);
        QCOMPARE(f.error, QString("before"));
    }

    void futures_multiplier_isTheArgumentNotTheRecords() {
        Valuation f;
        QCOMPARE(f.calc("IF2601.CFE", 2, 4000.0, 200.0), 1600000.0);
        QCOMPARE(f.calc("IF2601.CFE", 2, 4000.0, 0.0), 0.0);
    }

    void option_multiplier_isTheRecordsAsItStands() {
        Valuation f;
        QCOMPARE(f.calc("10000001.SH", 2, 0.5, 7.0), 10000.0);
        QCOMPARE(f.calc("10000002.SH", 2, 0.5, 7.0), 1.0);
        QCOMPARE(f.calc("10000003.SH", 2, 0.5, 7.0), 0.0);
    }

    void gold_unknownContract_isNothing() {
        Valuation f;
        QCOMPARE(f.calc("AU02.SGE", 2, 700.0), 0.0);
        QCOMPARE(f.error, QString("before"));
    }

    void others_multiplier_isIgnored() {
        Valuation f;
        QCOMPARE(f.calc("600000.SH", 100, 10.0, 50.0), 1000.0);
        QCOMPARE(f.calc("nobody", 100, 10.0, 50.0), 1000.0);
        QCOMPARE(f.calc("02001.HK", -100, 10.0), -1000.0);
    }

    void figures_withoutAFiniteValue_areNothingWithALogLine() {
        Valuation f;
        const double infinite = std::numeric_limits<double>::infinity();
        const double nan = std::numeric_limits<double>::quiet_NaN();
        const LogCapture log;
        QCOMPARE(f.calc("600000.SH", 100, nan), 0.0);
        QCOMPARE(f.calc("010001.SH", 100, infinite), 0.0);
        QCOMPARE(f.calc("IF2601.CFE", 100, 1.0, nan), 0.0);
        QCOMPARE(f.calc("IF2601.CFE", 1, 1e300, 1e300), 0.0);
        QCOMPARE(log.texts(QtWarningMsg).filter("no market value of").size(), 3);
        QCOMPARE(f.error, QString("before"));
        QCOMPARE(f.calc("600000.SH", std::numeric_limits<qint64>::max(), 1.0),
                 9223372036854775807.0);
    }
};

QTEST_GUILESS_MAIN(CalcMarketValueTest)
#include "calc_market_value_test.moc"

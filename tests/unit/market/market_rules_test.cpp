#include <QtTest>
#include <cmath>

#include "market_fixture.h"
#include "order_status.h"
#include "price_ladder.h"
#include "price_limits.h"
#include "quote_fields.h"
#include "rule_table.h"
#include "static_config.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

class MarketRulesTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void dayLimits_byHand_data();
    void dayLimits_byHand();
    void limitPercent_ofEachBoard_data();
    void limitPercent_ofEachBoard();
    void securities_figures_standOnTheirTick();
    void quantityRules_ofEachBoard_data();
    void quantityRules_ofEachBoard();
    void quantityRules_plainKeys_goBeforeTheirConditions();
    void staticConfig_zeroStep_isRefusedByName();
    void staticConfig_keyTwice_isRefusedByName();
    void shareLadder_everyBand_data();
    void shareLadder_everyBand();
    void fundLadder_everyBand_data();
    void fundLadder_everyBand();
    void orderStatus_terminalStates_haveNoSuccessors();
    void orderStatus_mayFollow_asTheTableSays_data();
    void orderStatus_mayFollow_asTheTableSays();
    void ruleTables_haveDateAndSource_data();
    void ruleTables_haveDateAndSource();
    void ruleTable_badText_namesFileAndLine_data();
    void ruleTable_badText_namesFileAndLine();

private:
    QString config(const QString& section, const QString& key) const {
        QString value;
        m_market.staticDatabase().select(
            QStringLiteral("SELECT value FROM static_cfg WHERE section = ? AND key = ?"),
            {section, key},
            [&value](const QSqlQuery& query) { value = query.value(0).toString(); });
        return value;
    }

    MarketFixture m_market;
};

void MarketRulesTest::initTestCase() {
    QString error;
    QVERIFY2(m_market.make(&error), qPrintable(error));
}

void MarketRulesTest::dayLimits_byHand_data() {
    QTest::addColumn<double>("close");
    QTest::addColumn<int>("percent");
    QTest::addColumn<double>("tick");
    QTest::addColumn<double>("max");
    QTest::addColumn<double>("min");
    QTest::newRow("main board") << 10.0 << 10 << 0.01 << 11.0 << 9.0;
    QTest::newRow("rounded down") << 3.33 << 10 << 0.01 << 3.66 << 3.0;       // 3.663 and 2.997
    QTest::newRow("half goes up") << 2.25 << 10 << 0.01 << 2.48 << 2.03;      // 2.475 and 2.025
    QTest::newRow("risk warning") << 4.11 << 5 << 0.01 << 4.32 << 3.90;       // 4.3155 and 3.9045
    QTest::newRow("science board") << 23.37 << 20 << 0.01 << 28.04 << 18.70;  // 28.044 and 18.696
    QTest::newRow("Beijing") << 7.77 << 30 << 0.01 << 10.10 << 5.44;          // 10.101 and 5.439
    QTest::newRow("fund") << 1.234 << 10 << 0.001 << 1.357 << 1.111;          // 1.3574 and 1.1106
    QTest::newRow("convertible") << 123.456 << 20 << 0.001 << 148.147 << 98.765;  // .1472, .7648
    QTest::newRow("index future") << 4000.2 << 10 << 0.2 << 4400.2 << 3600.2;  // 4400.22, 3600.18
    QTest::newRow("copper") << 75010.0 << 3 << 10.0 << 77260.0 << 72760.0;     // 77260.3, 72759.7
    QTest::newRow("less than a tick") << 0.05 << 5 << 0.01 << 0.06 << 0.04;
    QTest::newRow("never below a tick") << 0.01 << 5 << 0.01 << 0.02 << 0.01;
    QTest::newRow("no limit") << 10.0 << 0 << 0.01 << 0.0 << 0.0;
    QTest::newRow("no close") << 0.0 << 10 << 0.01 << 0.0 << 0.0;
    QTest::newRow("no tick") << 10.0 << 10 << 0.0 << 0.0 << 0.0;
}

void MarketRulesTest::dayLimits_byHand() {
    QFETCH(double, close);
    QFETCH(int, percent);
    QFETCH(double, tick);
    const DayLimits limits = dayLimits(close, percent, tick);
    // Exactly the double of the decimal text.
    QTEST(limits.max, "max");
    QTEST(limits.min, "min");
}

void MarketRulesTest::limitPercent_ofEachBoard_data() {
    QTest::addColumn<QString>("exchange");
    QTest::addColumn<QString>("subType");
    QTest::addColumn<QString>("flag");
    QTest::addColumn<int>("percent");
    const QString science = MdcSubSecurityType::ScienTechInnovateBoard;
    const QString fund = MdcSubSecurityType::TradingopenindexfundETF;
    QTest::newRow("Shanghai main") << Exchange::sh << "02001" << StFlag::Normal << 10;
    QTest::newRow("Shenzhen main") << Exchange::sz << "02001" << StFlag::Normal << 10;
    QTest::newRow("main, ST") << Exchange::sh << "02001" << StFlag::IsST << 5;
    QTest::newRow("main, *ST") << Exchange::sz << "02001" << StFlag::IsStarST << 5;
    QTest::newRow("science") << Exchange::sh << science << StFlag::Normal << 20;
    QTest::newRow("science, ST") << Exchange::sh << science << StFlag::IsST << 20;
    QTest::newRow("growth") << Exchange::sz << MdcSubSecurityType::Gemstock << StFlag::Normal << 20;
    QTest::newRow("growth, *ST") << Exchange::sz << MdcSubSecurityType::Gemstock << StFlag::IsStarST
                                 << 20;
    QTest::newRow("Beijing") << Exchange::bj << MdcSubSecurityType::BjSelectedStock
                             << StFlag::Normal << 30;
    QTest::newRow("fund") << Exchange::sh << fund << QString() << 10;
    QTest::newRow("convertible") << Exchange::sz << MdcSubSecurityType::Convertiblebond << QString()
                                 << 20;
    QTest::newRow("repo") << Exchange::sh << MdcSubSecurityType::BondRepurchaseTypeList.first()
                          << QString() << 0;
    QTest::newRow("Hong Kong") << Exchange::hhk << MdcSubSecurityType::HKSharesTypeList.first()
                               << QString() << 0;
    QTest::newRow("index future") << Exchange::cffex << "05200" << QString() << 10;
    QTest::newRow("copper") << Exchange::shf << "05100" << QString() << 9;
}

void MarketRulesTest::limitPercent_ofEachBoard() {
    QFETCH(QString, exchange);
    QFETCH(QString, subType);
    QFETCH(QString, flag);
    PriceLimitRules rules;
    QString error;
    QVERIFY2(rules.load(&error), qPrintable(error));
    QTEST(rules.percentOf(exchange, subType, flag), "percent");
}

void MarketRulesTest::securities_figures_standOnTheirTick() {
    const auto onTick = [](double price, double tick) {
        return std::abs(price / tick - std::round(price / tick)) < 1e-6;
    };
    int limited = 0;
    for (const QVariantMap& record :
         reference(m_market.staticDatabase(), QStringLiteral("security"))) {
        const QByteArray symbol = record.value(Security::symbol).toByteArray();
        const double close = record.value(QuoteField::previousClose, qQNaN()).toDouble();
        const double tick = record.value(QuoteField::priceTick, qQNaN()).toDouble();
        const double max = record.value(QuoteField::maxPrice, qQNaN()).toDouble();
        const double min = record.value(QuoteField::minPrice, qQNaN()).toDouble();
        QVERIFY2(close > 0 && tick > 0 && onTick(close, tick), symbol);
        if (symbol.endsWith(".HK")) {
            QVERIFY2(max == 0 && min == 0, symbol);
        }
        if (max != 0) {
            ++limited;
            QVERIFY2(min > 0 && min < close && close < max, symbol);
            QVERIFY2(onTick(max, tick) && onTick(min, tick), symbol);
        } else {
            QVERIFY2(min == 0, symbol);
        }
    }
    QVERIFY(limited > 250);
}

void MarketRulesTest::quantityRules_ofEachBoard_data() {
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("step");
    QTest::addColumn<int>("min");
    QTest::addColumn<int>("max");
    QTest::addColumn<QString>("condition");
    QTest::addColumn<int>("conditionMax");
    const QString market = QStringLiteral("orderType:1");
    QTest::newRow("main boards") << "02001" << 100 << 100 << 1000000 << QString() << 0;
    QTest::newRow("science board") << "02200" << 1 << 200 << 100000 << market << 50000;
    QTest::newRow("science board, after hours")
        << "02200" << 1 << 200 << 100000 << "priceType:SHAFTER" << 1000000;
    QTest::newRow("growth board") << "02100" << 100 << 100 << 300000 << market << 150000;
    QTest::newRow("growth board, after hours")
        << "02100" << 100 << 100 << 300000 << "priceType:FIXAFTER" << 1000000;
    QTest::newRow("Beijing") << "02300" << 1 << 100 << 1000000 << QString() << 0;
    QTest::newRow("funds") << MdcSecurityType::FundType << 100 << 100 << 1000000 << QString() << 0;
    QTest::newRow("convertibles") << MdcSubSecurityType::Convertiblebond << 10 << 10 << 1000000
                                  << QString() << 0;
    QTest::newRow("bonds") << MdcSecurityType::BondType << 1000 << 1000 << 100000000 << QString()
                           << 0;
    QTest::newRow("options") << MdcSecurityType::OptionType << 1 << 1 << 50 << market << 10;
    QTest::newRow("futures") << MdcSecurityType::FuturesType << 1 << 1 << 500 << QString() << 0;
    QTest::newRow("index futures") << "05200" << 1 << 1 << 20 << market << 10;
    QTest::newRow("new issues") << MdcSubSecurityType::Asharenewsharesbid << 500 << 500 << 99999500
                                << QString() << 0;
    for (const QString& repo : MdcSubSecurityType::BondRepurchaseTypeList) {
        QTest::addRow("repos %s", qPrintable(repo))
            << repo << 10 << 10 << 1000000 << QString() << 0;
    }
    for (const QString& tier :
         {MdcSubSecurityType::GuZhuanBase, MdcSubSecurityType::GuZhuanInnovate}) {
        QTest::addRow("tier %s", qPrintable(tier))
            << tier << 100 << 100 << 1000000 << QString() << 0;
    }
    QTest::newRow("gold") << MdcSecurityType::SpotType << 1 << 1 << 10000 << QString() << 0;
    QTest::newRow("others") << "*" << 100 << 100 << 1000000 << QString() << 0;
}

void MarketRulesTest::quantityRules_ofEachBoard() {
    QFETCH(QString, key);
    QFETCH(QString, condition);
    QTEST(config(QStringLiteral("StepQtyRule"), key).toInt(), "step");
    QTEST(config(QStringLiteral("MinQtyRule"), key).toInt(), "min");
    QTEST(config(QStringLiteral("MaxQtyRule"), key).toInt(), "max");
    if (!condition.isEmpty()) {
        QTEST(config(QStringLiteral("MaxQtyRule"), key + QLatin1Char('_') + condition).toInt(),
              "conditionMax");
    }
}

void MarketRulesTest::quantityRules_plainKeys_goBeforeTheirConditions() {
    // A plain row that follows conditional ones would replace them.
    QStringList plain;
    const QStringList keys =
        column(m_market.staticDatabase(),
               QStringLiteral("SELECT key FROM static_cfg WHERE section = 'MaxQtyRule'"
                              " ORDER BY key"));
    QVERIFY(keys.size() > 15);
    for (const QString& key : keys) {
        if (key.contains('_')) {
            QVERIFY2(plain.contains(key.section('_', 0, 0)), qPrintable(key));
            QCOMPARE(key.count('_'), 1);
        } else {
            plain.append(key);
        }
    }
}

void MarketRulesTest::staticConfig_zeroStep_isRefusedByName() {
    const auto faultOf = [](const QString& section, const QString& value) {
        return staticConfigFault(
            {{QStringLiteral("StepQtyRule"), QStringLiteral("2"), QStringLiteral("100")},
             {section, QStringLiteral("02001"), value}});
    };
    QCOMPARE(faultOf(QuantitySection::step, QStringLiteral("1")), QString());
    for (const QString& value : {QStringLiteral("0"), QStringLiteral("-1"), QString()}) {
        const QString fault = faultOf(QuantitySection::step, value);
        QVERIFY2(fault.contains("StepQtyRule") && fault.contains("02001"), qPrintable(fault));
    }
    QVERIFY(faultOf(QuantitySection::max, QStringLiteral("x")).contains("MaxQtyRule"));
    QCOMPARE(faultOf(QStringLiteral("NetGateName"), QStringLiteral("x")), QString());
}

void MarketRulesTest::staticConfig_keyTwice_isRefusedByName() {
    const QString fault = staticConfigFault({{"A", "k", "1"}, {"B", "k", "1"}, {"A", "k", "2"}});
    QVERIFY2(fault.contains("A k"), qPrintable(fault));
}

void MarketRulesTest::shareLadder_everyBand_data() {
    QTest::addColumn<double>("price");
    QTest::addColumn<double>("spread");
    const auto band = [](double price, double spread) {
        QTest::addRow("%g", price) << price << spread;
    };
    for (const auto& one : QVector<QPair<double, double>>{
             {0.01, 0.001}, {0.249, 0.001}, {0.25, 0.001}, {0.255, 0.005}, {0.495, 0.005},
             {0.5, 0.005},  {0.51, 0.01},   {9.99, 0.01},  {10, 0.01},     {10.01, 0.01},
             {19.99, 0.01}, {20, 0.01},     {20.02, 0.02}, {49.98, 0.02},  {50, 0.02},
             {50.05, 0.05}, {99.95, 0.05},  {100, 0.05},   {100.1, 0.1},   {199.9, 0.1},
             {200, 0.1},    {200.2, 0.2},   {499.8, 0.2},  {500, 0.2},     {500.5, 0.5},
             {999.5, 0.5},  {1000, 0.5},    {1001, 1},     {1999, 1},      {2000, 1},
             {2002, 2},     {4998, 2},      {5000, 2},     {5005, 5},      {9995, 5}}) {
        band(one.first, one.second);
    }
}

void MarketRulesTest::shareLadder_everyBand() {
    QFETCH(double, price);
    PriceLadder ladder;
    QString error;
    QVERIFY2(ladder.load(QStringLiteral("share"), &error), qPrintable(error));
    QCOMPARE(ladder.bands().size(), 12);
    QTEST(ladder.spreadAt(price), "spread");
}

void MarketRulesTest::fundLadder_everyBand_data() {
    QTest::addColumn<double>("price");
    QTest::addColumn<double>("spread");
    for (const auto& one : QVector<QPair<double, double>>{
             {0.01, 0.001},  {1, 0.001},    {1.002, 0.002}, {5, 0.002},    {5.005, 0.005},
             {10, 0.005},    {10.01, 0.01}, {20, 0.01},     {20.02, 0.02}, {100, 0.02},
             {100.05, 0.05}, {200, 0.05},   {200.1, 0.1},   {500, 0.1},    {500.2, 0.2},
             {1000, 0.2},    {1000.5, 0.5}, {2000, 0.5},    {2001, 1},     {9999, 1}}) {
        QTest::addRow("%g", one.first) << one.first << one.second;
    }
}

void MarketRulesTest::fundLadder_everyBand() {
    QFETCH(double, price);
    PriceLadder ladder;
    QString error;
    QVERIFY2(ladder.load(QStringLiteral("fund"), &error), qPrintable(error));
    QCOMPARE(ladder.bands().size(), 10);
    QTEST(ladder.spreadAt(price), "spread");
    QVERIFY(!ladder.load(QStringLiteral("nothing"), &error));
    QVERIFY2(error.contains("hong_kong_spreads.csv"), qPrintable(error));
}

void MarketRulesTest::orderStatus_terminalStates_haveNoSuccessors() {
    OrderStatusTable states;
    QString error;
    QVERIFY2(states.load(&error), qPrintable(error));
    QCOMPARE(states.codes().size(), 8);
    for (const QString& code : states.codes()) {
        const bool ends = code == OrderStatus::filled || code == OrderStatus::cancelled ||
                          code == OrderStatus::partlyCancelled || code == OrderStatus::rejected;
        QCOMPARE(states.isTerminal(code), ends);
        QCOMPARE(states.successorsOf(code).isEmpty(), ends);
        QCOMPARE(config(Constants::ORDERSTATUSSWITCH, code), states.successorsOf(code).join('|'));
        QVERIFY(!states.nameOf(code).isEmpty());
    }
    QVERIFY(!states.isTerminal(QStringLiteral("none")));
}

void MarketRulesTest::orderStatus_mayFollow_asTheTableSays_data() {
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<bool>("may");
    using namespace OrderStatus;
    QTest::newRow("taken") << sent << accepted << true;
    QTest::newRow("rejected") << sent << rejected << true;
    QTest::newRow("dealt at once") << sent << filled << true;
    QTest::newRow("dealt on") << partlyFilled << partlyFilled << true;
    QTest::newRow("dealt to the end") << partlyFilled << filled << true;
    QTest::newRow("cancelling, dealt on") << cancelling << cancelling << true;
    QTest::newRow("cancel refused") << cancelling << accepted << true;
    QTest::newRow("rest cancelled") << cancelling << partlyCancelled << true;
    QTest::newRow("part cancelled before a deal") << accepted << accepted << true;
    QTest::newRow("sent again") << sent << sent << false;
    QTest::newRow("back to the start") << accepted << sent << false;
    QTest::newRow("undealt") << partlyFilled << accepted << false;
    QTest::newRow("cancelled whole after a deal") << partlyFilled << cancelled << false;
    QTest::newRow("after the end") << filled << cancelled << false;
    QTest::newRow("unknown") << "x" << filled << false;
}

void MarketRulesTest::orderStatus_mayFollow_asTheTableSays() {
    QFETCH(QString, from);
    QFETCH(QString, to);
    OrderStatusTable states;
    QString error;
    QVERIFY2(states.load(&error), qPrintable(error));
    QTEST(states.mayFollow(from, to), "may");
}

void MarketRulesTest::ruleTables_haveDateAndSource_data() {
    QTest::addColumn<QStringList>("columns");
    QTest::addColumn<QString>("date");
    QTest::newRow("hong_kong_spreads.csv")
        << QStringList{"ladder", "up_to", "spread"} << "2025-08-04";
    QTest::newRow("quantity_rules.csv")
        << QStringList{"name", "key", "condition", "step", "min", "max", "rule"} << "2023-02-17";
    QTest::newRow("holidays_mainland.csv")
        << QStringList{"first", "last", "kind", "name"} << "2026-01-01";
}

void MarketRulesTest::ruleTables_haveDateAndSource() {
    QFETCH(QStringList, columns);
    RuleTable table;
    QString error;
    QVERIFY2(RuleTable::load(QTest::currentDataTag(), columns, &table, &error), qPrintable(error));
    QTEST(table.date().toString(Qt::ISODate), "date");
    QVERIFY(table.source().size() > 10);
    QVERIFY(!RuleTable::load(QStringLiteral("none.csv"), columns, &table, &error));
    QVERIFY(error.contains("none.csv"));
}

void MarketRulesTest::ruleTable_badText_namesFileAndLine_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("place");
    QTest::newRow("no header") << QByteArray("a;b\n1;2\n") << "x.csv:1:";
    QTest::newRow("no date") << QByteArray("# rule\na;b\n1;2\n") << "x.csv:1:";
    QTest::newRow("no source") << QByteArray("# 2026-01-01;\na;b\n1;2\n") << "x.csv:1:";
    QTest::newRow("columns") << QByteArray("# 2026-01-01; s\n# c\na;c\n1;2\n") << "x.csv:3:";
    QTest::newRow("cells") << QByteArray("# 2026-01-01; s\na;b\n1;2\n\n3\n") << "x.csv:5:";
    QTest::newRow("no rows") << QByteArray("# 2026-01-01; s\na;b\n") << "x.csv:3:";
    QTest::newRow("empty") << QByteArray() << "x.csv:1:";
}

void MarketRulesTest::ruleTable_badText_namesFileAndLine() {
    QFETCH(QByteArray, text);
    QFETCH(QString, place);
    RuleTable table;
    QString error;
    QVERIFY(!RuleTable::parse(QStringLiteral("x.csv"), text, {"a", "b"}, &table, &error));
    QVERIFY2(error.startsWith(place), qPrintable(error));
    QVERIFY(RuleTable::parse(QStringLiteral("x.csv"), "# 2026-01-01; s\na;b\n1;-2\n", {"a", "b"},
                             &table, &error));
    int value = 0;
    QVERIFY(table.number(table.rows().first(), QStringLiteral("a"), &value, &error));
    QCOMPARE(value, 1);
    QVERIFY(!table.number(table.rows().first(), QStringLiteral("b"), &value, &error));
    QVERIFY2(error.startsWith("x.csv:3:"), qPrintable(error));
    QDate day;
    QVERIFY(!table.day(table.rows().first(), QStringLiteral("a"), &day, &error));
}

QTEST_GUILESS_MAIN(MarketRulesTest)
#include "market_rules_test.moc"

#include <QtTest>
#include <cmath>
#include <limits>

#include "log_capture.h"
#include "market_value_fixture.h"

namespace {

using Values = QMap<QString, double>;

bool isFinite(const VelmarMarketValueInfo& info) {
    bool finite = std::isfinite(info.marketValue) && std::isfinite(info.costValue);
    for (const double part : info.symbolMarketValueMap) {
        finite = finite && std::isfinite(part);
    }
    for (const double part : info.symbolCostValueMap) {
        finite = finite && std::isfinite(part);
    }
    return finite;
}

void addBadFigures() {
    QTest::addColumn<QVariant>("figure");
    QTest::newRow("NaN") << QVariant(std::numeric_limits<double>::quiet_NaN());
    QTest::newRow("infinity") << QVariant(std::numeric_limits<double>::infinity());
    QTest::newRow("minus infinity") << QVariant(-std::numeric_limits<double>::infinity());
    QTest::newRow("1e300") << QVariant(1e300);
    QTest::newRow("text nan") << QVariant("nan");
    QTest::newRow("text 1e300") << QVariant("1e300");
}

}  // namespace

/// Rows and ticks whose fields are missing, of another type, or out of any range.
class MarketValueBadInputTest : public QObject {
    Q_OBJECT

private slots:
    void rebuild_badQuantity_isLeftOutWithALogLine_data() { addBadFigures(); }
    void rebuild_badQuantity_isLeftOutWithALogLine() {
        QFETCH(QVariant, figure);
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.setPrice("600001.SH", 10.0);
        const LogCapture log;
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 3, 9.0),
                   positionRow("A1", "600001", Exchange::sh, figure, 9.0)});
        QVERIFY(isFinite(f.of()));
        QCOMPARE(f.value(), 3000.0);
        QCOMPARE(f.of().costValue, 2700.0);
        QCOMPARE(log.texts(QtWarningMsg).filter("left out of the market value of A1").size(), 1);
        // Its ticks are left out as well, and a later push counts from nothing.
        f.tick("600001.SH", 20.0);
        f.tick("600001.SH", 30.0);
        QCOMPARE(f.value(), 3000.0);
        f.push("600001", 2, 9.0);
        QCOMPARE(f.value(), 9000.0);
        QCOMPARE(f.of().costValue, 4500.0);
    }

    void rebuild_badCost_leavesTheMarketValue_data() { addBadFigures(); }
    void rebuild_badCost_leavesTheMarketValue() {
        QFETCH(QVariant, figure);
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 3, figure)});
        QCOMPARE(f.value(), 3000.0);
        QCOMPARE(f.of().costValue, 0.0);
        f.push("600000", 3, 9.0);
        QCOMPARE(f.value(), 3000.0);
        QCOMPARE(f.of().costValue, 2700.0);
    }

    void rebuild_lastPriceNotFinite_keepsTheFormerOne() {
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 3)});
        f.setPrice("600000.SH", "nan");
        const LogCapture log;
        f.values.initPosData();
        QCOMPARE(f.value(), 3000.0);
        QCOMPARE(log.texts(QtWarningMsg).filter("last price of 600000.SH").size(), 1);
        f.tick("600000.SH", 11.0);
        QCOMPARE(f.value(), 3300.0);
    }

    void push_badQuantity_leavesThePositionAsItIs_data() { addBadFigures(); }
    void push_badQuantity_leavesThePositionAsItIs() {
        QFETCH(QVariant, figure);
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 3, 9.0)});
        const LogCapture log;
        f.push("600000", figure, 8.0);
        QCOMPARE(f.value(), 3000.0);
        QCOMPARE(f.of().costValue, 2700.0);
        QCOMPARE(log.texts(QtWarningMsg).filter("position push ignored").size(), 1);
        f.push("600000", 4, 9.0);
        f.tick("600000.SH", 11.0);
        QCOMPARE(f.value(), 4400.0);
        QCOMPARE(f.of().costValue, 3600.0);
    }

    void push_badCost_leavesTheMarketValue_data() { addBadFigures(); }
    void push_badCost_leavesTheMarketValue() {
        QFETCH(QVariant, figure);
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 3, 9.0)});
        const LogCapture log;
        f.push("600000", 4, figure);
        f.push("600000", 4, figure);
        QCOMPARE(f.value(), 4000.0);
        QCOMPARE(f.of().costValue, 0.0);
        QCOMPARE(log.texts(QtWarningMsg).filter("left out of the market value").size(), 1);
        f.push("600000", 4, 9.0);
        QCOMPARE(f.of().costValue, 3600.0);
        QCOMPARE(f.of().symbolCostValueMap, (Values{{"600000.SH", 3600}}));
    }

    void tick_notFinite_isLeftOutWithOneLogLine_data() {
        QTest::addColumn<QVariant>("price");
        QTest::newRow("NaN") << QVariant(std::numeric_limits<double>::quiet_NaN());
        QTest::newRow("infinity") << QVariant(std::numeric_limits<double>::infinity());
        QTest::newRow("text") << QVariant("-inf");
    }
    void tick_notFinite_isLeftOutWithOneLogLine() {
        QFETCH(QVariant, price);
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 3)});
        const LogCapture log;
        f.tick("600000.SH", price);
        f.tick("600000.SH", price);
        QCOMPARE(f.value(), 3000.0);
        QCOMPARE(log.texts(QtWarningMsg).filter("tick of").size(), 1);
        f.tick("600000.SH", 11.0);
        QCOMPARE(f.value(), 3300.0);
    }

    void tick_hugePrice_isLeftOutAndForgotten() {
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.setPrice("600001.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 3),
                   positionRow("A1", "600001", Exchange::sh, 3)});
        const LogCapture log;
        f.tick("600000.SH", 1e300);
        QCOMPARE(f.value(), 3000.0);
        f.tick("600000.SH", 2e300);
        QCOMPARE(log.texts(QtWarningMsg).filter("left out of the market value").size(), 1);
        // Down again over a price whose contribution counts.
        f.tick("600000.SH", 1e10);
        QCOMPARE(f.value(), 3e12 + 3000.0);
        f.tick("600000.SH", 10.0);
        QVERIFY(qAbs(f.value() - 6000.0) < 1e-2);
        f.values.initPosData();
        QCOMPARE(f.value(), 6000.0);
    }

    void limit_contribution_isCountedUpToIt_data() {
        QTest::addColumn<double>("quantity");
        QTest::addColumn<double>("worth");
        QTest::newRow("at the limit") << 1e13 << 1e15;
        QTest::newRow("below zero") << -1e13 << -1e15;
        QTest::newRow("above the limit") << 1.0001e13 << 0.0;
        QTest::newRow("below the negative limit") << -1.0001e13 << 0.0;
    }
    void limit_contribution_isCountedUpToIt() {
        QFETCH(double, quantity);
        QFETCH(double, worth);
        MarketValueFixture f;
        f.setPrice("600000.SH", 1.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, quantity)});
        QCOMPARE(f.value(), worth);
    }

    void fields_missingOrOfAnotherType_countAsNothing_data() {
        QTest::addColumn<QVariantMap>("row");
        QTest::newRow("empty") << QVariantMap();
        QTest::newRow("account alone") << QVariantMap{{UserAccount::tradingAccount, "A1"}};
        QTest::newRow("no account") << positionRow({}, "600000", Exchange::sh, 3);
        QTest::newRow("no security") << positionRow("A1", {}, Exchange::sh, 3);
        QTest::newRow("no exchange") << positionRow("A1", "600001", {}, 3);
        QTest::newRow("texts") << positionRow("A1", "600001", Exchange::sh, "three", "nine");
        QTest::newRow("list") << positionRow("A1", "600001", Exchange::sh, QVariantList{1, 2});
        QTest::newRow("map") << positionRow("A1", "600001", Exchange::sh, QVariantMap{{"a", 1}},
                                            QVariantMap());
        QTest::newRow("no quantity") << QVariantMap{{UserAccount::tradingAccount, "A1"},
                                                    {Security::securityID, "600001"},
                                                    {UserAccount::securityExchange, Exchange::sh}};
        QTest::newRow("unknown symbol") << positionRow("A1", "999999", Exchange::sh, 3);
        QTest::newRow("unknown exchange") << positionRow("A1", "600001", "Z", 3);
    }
    void fields_missingOrOfAnotherType_countAsNothing() {
        QFETCH(QVariantMap, row);
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.setPrice("600001.SH", 10.0);
        const QVariantMap good = positionRow("A1", "600000", Exchange::sh, 3, 9.0);
        f.rebuild({row, good});
        QCOMPARE(f.value(), 3000.0);
        QCOMPARE(f.of().costValue, 2700.0);
        f.rebuild({good});
        f.values.slotPositionUpdated(row);
        QCOMPARE(f.value(), 3000.0);
        QCOMPARE(f.of().costValue, 2700.0);
    }

    void push_withoutAccountOrSecurity_isLogged() {
        MarketValueFixture f;
        const LogCapture log;
        f.values.slotPositionUpdated({});
        f.push({}, 1);
        QCOMPARE(log.texts(QtWarningMsg).filter("without account or security").size(), 2);
    }

    void push_withoutQuantity_sellsThePosition() {
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 3, 9.0)});
        f.values.slotPositionUpdated({{UserAccount::tradingAccount, "A1"},
                                      {Security::securityID, "600000"},
                                      {UserAccount::securityExchange, Exchange::sh}});
        QCOMPARE(f.value(), 0.0);
        QCOMPARE(f.of().costValue, 0.0);
    }

    void unknownSymbols_keepTheirCostsApart() {
        MarketValueFixture f;
        f.rebuild({positionRow("A1", "111111", Exchange::sh, 1, 5.0)});
        f.push("222222", 1, 7.0);
        f.push("111111", 2, 5.0);
        QCOMPARE(f.of().symbolCostValueMap, (Values{{"111111", 10}, {"222222", 7}}));
        QCOMPARE(f.of().costValue, 17.0);
        QVERIFY(f.subscribed().isEmpty());
        f.tick({}, 5.0);
        f.tick("111111", 5.0);
        QCOMPARE(f.value(), 0.0);
    }
};

QTEST_GUILESS_MAIN(MarketValueBadInputTest)
#include "market_value_bad_input_test.moc"

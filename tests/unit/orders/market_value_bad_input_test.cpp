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

    void push_badQuantity_isLeftOutWithOneLogLine_data() { addBadFigures(); }
    void push_badQuantity_isLeftOutWithOneLogLine() {
        QFETCH(QVariant, figure);
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.setPrice("600001.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 3, 9.0),
                   positionRow("A1", "600001", Exchange::sh, 5, 9.0)});
        const LogCapture log;
        f.push("600000", figure, 8.0);
        f.push("600000", figure, 8.0);
        QCOMPARE(f.value(), 5000.0);
        QCOMPARE(f.of().costValue, 4500.0);
        QCOMPARE(log.texts(QtWarningMsg).filter("left out of the market value of A1").size(), 1);
        f.push("600000", 4, 9.0);
        f.tick("600000.SH", 11.0);
        QCOMPARE(f.value(), 9400.0);
        QCOMPARE(f.of().costValue, 8100.0);
    }

    void push_anyFigures_countsWhatARebuildCounts_data() {
        QTest::addColumn<QVariant>("quantity");
        QTest::addColumn<QVariant>("cost");
        QTest::addColumn<double>("price");
        QTest::addColumn<double>("value");
        const double nan = std::numeric_limits<double>::quiet_NaN();
        const double infinity = std::numeric_limits<double>::infinity();
        QTest::newRow("plain") << QVariant(2) << QVariant(9.0) << 10.0 << 2000.0;
        QTest::newRow("huge quantity, tiny price")
            << QVariant(1e14) << QVariant(0.001) << 0.001 << 1e13;
        QTest::newRow("huge quantity, cost too large")
            << QVariant(1e14) << QVariant(9.0) << 0.001 << 1e13;
        QTest::newRow("huge quantity, value too large")
            << QVariant(1e14) << QVariant(0.001) << 10.0 << 0.0;
        QTest::newRow("huge short quantity")
            << QVariant(-1e14) << QVariant(0.001) << 0.001 << -1e13;
        QTest::newRow("1e300") << QVariant(1e300) << QVariant(9.0) << 10.0 << 0.0;
        QTest::newRow("infinity") << QVariant(infinity) << QVariant(9.0) << 10.0 << 0.0;
        QTest::newRow("NaN") << QVariant(nan) << QVariant(9.0) << 10.0 << 0.0;
        QTest::newRow("NaN without a price") << QVariant(nan) << QVariant(9.0) << 0.0 << 0.0;
        QTest::newRow("text") << QVariant("three") << QVariant(9.0) << 10.0 << 0.0;
        QTest::newRow("cost NaN") << QVariant(2) << QVariant(nan) << 10.0 << 2000.0;
    }
    void push_anyFigures_countsWhatARebuildCounts() {
        QFETCH(QVariant, quantity);
        QFETCH(QVariant, cost);
        QFETCH(double, price);
        QFETCH(double, value);
        MarketValueFixture f;
        f.setPrice("600000.SH", price);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 3, 9.0)});
        f.push("600000", quantity, cost);
        const VelmarMarketValueInfo running = f.of();
        f.rebuild({positionRow("A1", "600000", Exchange::sh, quantity, cost)});
        const VelmarMarketValueInfo rebuilt = f.of();
        QCOMPARE(rebuilt.marketValue, value);
        QCOMPARE(running.marketValue, rebuilt.marketValue);
        QCOMPARE(running.costValue, rebuilt.costValue);
        QCOMPARE(running.symbolMarketValueMap, rebuilt.symbolMarketValueMap);
        QCOMPARE(running.symbolCostValueMap, rebuilt.symbolCostValueMap);
        // And back again: what was left out is not subtracted.
        f.push("600000", 3, 9.0);
        QVERIFY(std::abs(f.value() - 300.0 * price) <= std::abs(value) * 1e-15);
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

    void tick_priceIsNoNumber_keepsTheValue_data() {
        QTest::addColumn<QVariant>("price");
        QTest::newRow("word") << QVariant("abc");
        QTest::newRow("empty text") << QVariant("");
        QTest::newRow("list") << QVariant(QVariantList{1});
        QTest::newRow("nothing") << QVariant();
    }
    void tick_priceIsNoNumber_keepsTheValue() {
        QFETCH(QVariant, price);
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 3)});
        f.tick("600000.SH", price);
        QCOMPARE(f.value(), 3000.0);
        f.values.initPosData();
        QCOMPARE(f.value(), 3000.0);
        f.tick("600000.SH", "11.5");
        QCOMPARE(f.value(), 3450.0);
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
};

QTEST_GUILESS_MAIN(MarketValueBadInputTest)
#include "market_value_bad_input_test.moc"

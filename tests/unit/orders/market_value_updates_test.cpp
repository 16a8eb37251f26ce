#include <QtTest>
#include <thread>

#include "log_capture.h"
#include "market_value_fixture.h"

namespace {

using Values = QMap<QString, double>;

}  // namespace

/// What position pushes and ticks change between two rebuilds.
class MarketValueUpdatesTest : public QObject {
    Q_OBJECT

private slots:
    void tick_newPrice_movesEveryHolder() {
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 10, 9.0),
                   positionRow("A2", "600000", Exchange::sh, 1),
                   positionRow("A2", "600001", Exchange::sh, 1)});
        f.tick("600000.SH", 12.0);
        QCOMPARE(f.value("A1"), 12000.0);
        QCOMPARE(f.of("A1").costValue, 9000.0);
        QCOMPARE(f.value("A2"), 1200.0);
        QCOMPARE(f.of("A2").symbolMarketValueMap, (Values{{"600000.SH", 1200}, {"600001.SH", 0}}));
    }

    void tick_firstPrice_bringsTheValueIn() {
        MarketValueFixture f;
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 10, 9.0)});
        QCOMPARE(f.value(), 0.0);
        QCOMPARE(f.of().costValue, 9000.0);
        f.tick("600000.SH", 12.0);
        QCOMPARE(f.value(), 12000.0);
    }

    void tick_withinTheTolerance_changesNothing_data() {
        QTest::addColumn<double>("change");
        QTest::addColumn<bool>("counts");
        QTest::newRow("same") << 0.0 << false;
        QTest::newRow("nothing above") << 5e-11 << false;
        QTest::newRow("nothing below") << -5e-11 << false;
        QTest::newRow("just above") << 2e-10 << true;
        QTest::newRow("just below") << -2e-10 << true;
    }
    void tick_withinTheTolerance_changesNothing() {
        QFETCH(double, change);
        QFETCH(bool, counts);
        MarketValueFixture f;
        f.symbols.add("BIG.SH", Exchange::sh, {MdcSecurityType::StockType, 1, {}});
        f.setPrice("BIG.SH", 1.0);
        f.rebuild({positionRow("A1", "BIG", Exchange::sh, 1e9)});
        f.tick("BIG.SH", 1.0 + change);
        QCOMPARE(f.value() != 1e9, counts);
    }

    void tick_ofASymbolNobodyHolds_isKeptForItsFirstPosition() {
        MarketValueFixture f;
        f.rebuild({});
        f.tick("600000.SH", 12.0);
        f.push("600000", 1);
        QCOMPARE(f.value(), 1200.0);
        QVERIFY(f.subscribed().isEmpty());
    }

    void tick_price_isTheFeedsLastOneNotTheTicks() {
        MarketValueFixture f;
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 1)});
        f.setPrice("600000.SH", 10.0);
        f.setPrice("600000.SH", 12.0);
        f.values.takeTick("600000.SH");
        f.values.takeTick("600000.SH");
        QCOMPARE(f.value(), 1200.0);
    }

    void tick_downToZero_takesTheValueAway() {
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 1)});
        f.tick("600000.SH", 0.0);
        QCOMPARE(f.value(), 0.0);
    }

    void push_newSymbol_addsTheFullQuantity() {
        MarketValueFixture f;
        f.rebuild({});
        f.tick("600000.SH", 10.0);
        f.push("600000", 3, 9.0);
        QCOMPARE(f.value(), 3000.0);
        QCOMPARE(f.of().costValue, 2700.0);
        QCOMPARE(f.of().symbolMarketValueMap, (Values{{"600000.SH", 3000}}));
        QCOMPARE(f.of().symbolCostValueMap, (Values{{"600000.SH", 2700}}));
    }

    void push_heldSymbol_addsTheDifference() {
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 3, 9.0)});
        f.push("600000", 5, 8.0);
        QCOMPARE(f.value(), 5000.0);
        QCOMPARE(f.of().costValue, 4000.0);
        f.push("600000", 0, 0.0);
        QCOMPARE(f.value(), 0.0);
        QCOMPARE(f.of().costValue, 0.0);
        QCOMPARE(f.of().symbolCostValueMap, (Values{{"600000.SH", 0}}));
    }

    void push_thenTick_countsTheNewQuantity() {
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 3)});
        f.push("600000", 5);
        f.tick("600000.SH", 11.0);
        QCOMPARE(f.value(), 5500.0);
    }

    void push_symbolWithoutAPrice_isSubscribedAndWaitsForItsTick() {
        MarketValueFixture f;
        f.rebuild({});
        f.setPrice("600000.SH", 10.0);
        f.push("600000", 3, 9.0);
        QCOMPARE(f.subscribed(), QStringList{"600000.SH"});
        QCOMPARE(f.value(), 0.0);
        QCOMPARE(f.of().costValue, 2700.0);
        f.values.takeTick("600000.SH");
        QCOMPARE(f.value(), 3000.0);
    }

    void push_accountOfNoRebuild_getsAnEntry() {
        MarketValueFixture f;
        f.rebuild({});
        f.tick("600000.SH", 10.0);
        f.push("600000", 1, 0.0, Exchange::sh, "X9");
        QCOMPARE(f.of("X9").tradingAccount, QString("X9"));
        QCOMPARE(f.value("X9"), 1000.0);
    }

    void push_hongKongRecord_takesTheMidRateWhenItIsMade() {
        MarketValueFixture f;
        f.symbols.rates = {{Exchange::hhk, {{HKSExchgRate::HKSExchgRateMid, 0.9}}}};
        f.rebuild({});
        f.tick("02001.HK", 10.0);
        f.push("02001", 100, 5.0, Exchange::hhk);
        QCOMPARE(f.value(), 900.0);
        QCOMPARE(f.of().costValue, 450.0);
        // The record keeps its rate until the next rebuild, so that sales take out what was added.
        f.symbols.rates = {{Exchange::hhk, {{HKSExchgRate::HKSExchgRateMid, 0.5}}}};
        f.push("02001", 0, 5.0, Exchange::hhk);
        QCOMPARE(f.value(), 0.0);
        QCOMPARE(f.of().costValue, 0.0);
    }

    void push_hongKongRecordOfTheRebuild_keepsItsRate() {
        MarketValueFixture f;
        f.symbols.rates = {{Exchange::hhk, {{HKSExchgRate::HKSExchgRateMid, 0.9}}}};
        f.setPrice("02001.HK", 10.0);
        f.rebuild({positionRow("A1", "02001", Exchange::hhk, 100)});
        f.symbols.rates.clear();
        f.push("02001", 200, 0.0, Exchange::hhk);
        QCOMPARE(f.value(), 1800.0);
    }

    void push_gold_countsGrams() {
        MarketValueFixture f;
        f.rebuild({});
        f.tick("AU01.SGE", 700.0);
        f.push("AU01", 2, 600.0, Exchange::sge);
        QCOMPARE(f.value(), 1400000.0);
        QCOMPARE(f.of().costValue, 1200000.0);
    }

    void tick_ratesAreThoseOfTheHolders() {
        MarketValueFixture f;
        f.symbols.rates = {{Exchange::hhk, {{HKSExchgRate::HKSExchgRateMid, 0.9}}}};
        f.rebuild({});
        f.tick("02001.HK", 10.0);
        f.push("02001", 100, 0.0, Exchange::hhk);
        f.tick("02001.HK", 20.0);
        QCOMPARE(f.value(), 1800.0);
    }

    // A rebuild counts everything that the neighbour and the feed know by then, including an
    // update of which only a part is done.

    void tick_rebuildInAnyGap_isCountedOnce_data() {
        QTest::addColumn<int>("gap");
        QTest::newRow("after its price") << 1;
        QTest::newRow("before the totals") << 2;
    }
    void tick_rebuildInAnyGap_isCountedOnce() {
        QFETCH(int, gap);
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 1)});
        bool paused = false;
        f.values.step = [&](int at) {
            if (at == gap) {
                paused = true;
                f.values.initPosData();
            }
        };
        f.tick("600000.SH", 12.0);
        QVERIFY(paused);
        QCOMPARE(f.value(), 1200.0);
        QCOMPARE(f.of().symbolMarketValueMap, (Values{{"600000.SH", 1200}}));
    }

    void push_rebuildInAnyGap_isCountedOnce_data() {
        QTest::addColumn<int>("gap");
        QTest::newRow("after its record") << 1;
        QTest::newRow("before the totals") << 2;
    }
    void push_rebuildInAnyGap_isCountedOnce() {
        QFETCH(int, gap);
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 1, 9.0)});
        // The neighbour stores a position before it publishes it.
        f.neighbour->setPositions({positionRow("A1", "600000", Exchange::sh, 4, 8.0)});
        bool paused = false;
        f.values.step = [&](int at) {
            if (at == gap) {
                paused = true;
                std::thread([&f] { f.values.initPosData(); }).join();
            }
        };
        f.push("600000", 4, 8.0);
        QVERIFY(paused);
        QCOMPARE(f.value(), 4000.0);
        QCOMPARE(f.of().costValue, 3200.0);
        QCOMPARE(f.of().symbolCostValueMap, (Values{{"600000.SH", 3200}}));
    }

    void tick_twoRowsOfOneKey_movesTheLastOfThem() {
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 1, 9.0),
                   positionRow("A1", "600000", Exchange::sh, 2, 9.0)});
        QCOMPARE(f.value(), 3000.0);
        f.tick("600000.SH", 12.0);
        QCOMPARE(f.value(), 3400.0);
        f.values.initPosData();
        QCOMPARE(f.value(), 3600.0);
    }

    void rebuild_brokenOff_keepsTheTablesAndWhatAnUpdateBegan() {
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 1, 9.0)});
        f.neighbour->setPositions({positionRow("A1", "600000", Exchange::sh, 7, 9.0)});
        const int calls = f.neighbour->callCount(ScriptedNeighbour::Call::Positions);
        const auto breakOff = [&f] {
            int asked = 0;
            f.values.initPosData([&asked] { return ++asked > 1; });
            QCOMPARE(asked, 2);
        };
        breakOff();
        QCOMPARE(f.neighbour->callCount(ScriptedNeighbour::Call::Positions), calls + 1);
        QCOMPARE(f.value(), 1000.0);
        f.values.step = [&](int) { breakOff(); };
        f.tick("600000.SH", 12.0);
        QCOMPARE(f.value(), 1200.0);
        f.push("600000", 2, 9.0);
        QCOMPARE(f.value(), 2400.0);
    }

    void gap_readersAndRebuilds_findNoLockHeld() {
        MarketValueFixture f;
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 1)});
        int gaps = 0;
        f.values.step = [&](int) {
            ++gaps;
            QCOMPARE(HeldLocks::any(), false);
        };
        f.tick("600000.SH", 10.0);
        f.values.restart();
        f.push("600000", 2);
        QCOMPARE(gaps, 4);
    }
};

QTEST_GUILESS_MAIN(MarketValueUpdatesTest)
#include "market_value_updates_test.moc"

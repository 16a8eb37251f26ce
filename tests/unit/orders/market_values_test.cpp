#include <QtTest>
#include <limits>

#include "log_capture.h"
#include "market_value_fixture.h"

namespace {

using Values = QMap<QString, double>;

}  // namespace

/// The tables of positions, prices and totals, updated on this thread.
class MarketValuesTest : public QObject {
    Q_OBJECT

private slots:
    void rebuild_rows_areSummedByAccountAndSymbol() {
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.setPrice("600001.SH", 4.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 10, 9.0),
                   positionRow("A1", "600001", Exchange::sh, 5, 2.0),
                   positionRow("A2", "600000", Exchange::sh, 1, 11.0)});
        const VelmarMarketValueInfo first = f.of("A1");
        QCOMPARE(first.tradingAccount, QString("A1"));
        QCOMPARE(first.marketValue, 12000.0);
        QCOMPARE(first.costValue, 10000.0);
        QCOMPARE(first.symbolMarketValueMap, (Values{{"600000.SH", 10000}, {"600001.SH", 2000}}));
        QCOMPARE(first.symbolCostValueMap, (Values{{"600000.SH", 9000}, {"600001.SH", 1000}}));
        QCOMPARE(f.value("A2"), 1000.0);
        QCOMPARE(f.of("A2").costValue, 1100.0);
    }

    void rebuild_neighbour_isAskedForTheAccountAlone() {
        MarketValueFixture f({TestAccount("A1"),
                              TestAccount("B1").withAuthorities({AuthorityType::AccountQuery}),
                              TestAccount("C1")});
        f.rebuild({});
        QCOMPARE(f.neighbour->accountsOf(ScriptedNeighbour::Call::Positions),
                 (QStringList{"A1", "C1"}));
    }

    void rebuild_accountWithoutPositions_getsAnEmptyEntry() {
        MarketValueFixture f;
        f.rebuild({});
        QCOMPARE(f.of("A1").tradingAccount, QString("A1"));
        QCOMPARE(f.value("A1"), 0.0);
        QVERIFY(f.of("A1").symbolMarketValueMap.isEmpty());
        QCOMPARE(f.of("nobody").tradingAccount, QString());
    }
};

QTEST_GUILESS_MAIN(MarketValuesTest)
#include "market_values_test.moc"

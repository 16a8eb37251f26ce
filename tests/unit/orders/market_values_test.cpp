#include <QtTest>

#include "log_capture.h"
#include "market_value_fixture.h"

namespace {

using Values = QMap<QString, double>;

QVariantMap rate(double mid) {
    return {{HKSExchgRate::HKSExchgRateMid, mid}};
}

}  // namespace

/// What a rebuild counts, stores and subscribes.
class MarketValuesTest : public QObject {
    Q_OBJECT

private slots:
    void standardBonds_loadedTwice_areTwoAndLoggedWithTheirNumber() {
        MarketValueFixture f;
        const LogCapture log;
        f.values.loadStandardBonds();
        QCOMPARE(log.texts(QtInfoMsg), QStringList{"加载标准券代码共计： 2"});
    }

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

    void rebuild_neighbour_isAskedForTradableAccountsAlone() {
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
        QCOMPARE(f.of("nobody").marketValue, 0.0);
    }

    void rebuild_neighbour_isAskedForTheAccountAlone() {
        MarketValueFixture f;
        f.rebuild({});
        QCOMPARE(f.neighbour->filtersOf(ScriptedNeighbour::Call::Positions),
                 (QList<QVariantMap>{{{UserAccount::tradingAccount, "A1"}},
                                     {{UserAccount::tradingAccount, "A2"}}}));
    }

    void rebuild_noNeighbour_emptiesTheTables() {
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 10)});
        LocalPlatform::instance().setNeighbourData(nullptr);
        f.values.initPosData();
        QCOMPARE(f.value(), 0.0);
        f.tick("600000.SH", 11.0);
        QCOMPARE(f.value(), 0.0);
    }

    void rebuild_again_replacesWhatTheLastOneCounted() {
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 10, 9.0)});
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 3, 9.0)});
        QCOMPARE(f.value(), 3000.0);
        QCOMPARE(f.of().costValue, 2700.0);
        f.rebuild({});
        QVERIFY(f.of().symbolMarketValueMap.isEmpty());
    }

    void rebuild_pricesOfSymbolsThatAreNotHeld_stay() {
        MarketValueFixture f;
        f.tick("600000.SH", 10.0);
        f.rebuild({});
        f.push("600000", 1);
        QCOMPARE(f.value(), 1000.0);
    }

    void multiplier_countsOnceWhenMissingOrZero_data() {
        QTest::addColumn<QVariant>("multiplier");
        QTest::addColumn<double>("worth");
        QTest::newRow("missing") << QVariant() << 20.0;
        QTest::newRow("zero") << QVariant(0) << 20.0;
        QTest::newRow("text") << QVariant("many") << 20.0;
        QTest::newRow("not finite") << QVariant("nan") << 20.0;
        QTest::newRow("300") << QVariant(300) << 6000.0;
        QTest::newRow("decimal text") << QVariant("0.5") << 10.0;
    }
    void multiplier_countsOnceWhenMissingOrZero() {
        QFETCH(QVariant, multiplier);
        QFETCH(double, worth);
        MarketValueFixture f;
        QVariantMap details;
        if (multiplier.isValid()) {
            details.insert(Security::contractMultiplier, multiplier);
        }
        f.symbols.add("IF2601.CFE", Exchange::cffex, {MdcSecurityType::FuturesType, 1, details});
        f.setPrice("IF2601.CFE", 10.0);
        f.rebuild({positionRow("A1", "IF2601", Exchange::cffex, 2)});
        QCOMPARE(f.value("A1"), worth);
        f.rebuild({});
        f.setPrice("IF2601.CFE", 10.0);
        f.push("IF2601", 2, 0.0, Exchange::cffex);
        f.values.takeTick("IF2601.CFE");
        QCOMPARE(f.value("A1"), worth);
    }

    void hongKong_exchangeWithARate_countsInYuan() {
        MarketValueFixture f;
        f.symbols.rates = {{Exchange::hhk, rate(0.9)}, {Exchange::szhk, rate(0.8)}};
        f.setPrice("02001.HK", 10.0);
        f.setPrice("08001.HK", 10.0);
        f.rebuild({positionRow("A1", "02001", Exchange::hhk, 1000, 5.0),
                   positionRow("A2", "08001", Exchange::szhk, 1000, 5.0)});
        QCOMPARE(f.value("A1"), 9000.0);
        QCOMPARE(f.of("A1").costValue, 4500.0);
        QCOMPARE(f.value("A2"), 8000.0);
        f.tick("02001.HK", 20.0);
        QCOMPARE(f.value("A1"), 18000.0);
    }

    void hongKong_noUsableRate_countsAtOneWithOneWarning_data() {
        QTest::addColumn<QVariantMap>("row");
        QTest::newRow("none") << QVariantMap();
        QTest::newRow("text") << QVariantMap{{HKSExchgRate::HKSExchgRateMid, "mid"}};
        QTest::newRow("zero") << rate(0);
        QTest::newRow("not finite") << QVariantMap{{HKSExchgRate::HKSExchgRateMid, "inf"}};
        QTest::newRow("negative") << rate(-0.9);
    }
    void hongKong_noUsableRate_countsAtOneWithOneWarning() {
        QFETCH(QVariantMap, row);
        MarketValueFixture f;
        f.symbols.rates = {{Exchange::hhk, row}};
        f.setPrice("02001.HK", 10.0);
        const LogCapture log;
        f.rebuild({positionRow("A1", "02001", Exchange::hhk, 100)});
        f.rebuild({positionRow("A1", "02001", Exchange::hhk, 100),
                   positionRow("A2", "02001", Exchange::hhk, 1)});
        f.push("02001", 1, 0.0, Exchange::hhk, "A3");
        QCOMPARE(f.value("A1"), 1000.0);
        QCOMPARE(f.value("A3"), 10.0);
        QCOMPARE(log.texts(QtWarningMsg).filter("no mid rate of exchange G").size(), 1);
    }

    void mainland_rateInTheRow_isIgnored() {
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        QVariantMap row = positionRow("A1", "600000", Exchange::sh, 1);
        row.insert(HKSExchgRate::HKSExchgRateMid, 0.5);
        f.rebuild({row});
        QCOMPARE(f.value(), 1000.0);
        f.push("600000", 2);
        QCOMPARE(f.value(), 2000.0);
    }

    void standardBond_throughTicks_keepsItsPrice() {
        MarketValueFixture f;
        f.setPrice("888880.SH", 95.0);
        f.rebuild({positionRow("A1", "888880", Exchange::sh, 5, 100.0)});
        QCOMPARE(f.value(), 5000.0);
        f.tick("888880.SH", 120.0);
        f.tick("888880.SH", 130.0);
        QCOMPARE(f.value(), 5000.0);
        f.push("888880", 7, 100.0);
        QCOMPARE(f.value(), 7000.0);
        QVERIFY(!f.subscribed().contains("888880.SH"));
    }

    void standardBond_onNoListOfSecurities_isStillOne() {
        StaticDbBuilder data;
        data.section(DictionaryKey::Markert2SymbolPost,
                     {{Exchange::sh, SymbolPost::sh}, {Exchange::sz, SymbolPost::sz}});
        MarketValueFixture f({TestAccount("A1")}, data);
        f.rebuild({positionRow("A1", "131990", Exchange::sz, 50),
                   positionRow("A1", "131991", Exchange::sz, 50)});
        QCOMPARE(f.of().symbolMarketValueMap, (Values{{"131990.SZ", 5000}, {"?131991", 0}}));
        QVERIFY(f.subscribed().isEmpty());
    }

    void subscription_afterARebuild_isTheHeldSymbols() {
        MarketValueFixture f;
        f.rebuild({positionRow("A1", "600001", Exchange::sh, 1),
                   positionRow("A1", "888880", Exchange::sh, 1),
                   positionRow("A1", "nothing", Exchange::sh, 1),
                   positionRow("A2", "600001", Exchange::sh, 1),
                   positionRow("A2", "600000", Exchange::sh, 1)});
        QCOMPARE(f.subscribed(), (QStringList{"600001.SH", "600000.SH"}));
    }

    void subscription_depthAndAction_areAccepted() {
        MarketValueFixture f;
        const LogCapture log;
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 1)});
        f.push("600001", 1);
        // The feed refuses any other pair of figures with this line.
        QVERIFY(!log.contains("unknown tick subscription"));
        QCOMPARE(f.subscribed(), (QStringList{"600000.SH", "600001.SH"}));
    }

    void subscription_isMadeWithoutALock() {
        MarketValueFixture f;
        double seen = -1;
        const auto listener =
            DataStores::tickSubscriptions().onChanged([&] { seen = f.value("A1"); });
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 1)});
        QCOMPARE(seen, 1000.0);
        f.push("600001", 1);
        QCOMPARE(seen, 1000.0);
    }

    void sameKeyTwice_totalsAdd_theTableKeepsTheLast() {
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        f.rebuild({positionRow("A1", "600000", Exchange::sh, 1, 8.0),
                   positionRow("A1", "600000", Exchange::sh, 2, 7.0)});
        QCOMPARE(f.value(), 3000.0);
        QCOMPARE(f.of().costValue, 2200.0);
        QCOMPARE(f.of().symbolMarketValueMap, (Values{{"600000.SH", 3000}}));
        f.push("600000", 3, 7.0);
        QCOMPARE(f.value(), 4000.0);
        QCOMPARE(f.of().costValue, 2900.0);
    }

    void oneSymbolOnTwoExchanges_keepsTwoRecords() {
        MarketValueFixture f;
        f.symbols.add("09001.HK", Exchange::hhk, {MdcSecurityType::StockType, 1, {}});
        f.symbols.add("09001.HK", Exchange::szhk, {MdcSecurityType::StockType, 1, {}});
        f.symbols.rates = {{Exchange::hhk, rate(0.9)}, {Exchange::szhk, rate(0.8)}};
        f.setPrice("09001.HK", 10.0);
        f.rebuild({positionRow("A1", "09001", Exchange::hhk, 100),
                   positionRow("A1", "09001", Exchange::szhk, 100)});
        QCOMPARE(f.value(), 1700.0);
        f.tick("09001.HK", 11.0);
        QCOMPARE(f.value(), 1870.0);
        f.push("09001", 0, 0.0, Exchange::szhk);
        QCOMPARE(f.value(), 990.0);
    }

    void total_plusEquals_addsFiguresAndMapsAndKeepsItsAccount() {
        VelmarMarketValueInfo total{"A1", 1, 2, {{"a", 1}, {"b", 2}}, {{"a", 5}}};
        total += VelmarMarketValueInfo{"A2", 10, 20, {{"b", 3}, {"c", 4}}, {{"d", 6}}};
        QCOMPARE(total.tradingAccount, QString("A1"));
        QCOMPARE(total.marketValue, 11.0);
        QCOMPARE(total.costValue, 22.0);
        QCOMPARE(total.symbolMarketValueMap, (Values{{"a", 1}, {"b", 5}, {"c", 4}}));
        QCOMPARE(total.symbolCostValueMap, (Values{{"a", 5}, {"d", 6}}));
    }
};

QTEST_GUILESS_MAIN(MarketValuesTest)
#include "market_values_test.moc"

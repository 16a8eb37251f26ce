#include <QtTest>

#include "market_value_fixture.h"

namespace {

using Values = QMap<QString, double>;

}  // namespace

/// Positions whose security id and exchange give no symbol: their cost counts, their value does
/// not.
class MarketValueUnknownSymbolTest : public QObject {
    Q_OBJECT

private slots:
    void rows_unknown_keepTheirCostsApart() {
        MarketValueFixture f;
        f.rebuild({positionRow("A1", "111111", Exchange::sh, 1, 5.0)});
        f.push("222222", 1, 7.0);
        f.push("111111", 2, 5.0);
        QCOMPARE(f.of().symbolCostValueMap, (Values{{"?111111", 10}, {"?222222", 7}}));
        QCOMPARE(f.of().costValue, 17.0);
        QVERIFY(f.subscribed().isEmpty());
        f.tick({}, 5.0);
        f.tick("111111", 5.0);
        f.tick("?111111", 5.0);
        QCOMPARE(f.value(), 0.0);
    }

    void row_idReadsLikeASymbol_isNeitherValuedNorSubscribed_data() {
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("exchange");
        QTest::addColumn<bool>("isPush");
        for (const bool isPush : {false, true}) {
            const QByteArray how = isPush ? ", push" : ", rebuild";
            QTest::newRow("share" + how) << "600000.SH" << Exchange::sh << isPush;
            QTest::newRow("no exchange" + how) << "600000.SH" << QString() << isPush;
            QTest::newRow("standard bond" + how) << "888880.SH" << Exchange::sh << isPush;
        }
    }
    void row_idReadsLikeASymbol_isNeitherValuedNorSubscribed() {
        QFETCH(QString, id);
        QFETCH(QString, exchange);
        QFETCH(bool, isPush);
        MarketValueFixture f;
        f.setPrice(id, 10.0);
        const QVariantMap row = positionRow("A1", id, exchange, 3, 9.0);
        f.rebuild(isPush ? QList<QVariantMap>() : QList<QVariantMap>{row});
        if (isPush) {
            f.values.slotPositionUpdated(row);
        }
        f.tick(id, 11.0);
        QCOMPARE(f.value(), 0.0);
        QCOMPARE(f.of().costValue, 27.0);
        QVERIFY(!f.of().symbolCostValueMap.contains(id));
        QVERIFY(f.subscribed().isEmpty());
    }

    void push_afterAnUnknownIdThatReadsLikeItsSymbol_countsFromNothing_data() {
        QTest::addColumn<bool>("isPush");
        QTest::newRow("rebuild") << false;
        QTest::newRow("push") << true;
    }
    void push_afterAnUnknownIdThatReadsLikeItsSymbol_countsFromNothing() {
        QFETCH(bool, isPush);
        MarketValueFixture f;
        f.setPrice("600000.SH", 10.0);
        const QVariantMap row = positionRow("A1", "600000.SH", Exchange::sh, 3, 9.0);
        f.rebuild(isPush ? QList<QVariantMap>() : QList<QVariantMap>{row});
        if (isPush) {
            f.values.slotPositionUpdated(row);
        }
        f.tick("600000.SH", 11.0);
        f.push("600000", 2, 9.0);
        QCOMPARE(f.value(), 2200.0);
        QCOMPARE(f.of().symbolMarketValueMap.value("600000.SH"), 2200.0);
        QCOMPARE(f.of().symbolCostValueMap, (Values{{"600000.SH", 1800}, {"?600000.SH", 27}}));
        f.push("600000", 0);
        QCOMPARE(f.value(), 0.0);
        QCOMPARE(f.of().costValue, 27.0);
    }

    void push_symbolKnownSinceTheLastRow_costsOnce_data() {
        QTest::addColumn<bool>("isPush");
        QTest::newRow("rebuild") << false;
        QTest::newRow("push") << true;
    }
    void push_symbolKnownSinceTheLastRow_costsOnce() {
        QFETCH(bool, isPush);
        MarketValueFixture f;
        const QVariantMap row = positionRow("A1", "777777", Exchange::sh, 3, 9.0);
        f.rebuild(isPush ? QList<QVariantMap>() : QList<QVariantMap>{row});
        if (isPush) {
            f.values.slotPositionUpdated(row);
        }
        QCOMPARE(f.of().costValue, 27.0);
        f.symbols.add("777777.SH", Exchange::sh, {});
        f.tick("777777.SH", 10.0);
        f.push("777777", 3, 9.0);
        f.push("777777", 4, 9.0);
        QCOMPARE(f.value(), 4000.0);
        QCOMPARE(f.of().costValue, 3600.0);
        QCOMPARE(f.of().symbolCostValueMap.value("777777.SH"), 3600.0);
        QCOMPARE(f.of().symbolCostValueMap.value("?777777"), 0.0);
    }

    void push_symbolKnownOfOneExchange_leavesTheOther() {
        MarketValueFixture f;
        f.rebuild({positionRow("A1", "777777", Exchange::sh, 3, 9.0),
                   positionRow("A1", "777777", Exchange::sz, 5, 9.0)});
        f.symbols.add("777777.SH", Exchange::sh, {});
        f.push("777777", 3, 9.0);
        QCOMPARE(f.of().symbolCostValueMap, (Values{{"777777.SH", 2700}, {"?777777", 45}}));
        QCOMPARE(f.of().costValue, 2745.0);
    }
};

QTEST_GUILESS_MAIN(MarketValueUnknownSymbolTest)
#include "market_value_unknown_symbol_test.moc"

#include "realized_profit.h"

#include <QtTest>
#include <cmath>
#include <limits>

#include "deal_record.h"
#include "log_capture.h"

namespace {

using Profits = QMap<QString, RealizedProfit::ProfitBySymbol>;

const QString kAccount = QStringLiteral("T0001");
const QString kSymbol = QStringLiteral("600000.SH");

/// A realized profit with what its events would have contained.
struct Probe {
    RealizedProfit profit;
    int rebuilds = 0;
    QList<QVariantList> updates;

    void load(const QList<QVariantMap>& executions) {
        auto fresh = RealizedProfit::build(executions, [] { return false; });
        QVERIFY(fresh.has_value());
        profit.replace(std::move(*fresh), [this] { ++rebuilds; });
    }
    void batch(const QList<QVariantMap>& deals) {
        QVariantList items;
        for (const QVariantMap& deal : deals) {
            items.append(deal);
        }
        profit.addDeals(items, [this](const QVariantList& records) { updates.append(records); });
    }
    double of(const QString& account = kAccount) const {
        return profit.GetRealizedProfitByAccount(account);
    }
};

QVariantMap updateOf(const QString& account, const QString& symbol, const QString& securityAccount,
                     double profit) {
    return {{UserAccount::tradingAccount, account},
            {Security::symbol, symbol},
            {UserAccount::securityAccount, securityAccount},
            {AppraisementInfo::benefitTotal, profit}};
}

QVariantMap with(QVariantMap record, const QString& field, const QVariant& value) {
    record.insert(field, value);
    return record;
}

QVariantMap without(QVariantMap record, const QString& field) {
    record.remove(field);
    return record;
}

TestDeal buy(double quantity, double price, double commission = 0) {
    return TestDeal::buy(quantity, price, commission);
}

TestDeal sell(double quantity, double price, double commission = 0) {
    return TestDeal::sell(quantity, price, commission);
}

}  // namespace

class RealizedProfitTest : public QObject {
    Q_OBJECT

private slots:
    void profit_ofAnItem_isTheGainOfTheMatchedQuantityLessCommission_data() {
        QTest::addColumn<QList<QVariantMap>>("deals");
        QTest::addColumn<double>("expected");
        using Deals = QList<QVariantMap>;
        QTest::newRow("more bought than sold") << Deals{buy(100, 10), sell(50, 11, 5)} << 45.0;
        QTest::newRow("buys only") << Deals{buy(100, 10, 5)} << -5.0;
        QTest::newRow("sells only") << Deals{sell(100, 10, 5)} << -5.0;
        QTest::newRow("more sold than bought") << Deals{sell(200, 11), buy(100, 10, 3)} << 97.0;
        QTest::newRow("as many") << Deals{buy(100, 10), sell(100, 9, 1)} << -101.0;
        QTest::newRow("averages") << Deals{buy(100, 10), buy(300, 12), sell(100, 12), sell(100, 14)}
                                  << (13 - 11.5) * 200;
        QTest::newRow("no deal") << Deals{} << 0.0;
        QTest::newRow("no quantity")
            << Deals{with(buy(1, 10), Security::lastQty, 0), sell(1, 20, 2)} << -2.0;
        QTest::newRow("next to no quantity")
            << Deals{with(buy(1, 10), Security::lastQty, 1e-10), sell(1, 20, 2)} << -2.0;
        QTest::newRow("little quantity")
            << Deals{with(with(buy(1, 10), Security::lastQty, 2e-10), Security::lastAmount, 2e-10),
                     sell(1, 2, 2)}
            << 2e-10 - 2.0;
    }
    void profit_ofAnItem_isTheGainOfTheMatchedQuantityLessCommission() {
        QFETCH(QList<QVariantMap>, deals);
        QFETCH(double, expected);
        Probe loaded;
        loaded.load(deals);
        QCOMPARE(loaded.of(), expected);
        Probe streamed;
        streamed.batch(deals);
        QCOMPARE(streamed.of(), expected);
    }

    void profit_withoutCommission_isNoNegativeZero() {
        Probe probe;
        probe.load({buy(100, 10)});
        QVERIFY(!std::signbit(probe.of()));
        QVERIFY(!std::signbit(
            probe.profit.GetAllRealizedProfitMap().value(kAccount).value(kSymbol).value("A1")));
    }

    void side_isABuyWhenItsVariantEqualsTheCode_data() {
        QTest::addColumn<QVariant>("side");
        QTest::addColumn<bool>("isBuy");
        QTest::newRow("text") << QVariant("1") << true;
        QTest::newRow("number") << QVariant(1) << true;
        QTest::newRow("sell") << QVariant("2") << false;
        QTest::newRow("unknown") << QVariant("B") << false;
        QTest::newRow("no value") << QVariant() << false;
        QTest::newRow("space") << QVariant(" 1") << false;
    }
    void side_isABuyWhenItsVariantEqualsTheCode() {
        QFETCH(QVariant, side);
        QFETCH(bool, isBuy);
        Probe probe;
        // With the opposite side at half the price, the gain is 500 for a sell, else -500.
        probe.load({with(buy(100, 10), Security::side, side), isBuy ? sell(100, 5) : buy(100, 5)});
        QCOMPARE(probe.of(), isBuy ? -500.0 : 500.0);
    }

    void side_missing_isASell() {
        Probe probe;
        probe.load({without(buy(100, 11), Security::side), buy(100, 10)});
        QCOMPARE(probe.of(), 100.0);
    }

    void readers_severalKeys_sumWhatBelongsTogether() {
        Probe probe;
        probe.load({buy(100, 10), sell(100, 11), buy(100, 10).in(kSymbol, "A2"),
                    sell(100, 12).in(kSymbol, "A2"), buy(100, 10).in("000001.SZ", "Z1"),
                    sell(100, 14).in("000001.SZ", "Z1"), buy(100, 10, 8).of("T0002")});
        QCOMPARE(probe.of(), 700.0);
        QCOMPARE(probe.of("T0002"), -8.0);
        const RealizedProfit& profit = probe.profit;
        QCOMPARE(profit.GetRealizedProfitByAccountAndSymbol(kAccount, kSymbol, "A1"), 100.0);
        QCOMPARE(profit.GetRealizedProfitByAccountAndSymbol(kAccount, kSymbol, "A2"), 200.0);
        QCOMPARE(profit.GetRealizedProfitByAccountAndSymbol(kAccount, kSymbol, ""), 300.0);
        const RealizedProfit::ProfitBySymbol first{{kSymbol, {{"A1", 100.0}, {"A2", 200.0}}},
                                                   {"000001.SZ", {{"Z1", 400.0}}}};
        QCOMPARE(profit.GetRealizedProfitMapByAccount(kAccount), first);
        QCOMPARE(profit.GetAllRealizedProfitMap(),
                 (Profits{{kAccount, first}, {"T0002", {{kSymbol, {{"A1", -8.0}}}}}}));
    }

    void readers_unknownKeys_returnNothing() {
        Probe probe;
        QVERIFY(probe.profit.GetAllRealizedProfitMap().isEmpty());
        probe.load({buy(100, 10), sell(100, 11)});
        const RealizedProfit& profit = probe.profit;
        QCOMPARE(probe.of("T9"), 0.0);
        QCOMPARE(probe.of(""), 0.0);
        QCOMPARE(profit.GetRealizedProfitByAccountAndSymbol("T9", kSymbol, "A1"), 0.0);
        QCOMPARE(profit.GetRealizedProfitByAccountAndSymbol("T9", kSymbol, ""), 0.0);
        QCOMPARE(profit.GetRealizedProfitByAccountAndSymbol(kAccount, "000001.SZ", ""), 0.0);
        QCOMPARE(profit.GetRealizedProfitByAccountAndSymbol(kAccount, kSymbol, "A9"), 0.0);
        QVERIFY(profit.GetRealizedProfitMapByAccount("T9").isEmpty());
        // Asking creates nothing.
        QCOMPARE(profit.GetAllRealizedProfitMap().keys(), QStringList{kAccount});
    }

    void fields_missing_countAsZeroOrAnEmptyKey() {
        Probe probe;
        probe.load(
            {{{Margin::executionCommission, 5.0}},
             without(buy(100, 10, 1), UserAccount::securityAccount),
             without(buy(100, 10, 2), Security::symbol),
             without(buy(100, 10, 3), UserAccount::tradingAccount),
             without(without(buy(1, 1, 4).of("T2"), Security::lastAmount), Security::lastQty),
             without(buy(100, 10, 7).of("T3"), Margin::executionCommission)});
        const Profits expected{{"", {{"", {{"", -5.0}}}, {kSymbol, {{"A1", -3.0}}}}},
                               {kAccount, {{"", {{"A1", -2.0}}}, {kSymbol, {{"", -1.0}}}}},
                               {"T2", {{kSymbol, {{"A1", -4.0}}}}},
                               {"T3", {{kSymbol, {{"A1", 0.0}}}}}};
        QCOMPARE(probe.profit.GetAllRealizedProfitMap(), expected);
    }

    void numbers_asTexts_areRead() {
        Probe probe;
        QVariantMap deal = buy(100, 10);
        deal[Security::lastQty] = "100";
        deal[Security::lastAmount] = "1e3";
        deal[Margin::executionCommission] = " 2.5 ";
        probe.load({deal, sell(100, 11)});
        QCOMPARE(probe.of(), 97.5);
    }

    void numbers_thatAreNotNumbers_areLeftOutWithOneLogLine_data() {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("isLogged");
        QTest::newRow("NaN") << QVariant(std::numeric_limits<double>::quiet_NaN()) << true;
        QTest::newRow("infinity") << QVariant(std::numeric_limits<double>::infinity()) << true;
        QTest::newRow("text infinity") << QVariant("-inf") << true;
        QTest::newRow("text NaN") << QVariant("nan") << true;
        QTest::newRow("1e300") << QVariant(1e300) << true;
        QTest::newRow("above 1e15") << QVariant(1.1e15) << true;
        QTest::newRow("below -1e15") << QVariant(-1.1e15) << true;
        QTest::newRow("text") << QVariant("a lot") << true;
        QTest::newRow("list") << QVariant(QVariantList{1}) << true;
        QTest::newRow("empty text") << QVariant("") << false;
        QTest::newRow("no value") << QVariant() << false;
    }
    void numbers_thatAreNotNumbers_areLeftOutWithOneLogLine() {
        QFETCH(QVariant, value);
        QFETCH(bool, isLogged);
        for (const bool isBatch : {false, true}) {
            Probe probe;
            const LogCapture log;
            const QList<QVariantMap> deals{buy(100, 10), sell(100, 11, 3),
                                           with(buy(0, 0), Margin::executionCommission, value),
                                           with(sell(0, 0), Security::lastAmount, value),
                                           with(sell(0, 0), Security::lastQty, value)};
            isBatch ? probe.batch(deals) : probe.load(deals);
            QCOMPARE(probe.of(), 97.0);
            const QStringList lines = log.texts(QtWarningMsg);
            QCOMPARE(lines.size(), isLogged ? 1 : 0);
            if (isLogged) {
                QVERIFY2(lines.first().contains("leaves out 3 values"), qPrintable(lines.first()));
                QVERIFY(lines.first().contains(Margin::executionCommission));
                QVERIFY(lines.first().contains(kAccount));
            }
        }
    }

    void number_ofExactly1e15_counts() {
        Probe probe;
        const LogCapture log;
        probe.load({with(buy(1, 1), Margin::executionCommission, 1e15)});
        QCOMPARE(probe.of(), -1e15);
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
    }

    void load_again_replacesTheTable() {
        Probe probe;
        probe.load({buy(100, 10), sell(100, 11)});
        probe.load({buy(100, 10, 4).of("T0002")});
        QCOMPARE(probe.rebuilds, 2);
        QCOMPARE(probe.profit.GetAllRealizedProfitMap().keys(), QStringList{"T0002"});
    }

    void load_cancelRow_counts() {
        Probe probe;
        probe.load({buy(100, 10), sell(100, 11),
                    with(sell(0, 0, 2), UserAccount::ExchangeExecType, EntrustType::cancelOrder)});
        QCOMPARE(probe.of(), 98.0);
    }

    void load_sameIdTwice_countsBothRows() {
        Probe probe;
        probe.load({buy(100, 10).withId("1"), sell(50, 11).withId("2"), sell(50, 11).withId("2")});
        QCOMPARE(probe.of(), 100.0);
    }

    void load_brokenOff_returnsNothing() {
        const QList<QVariantMap> rows = QVector<QVariantMap>(25000, buy(100, 10)).toList();
        int checks = 0;
        QVERIFY(!RealizedProfit::build(rows, [&checks] { return ++checks == 2; }).has_value());
        QCOMPARE(checks, 2);
        QVERIFY(RealizedProfit::build(rows, [] { return false; }).has_value());
    }

    void load_manyKeys_equalsASumKeyByKey() {
        constexpr int kAccounts = 7;
        constexpr int kSymbols = 90;
        QList<QVariantMap> rows;
        Profits expected;
        for (int i = 0; i < 20000; ++i) {
            const QString account = QString::number(i % kAccounts);
            const QString symbol = QString::number(i * 31 % kSymbols);
            const QString securityAccount = i % 3 ? "S1" : "S2";
            rows.append(buy(1, 1, i).of(account).in(symbol, securityAccount));
            expected[account][symbol][securityAccount] -= i;
        }
        Probe probe;
        probe.load(rows);
        QCOMPARE(probe.profit.GetAllRealizedProfitMap(), expected);
    }

    void batch_twoDealsOfAnItem_sendOneRecordWithTheProfitAfterBoth() {
        Probe probe;
        probe.load({buy(100, 10, 1)});
        probe.batch({sell(50, 11, 1), sell(50, 13, 1)});
        QCOMPARE(probe.updates,
                 QList<QVariantList>{{updateOf(kAccount, kSymbol, "A1", (12 - 10) * 100 - 3)}});
        QCOMPARE(probe.of(), 197.0);
    }

    void batch_severalItems_sendTheirRecordsInKeyOrder() {
        Probe probe;
        probe.batch({buy(1, 1, 4).of("T2"), buy(1, 1, 1).of("T1").in("b", "Y"),
                     buy(1, 1, 2).of("T1").in("b", "X"), buy(1, 1, 3).of("T1").in("a", "Z"),
                     buy(1, 1, 5).of("T10").in("a", "Z"), buy(1, 1, 1).of("T2")});
        const QVariantList expected{updateOf("T1", "a", "Z", -3), updateOf("T1", "b", "X", -2),
                                    updateOf("T1", "b", "Y", -1), updateOf("T10", "a", "Z", -5),
                                    updateOf("T2", kSymbol, "A1", -5)};
        QCOMPARE(probe.updates, QList<QVariantList>{expected});
    }

    void batch_keysThatReadAlikeWhenJoined_areDifferentItems() {
        Probe probe;
        probe.batch({buy(1, 1, 1).of("T1").in("1A", "S"), buy(1, 1, 2).of("T11").in("A", "S"),
                     buy(1, 1, 3).of("T").in("11A", "S")});
        QCOMPARE(probe.updates.value(0).size(), 3);
        QCOMPARE(probe.of("T1"), -1.0);
        QCOMPARE(probe.of("T11"), -2.0);
        QCOMPARE(probe.of("T"), -3.0);
    }

    void batch_untouchedItems_sendNoRecord() {
        Probe probe;
        probe.load({buy(100, 10), buy(100, 10).in("000001.SZ")});
        probe.batch({sell(100, 11)});
        QCOMPARE(probe.updates, QList<QVariantList>{{updateOf(kAccount, kSymbol, "A1", 100)}});
    }

    void batch_withoutDeals_sendsNothing() {
        Probe probe;
        probe.batch({});
        QVERIFY(probe.updates.isEmpty());
    }

    void ids_ofTheListCountedAgainByTheStream_areDropped() {
        Probe probe;
        probe.load({buy(100, 10).withId("1"), sell(50, 11).withId("2")});
        probe.batch({sell(50, 11).withId("2"), sell(50, 11).withId("3"), sell(50, 11).withId("2")});
        QCOMPARE(probe.of(), 100.0);
        QCOMPARE(probe.updates.size(), 1);
        probe.batch({sell(50, 11).withId("2"), buy(100, 10).withId("1")});
        QCOMPARE(probe.of(), 100.0);
        QCOMPARE(probe.updates.size(), 1);
    }

    void ids_reportedTwiceByTheStream_countOnce() {
        Probe probe;
        probe.batch({buy(100, 10, 5).withId("1"), buy(100, 10, 5).withId("1")});
        probe.batch({buy(100, 10, 5).withId("1")});
        QCOMPARE(probe.of(), -5.0);
    }

    void ids_ofTheStreamThenOfTheList_countOnce() {
        Probe probe;
        probe.batch({buy(100, 10, 5).withId("1")});
        probe.load({buy(100, 10, 5).withId("1")});
        QCOMPARE(probe.of(), -5.0);
        probe.batch({buy(100, 10, 5).withId("1")});
        QCOMPARE(probe.of(), -5.0);
    }

    void ids_thatARebuildDoesNotContain_countWhenTheyComeAgain() {
        Probe probe;
        probe.load({buy(100, 10, 5).withId("1")});
        probe.batch({buy(100, 10, 7).withId("2")});
        QCOMPARE(probe.of(), -12.0);
        probe.load({buy(100, 10, 5).withId("1")});
        QCOMPARE(probe.of(), -5.0);
        probe.batch({buy(100, 10, 7).withId("2")});
        QCOMPARE(probe.of(), -12.0);
    }

    void ids_missing_alwaysCount() {
        Probe probe;
        probe.load({buy(100, 10, 5)});
        probe.batch({buy(100, 10, 5), buy(100, 10, 5)});
        QCOMPARE(probe.of(), -15.0);
    }

    void ids_ofOneNumber_areDifferentByAccountSymbolAndSide() {
        Probe probe;
        probe.load({buy(100, 10, 1).withId("7")});
        probe.batch({sell(100, 10, 1).withId("7"), buy(100, 10, 1).withId("7").of("T0002"),
                     buy(100, 10, 1).withId("7").in("000001.SZ")});
        QCOMPARE(probe.of(), -3.0);
        QCOMPARE(probe.of("T0002"), -1.0);
    }

    void ids_asNumbersAndAsTexts_areTheSame() {
        Probe probe;
        probe.load({with(buy(100, 10, 5), Security::execID, 1234)});
        probe.batch({buy(100, 10, 5).withId("1234")});
        QCOMPARE(probe.of(), -5.0);
    }

    void announcement_ofAnUpdate_comesWhenTheTableIsChanged() {
        RealizedProfit profit;
        double seen = 0;
        profit.addDeals({buy(100, 10, 5).record()}, [&](const QVariantList& records) {
            seen = records.value(0).toMap().value(AppraisementInfo::benefitTotal).toDouble();
        });
        QCOMPARE(seen, -5.0);
    }
};

QTEST_GUILESS_MAIN(RealizedProfitTest)
#include "realized_profit_test.moc"

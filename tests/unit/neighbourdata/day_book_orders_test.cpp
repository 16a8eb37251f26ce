#include "day_book_fixture.h"

class DayBookOrdersTest : public QObject {
    Q_OBJECT

private slots:
    void cancelRow_changesTheOrderOnly();
    void orderInSeveralDeals_isCounted();
    void finalOrder_takesNeitherDealNorCancelRow_data();
    void finalOrder_takesNeitherDealNorCancelRow();
    void dealOfOrder_mustHaveItsDirection();
    void orderState_thatMayNotFollow_isRefused();
    void orderState_laterOne_replacesAndNeverShrinks();
};

void DayBookOrdersTest::cancelRow_changesTheOrderOnly() {
    DayBookFixture f;
    f.load();
    QVERIFY(f.book->putOrder(orderRecord("C1", "600000.SH", "1", 500), &f.error));
    QVERIFY(f.deal("C1", "600000.SH", OrderSide::buy, 200, 10.0, {{Security::orderID, "1"}}));
    const QVariantMap position = f.position("C1", "600000.SH");
    const double cash = f.book->cash("C1");
    QVERIFY2(f.deal("C1", "600000.SH", OrderSide::buy, 0, 0.0,
                    {{Security::orderID, "1"},
                     {UserAccount::ExchangeExecType, EntrustType::cancelOrder}}),
             qPrintable(f.error));
    QCOMPARE(f.position("C1", "600000.SH"), position);
    QCOMPARE(f.book->cash("C1"), cash);
    QCOMPARE(f.book->executionCount("C1"), 2);
    const QVariantMap row = f.book->executions({}, 0, -1, nullptr).last();
    QCOMPARE(row.value(Security::lastQty).toInt(), 0);
    QCOMPARE(row.value(Security::lastAmount).toDouble(), 0.0);
    QCOMPARE(f.order("1").value(Security::cancelledQty).toInt(), 300);
    QCOMPARE(f.order("1").value(Security::leaveQty).toInt(), 0);
    QCOMPARE(f.order("1").value(Security::orderStatus).toString(), OrderStatus::partlyCancelled);
}

void DayBookOrdersTest::orderInSeveralDeals_isCounted() {
    DayBookFixture f;
    f.load();
    QVERIFY2(f.book->putOrder(orderRecord("C1", "600000.SH", "1", 500,
                                          {{TradeField::orderPrice, 10.5}, {"clOrdID", "K"}}),
                              &f.error),
             qPrintable(f.error));
    QCOMPARE(f.order("1").value(Security::orderStatus).toString(), OrderStatus::sent);
    QCOMPARE(f.order("1").value(Security::leaveQty).toInt(), 500);
    QCOMPARE(f.order("1").value(UserAccount::securityAccount).toString(), QStringLiteral("SH-C1"));
    const QVariantMap ofOrder{{Security::orderID, "1"}};
    QVERIFY(f.deal("C1", "600000.SH", OrderSide::buy, 200, 10.0, ofOrder));
    QCOMPARE(f.order("1").value(Security::orderStatus).toString(), OrderStatus::partlyFilled);
    QVERIFY(!f.deal("C1", "600000.SH", OrderSide::buy, 400, 10.0, ofOrder));
    QVERIFY2(f.error.contains("300 left"), qPrintable(f.error));
    QVERIFY(!f.deal("C2", "600000.SH", OrderSide::buy, 100, 10.0, ofOrder));
    QVERIFY(f.deal("C1", "600000.SH", OrderSide::buy, 300, 10.5, ofOrder));
    const QVariantMap order = f.order("1");
    QCOMPARE(order.value(Security::cumQty).toInt(), 500);
    QCOMPARE(order.value(Security::leaveQty).toInt(), 0);
    QCOMPARE(order.value(Security::avgPx).toDouble(), 10.3);
    QCOMPARE(order.value(Security::orderStatus).toString(), OrderStatus::filled);
    QCOMPARE(order.value(TradeField::orderPrice).toDouble(), 10.5);
    QCOMPARE(order.value(Security::clOrdID).toString(), QStringLiteral("K"));
    QCOMPARE(f.book->executionCount({}), 2);
}

void DayBookOrdersTest::finalOrder_takesNeitherDealNorCancelRow_data() {
    QTest::addColumn<QString>("status");
    QTest::addColumn<int>("filled");
    QTest::addColumn<int>("cancelled");
    QTest::addRow("filled") << OrderStatus::filled << 500 << 0;
    QTest::addRow("cancelled") << OrderStatus::cancelled << 0 << 500;
    QTest::addRow("partly cancelled") << OrderStatus::partlyCancelled << 100 << 400;
    QTest::addRow("rejected") << OrderStatus::rejected << 0 << 0;
}

void DayBookOrdersTest::finalOrder_takesNeitherDealNorCancelRow() {
    QFETCH(QString, status);
    QFETCH(int, filled);
    QFETCH(int, cancelled);
    DayBookFixture f;
    f.load();
    QVERIFY2(f.book->putOrder(orderRecord("C1", "600000.SH", "1", 500,
                                          {{Security::orderStatus, status},
                                           {Security::cumQty, filled},
                                           {Security::cancelledQty, cancelled}}),
                              &f.error),
             qPrintable(f.error));
    const QVariantMap before = f.order("1");
    QCOMPARE(before.value(Security::leaveQty).toInt(), 0);
    const QVariantMap ofOrder{{Security::orderID, "1"}};
    const QVariantMap cancelsOrder{{Security::orderID, "1"},
                                   {UserAccount::ExchangeExecType, EntrustType::cancelOrder}};
    QVERIFY(!f.deal("C1", "600000.SH", OrderSide::buy, 100, 10.0, ofOrder));
    QVERIFY2(f.error.contains("final"), qPrintable(f.error));
    QVERIFY(!f.deal("C1", "600000.SH", OrderSide::buy, 0, 0.0, cancelsOrder));
    QVERIFY2(f.error.contains("final"), qPrintable(f.error));
    QCOMPARE(f.order("1"), before);
    QCOMPARE(f.book->executionCount({}), 0);
    QCOMPARE(f.book->cash("C1"), 1e6);
}

void DayBookOrdersTest::dealOfOrder_mustHaveItsDirection() {
    DayBookFixture f;
    f.load();
    const QVariantMap sells{{Security::side, SideUnion::normalSideList.at(1)}};
    QVERIFY(f.book->putOrder(orderRecord("C1", "600000.SH", "1", 500, sells), &f.error));
    const QVariantMap ofOrder{{Security::orderID, "1"}};
    QVERIFY(!f.deal("C1", "600000.SH", OrderSide::buy, 100, 10.0, ofOrder));
    QVERIFY2(f.error.contains("side"), qPrintable(f.error));
    QCOMPARE(f.order("1").value(Security::cumQty).toInt(), 0);
    QVERIFY2(f.deal("C1", "600000.SH", DealSide::sell, 100, 10.0, ofOrder), qPrintable(f.error));
}

void DayBookOrdersTest::orderState_thatMayNotFollow_isRefused() {
    DayBookFixture f;
    f.load();
    const auto put = [&f](const QString& status) {
        return f.book->putOrder({{Security::orderID, "1"}, {Security::orderStatus, status}},
                                &f.error);
    };
    QVERIFY(!f.book->putOrder(
        orderRecord("C1", "600000.SH", "1", 500, {{Security::orderStatus, "Z"}}), &f.error));
    QVERIFY2(f.error.contains("unknown"), qPrintable(f.error));
    QVERIFY(f.book->putOrder(orderRecord("C1", "600000.SH", "1", 500), &f.error));
    QVERIFY2(put(OrderStatus::accepted), qPrintable(f.error));
    QVERIFY2(put(OrderStatus::accepted), qPrintable(f.error));
    QVERIFY(!put(OrderStatus::sent));
    QVERIFY(!put("Z"));
    QVERIFY2(put(OrderStatus::rejected), qPrintable(f.error));
    QCOMPARE(f.order("1").value(Security::leaveQty).toInt(), 0);
    QVERIFY(!put(OrderStatus::accepted));
    QVERIFY(!f.book->putOrder({{Security::orderID, "1"}, {Security::cumQty, 100}}, &f.error));
    QCOMPARE(f.order("1").value(Security::orderStatus).toString(), OrderStatus::rejected);
    QCOMPARE(f.order("1").value(Security::cumQty).toInt(), 0);
}

void DayBookOrdersTest::orderState_laterOne_replacesAndNeverShrinks() {
    DayBookFixture f;
    f.load();
    QVERIFY(f.book->putOrder(orderRecord("C1", "600000.SH", "1", 500), &f.error));
    QVERIFY(f.deal("C1", "600000.SH", OrderSide::buy, 200, 10.0, {{Security::orderID, "1"}}));
    QVERIFY2(
        f.book->putOrder(
            {{Security::orderID, "1"}, {Security::orderStatus, OrderStatus::cancelling}}, &f.error),
        qPrintable(f.error));
    QCOMPARE(f.order("1").value(Security::cumQty).toInt(), 200);
    QCOMPARE(f.order("1").value(Security::orderStatus).toString(), OrderStatus::cancelling);
    const QVariantMap before = f.order("1");
    for (const QVariantMap& worse :
         {QVariantMap{{Security::cumQty, 100}}, QVariantMap{{Security::orderQty, 100}},
          QVariantMap{{Security::orderQty, 600}}, QVariantMap{{Security::side, DealSide::sell}},
          QVariantMap{{Security::cancelledQty, 400}}, QVariantMap{{Security::symbol, "000001.SZ"}},
          QVariantMap{{UserAccount::tradingAccount, "C2"}}}) {
        QVariantMap later = worse;
        later.insert(Security::orderID, "1");
        QVERIFY(!f.book->putOrder(later, &f.error));
        QVERIFY(!f.error.isEmpty());
        QCOMPARE(f.order("1"), before);
    }
    QCOMPARE(f.book->orderCount({}), 1);
}

QTEST_GUILESS_MAIN(DayBookOrdersTest)
#include "day_book_orders_test.moc"

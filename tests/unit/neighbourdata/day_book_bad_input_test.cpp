#include <limits>

#include "day_book_fixture.h"

class DayBookBadInputTest : public QObject {
    Q_OBJECT

private slots:
    void deal_thatIsNotOne_isRefusedWithAText_data();
    void deal_thatIsNotOne_isRefusedWithAText();
    void order_thatIsNotOne_isRefusedWithAText_data();
    void order_thatIsNotOne_isRefusedWithAText();
    void position_thatIsNotOne_isRefusedWithAText_data();
    void position_thatIsNotOne_isRefusedWithAText();
    void amounts_thatGrowTooLarge_areRefused();
    void refusal_withoutATextToFill_isLogged();

private:
    static void rows(const QList<QPair<QVariantMap, QString>>& list) {
        QTest::addColumn<QVariantMap>("change");
        QTest::addColumn<QString>("why");
        int number = 0;
        for (const auto& one : list) {
            QTest::addRow("%d: %s", ++number, qPrintable(one.second)) << one.first << one.second;
        }
    }
    /// The values replace those of a good record; an invalid one removes the field.
    static QVariantMap changed(QVariantMap record, const QVariantMap& change) {
        for (auto it = change.cbegin(); it != change.cend(); ++it) {
            if (it->isValid()) {
                record.insert(it.key(), it.value());
            } else {
                record.remove(it.key());
            }
        }
        return record;
    }
    static QList<QPair<QVariantMap, QString>> badNumbers(const QString& field) {
        return {{{{field, std::numeric_limits<double>::quiet_NaN()}}, field},
                {{{field, std::numeric_limits<double>::infinity()}}, field},
                {{{field, -std::numeric_limits<double>::infinity()}}, field},
                {{{field, 1e300}}, field},
                {{{field, "100"}}, field},
                {{{field, ""}}, field},
                {{{field, true}}, field},
                {{{field, QVariantList{1}}}, field}};
    }
    static QList<QPair<QVariantMap, QString>> badPlaces() {
        return {
            {{{UserAccount::tradingAccount, QVariant()}}, UserAccount::tradingAccount},
            {{{UserAccount::tradingAccount, QVariantMap{{"a", 1}}}}, UserAccount::tradingAccount},
            {{{UserAccount::tradingAccount, "T9"}}, "T9"},
            {{{Security::symbol, QVariant()}}, Security::symbol},
            {{{Security::symbol, "999999.SH"}}, "999999.SH"},
            {{{Security::symbol, QVariant()},
              {Security::securityID, "999999"},
              {UserAccount::securityExchange, Exchange::sh}},
             "999999"},
            {{{Security::securityID, "600001"}}, "600001"},
            {{{UserAccount::securityExchange, Exchange::sz}}, "not listed"}};
    }
};

void DayBookBadInputTest::deal_thatIsNotOne_isRefusedWithAText_data() {
    const QVariant cancel = EntrustType::cancelOrder;
    rows(badPlaces() + badNumbers(Security::lastQty) + badNumbers(TradeField::dealPrice) +
         badNumbers(Security::lastAmount) + badNumbers(Margin::executionCommission) +
         QList<QPair<QVariantMap, QString>>{
             {{{Security::side, QVariant()}}, Security::side},
             {{{Security::side, "101"}}, "101"},
             {{{Security::lastQty, QVariant()}}, Security::lastQty},
             {{{Security::lastQty, 0}}, Security::lastQty},
             {{{Security::lastQty, -100}}, Security::lastQty},
             {{{Security::lastQty, 0.5}}, "whole"},
             {{{TradeField::dealPrice, QVariant()}}, TradeField::dealPrice},
             {{{TradeField::dealPrice, -1.0}}, "negative"},
             {{{TradeField::dealPrice, 1e14}}, "amount"},
             {{{Security::lastAmount, 1000.02}}, "contradict"},
             {{{Security::lastAmount, 0}}, "contradict"},
             {{{Margin::executionCommission, -1}}, "negative"},
             {{{Security::transActTime, "noon"}}, Security::transActTime},
             {{{Security::symbol, "888880.SH"}, {Security::securityID, "131990"}}, "888880"},
             {{{Security::symbol, "888880.SH"}, {UserAccount::securityExchange, Exchange::sz}},
              "888880"},
             {{{UserAccount::ExchangeExecType, cancel}}, "cancel row"},
             {{{UserAccount::ExchangeExecType, cancel},
               {Security::lastQty, 0},
               {Margin::executionCommission, 5}},
              "commission"},
             {{{UserAccount::tradingAccount, "F1"}}, "no security account"},
             {{{Security::execID, QVariantList{}}}, Security::execID}});
}

void DayBookBadInputTest::deal_thatIsNotOne_isRefusedWithAText() {
    QFETCH(QVariantMap, change);
    QFETCH(QString, why);
    DayBookFixture f;
    f.load();
    const auto positions = f.book->positions({});
    const QVariantMap good = dealRecord("C1", "600000.SH", OrderSide::buy, 100, 10.0);
    QVERIFY(!f.book->putDeal(changed(good, change), &f.error));
    QVERIFY2(f.error.contains(why), qPrintable(f.error));
    QCOMPARE(f.book->positions({}), positions);
    QCOMPARE(f.book->cash("C1"), 1e6);
    QCOMPARE(f.book->executionCount({}), 0);
    QVERIFY2(f.book->putDeal(good, &f.error), qPrintable(f.error));
}

void DayBookBadInputTest::order_thatIsNotOne_isRefusedWithAText_data() {
    rows(badPlaces() + badNumbers(Security::orderQty) + badNumbers(Security::cumQty) +
         badNumbers(Security::cancelledQty) + badNumbers(Security::avgPx) +
         badNumbers(TradeField::orderPrice) +
         QList<QPair<QVariantMap, QString>>{
             {{{Security::orderID, QVariant()}}, Security::orderID},
             {{{Security::side, ""}}, Security::side},
             {{{Security::orderQty, QVariant()}}, Security::orderQty},
             {{{Security::orderQty, 0}}, Security::orderQty},
             {{{Security::orderQty, 1.5}}, "whole"},
             {{{Security::transActTime, "noon"}}, Security::transActTime},
             {{{Security::orderStatus, "Z"}}, Security::orderStatus},
             {{{Security::cumQty, 200}}, "more"},
             {{{Security::cumQty, 60}, {Security::cancelledQty, 60}}, "more"}});
}

void DayBookBadInputTest::order_thatIsNotOne_isRefusedWithAText() {
    QFETCH(QVariantMap, change);
    QFETCH(QString, why);
    DayBookFixture f;
    f.load();
    const QVariantMap good = orderRecord("C1", "600000.SH", "1", 100);
    QVERIFY(!f.book->putOrder(changed(good, change), &f.error));
    QVERIFY2(f.error.contains(why), qPrintable(f.error));
    QCOMPARE(f.book->orderCount({}), 0);
    QVERIFY2(f.book->putOrder(good, &f.error), qPrintable(f.error));
}

void DayBookBadInputTest::position_thatIsNotOne_isRefusedWithAText_data() {
    rows(badPlaces() + badNumbers(Security::nominalQty) + badNumbers(Security::omsAverageCost) +
         QList<QPair<QVariantMap, QString>>{
             {{{Security::nominalQty, QVariant()}}, Security::nominalQty},
             {{{Security::nominalQty, 0.001}}, "whole"},
             {{{Security::nominalQty, 1e14}}, "1e15"},
             {{{UserAccount::tradingAccount, "G1"}}, "no security account"}});
}

void DayBookBadInputTest::position_thatIsNotOne_isRefusedWithAText() {
    QFETCH(QVariantMap, change);
    QFETCH(QString, why);
    DayBookFixture f;
    f.load();
    const auto positions = f.book->positions({});
    const QVariantMap good{{UserAccount::tradingAccount, "C1"},
                           {Security::symbol, "600000.SH"},
                           {Security::nominalQty, 7},
                           {Security::omsAverageCost, 9.0}};
    QVERIFY(!f.book->setPosition(changed(good, change), &f.error));
    QVERIFY2(f.error.contains(why), qPrintable(f.error));
    QCOMPARE(f.book->positions({}), positions);
    QVERIFY2(f.book->setPosition(good, &f.error), qPrintable(f.error));
}

void DayBookBadInputTest::amounts_thatGrowTooLarge_areRefused() {
    DayBookFixture f;
    f.load();
    const double most = 9e14;
    QVERIFY2(f.deal("C1", "000001.SZ", DealSide::sell, most, 1e-3), qPrintable(f.error));
    QVERIFY(!f.deal("C1", "000001.SZ", DealSide::sell, most, 1e-3));
    QVERIFY2(f.error.contains("1e15"), qPrintable(f.error));
    QVERIFY(f.deal("C1", "600000.SH", DealSide::sell, 100, 8e12));
    QVERIFY(!f.deal("C1", "600000.SH", DealSide::sell, 100, 8e12));
    QCOMPARE(f.book->executionCount("C1"), 2);
}

void DayBookBadInputTest::refusal_withoutATextToFill_isLogged() {
    DayBookFixture f;
    f.load();
    const LogCapture log;
    QVERIFY(!f.book->putDeal({}, nullptr));
    QVERIFY(log.contains(QtWarningMsg, "deal refused: tradingAccount is missing"));
}

QTEST_GUILESS_MAIN(DayBookBadInputTest)
#include "day_book_bad_input_test.moc"

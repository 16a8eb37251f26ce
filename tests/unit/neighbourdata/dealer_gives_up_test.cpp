#include <QtTest>
#include <algorithm>

#include "dealer_fixture.h"
#include "log_capture.h"
#include "order_status.h"

/// What the dealer does when nothing can be dealt, and when a record of its own is refused.
class DealerGivesUpTest : public QObject, private DealerWorld {
    Q_OBJECT

private slots:
    void init() { restartClock(); }

    void refusedRecords_areLoggedOnce_andTheOrderIsGivenUp();
    void cashThatIsGone_cancelsTheRest();
    void withoutAccounts_nothingIsDealt_andLoggedOnce();
    void withoutSecurities_nothingIsDealt_andLoggedOnce();
    void withoutDatabase_nothingIsDealt_andLoggedOnce();
    void withoutCashAndHoldings_nothingIsDealt_andLoggedOnce();
    void accountsThatComeLater_areDealt();
};

void DealerGivesUpTest::refusedRecords_areLoggedOnce_andTheOrderIsGivenUp() {
    const auto books = fullDesk();
    books->refuseDeals("not today");
    const LogCapture log;
    Dealer dealer(books, options());
    QCOMPARE(dealer.step(3), 0);
    QCOMPARE(log.count(QtWarningMsg, "the dealer's record was refused: not today"), 1);
    books->refuseDeals(QString());
    QCOMPARE(dealer.step(50), 50);
    // Orders that were given up are not filled later, and the others are in order.
    const auto orders = books->orders();
    for (const FakeDesk::Order& one : orders) {
        QVERIFY(one.dealt == one.last.value(Security::cumQty).toLongLong());
    }
    QCOMPARE(books->violations(), QStringList());
}

void DealerGivesUpTest::cashThatIsGone_cancelsTheRest() {
    const auto books = desk();
    books->addAccount("T1", FundAccountType::Cash, {Exchange::sz}, 1000000);
    Dealer dealer(books, options());
    QCOMPARE(dealer.step(20), 20);
    // Somebody else has spent it.
    books->setCash("T1", 0);
    QCOMPARE(dealer.step(20), 0);
    QCOMPARE(books->deals(), 20);
    QCOMPARE(books->violations(), QStringList());
    const auto orders = books->orders();
    OrderStatusTable states;
    QString error;
    QVERIFY(states.load(&error));
    for (const FakeDesk::Order& one : orders) {
        QVERIFY(states.isTerminal(one.statuses.last()));
    }
}

void DealerGivesUpTest::withoutAccounts_nothingIsDealt_andLoggedOnce() {
    const LogCapture log;
    Dealer dealer(desk(), options());
    QCOMPARE(dealer.step(5), 0);
    QVERIFY(!dealer.stepOnce());
    QCOMPARE(log.count(QtWarningMsg, "no deals: there is no account on which the login may trade"),
             1);
}

void DealerGivesUpTest::withoutSecurities_nothingIsDealt_andLoggedOnce() {
    Dealer::Options given = options();
    given.staticDatabaseFile = m_home.filePath("empty.db");
    StaticDbBuilder().write(given.staticDatabaseFile);
    const LogCapture log;
    const auto books = fullDesk();
    Dealer dealer(books, given);
    QVERIFY(!dealer.stepOnce());
    QVERIFY(!dealer.stepOnce());
    QCOMPARE(log.count(QtWarningMsg, "no deals: the static database has no security to deal"), 1);
    QVERIFY(books->log().isEmpty());
}

void DealerGivesUpTest::withoutDatabase_nothingIsDealt_andLoggedOnce() {
    Dealer::Options given = options();
    given.staticDatabaseFile = m_home.filePath("missing.db");
    const LogCapture log;
    const auto books = fullDesk();
    Dealer dealer(books, given);
    QVERIFY(!dealer.stepOnce());
    QVERIFY(!dealer.stepOnce());
    int lines = 0;
    for (const QString& text : log.texts(QtWarningMsg)) {
        lines += text.startsWith("no deals: ") && text.contains("missing.db") ? 1 : 0;
    }
    QCOMPARE(lines, 1);
    QVERIFY(books->log().isEmpty());
}

void DealerGivesUpTest::withoutCashAndHoldings_nothingIsDealt_andLoggedOnce() {
    const QVector<double> poor{0, 4.99, -1e9, qQNaN(), qInf()};
    for (const double cash : poor) {
        const auto books = desk();
        books->addAccount("T1", FundAccountType::Cash, {Exchange::sh}, cash);
        books->addAccount("T2", FundAccountType::Cash, {}, 1e9);
        books->addAccount("T3", "no such kind", {Exchange::sh}, 1e9);
        const LogCapture log;
        Dealer dealer(books, options());
        QVERIFY(!dealer.stepOnce());
        QVERIFY(!dealer.stepOnce());
        QCOMPARE(log.count(QtWarningMsg,
                           "no deals: no account has the cash or the holdings that "
                           "an order needs"),
                 1);
        QVERIFY(books->log().isEmpty());
    }
}

void DealerGivesUpTest::accountsThatComeLater_areDealt() {
    const auto books = desk();
    Dealer dealer(books, options());
    QVERIFY(!dealer.stepOnce());
    books->addAccount("T1", FundAccountType::Cash, {Exchange::sh}, 1e7);
    QCOMPARE(dealer.step(5), 5);
    // The authority ends, and the dealing with it.
    books->clearAccounts();
    const int before = books->log().size();
    QVERIFY(!dealer.stepOnce());
    QCOMPARE(books->log().size(), before);
}

QTEST_GUILESS_MAIN(DealerGivesUpTest)
#include "dealer_gives_up_test.moc"

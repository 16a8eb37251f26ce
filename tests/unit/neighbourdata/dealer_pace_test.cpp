#include <QtTest>
#include <chrono>
#include <memory>

#include "dealer_fixture.h"
#include "log_capture.h"
#include "wait_for.h"

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

/// How many deals the dealer makes in which time, by itself and step by step.
class DealerPaceTest : public QObject, private DealerWorld {
    Q_OBJECT

private slots:
    void init() { restartClock(); }

    void catchUp_makesTheRate_data();
    void catchUp_makesTheRate();
    void catchUp_afterAStall_skipsWhatIsOlderThanASecond();
    void catchUp_withNothingToDeal_waitsASecond();
    void nextDue_isWhenTheNextDealComes();
    void started_dealsOnItsThread_untilStopped();
    void busyDealer_thatIsToEnd_makesNoFurtherDeal();
    void dealerThatIsToEnd_readsTheSecuritiesLater();
    void started_refusesSteps();
    void started_withoutARate_ends();
};

void DealerPaceTest::catchUp_makesTheRate_data() {
    QTest::addColumn<double>("rate");
    QTest::addColumn<int>("callsPerSecond");
    QTest::newRow("10 a second, seen often") << 10.0 << 50;
    QTest::newRow("7 a second, seen rarely") << 7.0 << 2;
    QTest::newRow("one in four seconds") << 0.25 << 10;
    QTest::newRow("500 a second") << 500.0 << 33;
}

void DealerPaceTest::catchUp_makesTheRate() {
    QFETCH(double, rate);
    QFETCH(int, callsPerSecond);
    const auto books = fullDesk();
    Dealer::Options given = options();
    given.dealsPerSecond = rate;
    Dealer dealer(books, given);
    int made = 0;
    constexpr int kSeconds = 8;
    for (int i = 1; i <= kSeconds * callsPerSecond; ++i) {
        made += dealer.catchUp(nanoseconds(qint64(1e9) * i / callsPerSecond));
    }
    QCOMPARE(made, static_cast<int>(rate * kSeconds));
    QCOMPARE(books->deals(), made);
}

void DealerPaceTest::catchUp_afterAStall_skipsWhatIsOlderThanASecond() {
    const auto books = fullDesk();
    Dealer::Options given = options();
    given.dealsPerSecond = 10;
    Dealer dealer(books, given);
    QCOMPARE(dealer.catchUp(1s), 10);
    QCOMPARE(dealer.catchUp(3600s), 10);
    QCOMPARE(dealer.catchUp(3601s), 10);
}

void DealerPaceTest::catchUp_withNothingToDeal_waitsASecond() {
    const auto books = desk();
    Dealer::Options given = options();
    given.dealsPerSecond = 100;
    Dealer dealer(books, given);
    QCOMPARE(dealer.catchUp(5s), 0);
    QCOMPARE(*dealer.nextDue(), nanoseconds(6s));
    books->addAccount("T1", FundAccountType::Cash, {Exchange::sh}, 1e7);
    QCOMPARE(dealer.catchUp(5900ms), 0);
    QCOMPARE(dealer.catchUp(6s), 1);
    // What could not be dealt is not made up for.
    QCOMPARE(dealer.catchUp(6500ms), 50);
}

void DealerPaceTest::nextDue_isWhenTheNextDealComes() {
    Dealer::Options given = options();
    given.dealsPerSecond = 4;
    Dealer dealer(fullDesk(), given);
    QCOMPARE(dealer.catchUp(0s), 0);
    QCOMPARE(*dealer.nextDue(), nanoseconds(250ms));
    QCOMPARE(dealer.catchUp(600ms), 2);
    QCOMPARE(*dealer.nextDue(), nanoseconds(750ms));
    for (const double none : {0.0, -1.0, qQNaN(), qInf()}) {
        given.dealsPerSecond = none;
        Dealer idle(fullDesk(), given);
        QCOMPARE(idle.catchUp(10s), 0);
        QVERIFY(!idle.nextDue());
    }
}

void DealerPaceTest::started_dealsOnItsThread_untilStopped() {
    const auto books = fullDesk();
    Dealer::Options given = options();
    given.dealsPerSecond = 500;
    Dealer dealer(books, given);
    const LogCapture log;
    dealer.start();
    dealer.start();
    QVERIFY(dealer.running());
    QVERIFY(waitFor([&books] { return books->deals() >= 20; }));
    dealer.stop();
    QVERIFY(!dealer.running());
    const auto after = books->log();
    QVERIFY(dealer.stepOnce());
    QVERIFY(books->log().size() > after.size());
    QCOMPARE(books->violations(), QStringList());
    QCOMPARE(log.count(QtInfoMsg, "dealing started: 500 deals per second, seed 7"), 1);
    dealer.start();
    // The destructor stops it.
}

void DealerPaceTest::busyDealer_thatIsToEnd_makesNoFurtherDeal() {
    struct EndingDesk : FakeDesk {
        bool putDeal(const QVariantMap& deal, QString* error) override {
            const bool taken = FakeDesk::putDeal(deal, error);
            if (deals() == 5 && dealer) {
                dealer->endSoon();
            }
            return taken;
        }
        Dealer* dealer = nullptr;
    };
    const auto books = std::make_shared<EndingDesk>();
    books->addAccount("T1", FundAccountType::Cash, {Exchange::sh}, 1e7);
    Dealer::Options given = options();
    given.dealsPerSecond = Dealer::kMostDealsPerSecond;
    Dealer dealer(books, given);
    books->dealer = &dealer;
    QCOMPARE(dealer.catchUp(1s), 5);
    QCOMPARE(dealer.catchUp(9s), 0);
    QVERIFY(!dealer.stepOnce());
    QCOMPARE(books->deals(), 5);
    books->dealer = nullptr;
    dealer.stop();
    QVERIFY(dealer.stepOnce());
}

void DealerPaceTest::dealerThatIsToEnd_readsTheSecuritiesLater() {
    const auto books = fullDesk();
    Dealer dealer(books, options());
    dealer.endSoon();
    const LogCapture log;
    QVERIFY(!dealer.stepOnce());
    QVERIFY(!log.contains(QtWarningMsg, "no deals"));
    dealer.stop();
    QVERIFY(dealer.stepOnce());
}

void DealerPaceTest::started_refusesSteps() {
    Dealer::Options given = options();
    given.dealsPerSecond = 0.001;
    const auto books = fullDesk();
    Dealer dealer(books, given);
    dealer.start();
    QVERIFY(!dealer.stepOnce());
    QCOMPARE(dealer.step(5), 0);
    dealer.stop();
    QVERIFY(books->log().isEmpty());
}

void DealerPaceTest::started_withoutARate_ends() {
    Dealer::Options given = options();
    given.dealsPerSecond = 0;
    const auto books = fullDesk();
    Dealer dealer(books, given);
    dealer.start();
    dealer.stop();
    QCOMPARE(books->deals(), 0);
}

QTEST_GUILESS_MAIN(DealerPaceTest)
#include "dealer_pace_test.moc"

#include <QtTest>
#include <atomic>
#include <functional>
#include <memory>

#include "commonquotahandler/common_quota_handler.h"
#include "fake_clock.h"
#include "local_platform.h"
#include "log_capture.h"
#include "static_db_builder.h"
#include "temp_home.h"
#include "tick_feed.h"
#include "vocabulary/fields.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"
#include "wait_for.h"

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

namespace {

const QDateTime kMorning(QDate(2026, 1, 5), QTime(10, 0));

struct Taken {
    QString symbol;
    QVariantMap tick;
    bool operator==(const Taken& other) const {
        return symbol == other.symbol && tick == other.tick;
    }
};

}  // namespace

class TickSteppingTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        QVERIFY(LocalPlatform::instance().start(m_home.options(), nullptr));
        QVERIFY(quota().Init());
        m_clock = std::make_unique<FakeClock>(kMorning);
        m_taken.clear();
        m_onTick = nullptr;
        connect(&quota(), &CommonQuotaHandler::sigTickDataUpdate, this, &TickSteppingTest::take,
                Qt::ConnectionType(Qt::DirectConnection | Qt::UniqueConnection));
    }

    void step_symbolsTakeTurns_andTicksHoldSymbolAndTime();
    void step_sameOptions_givesTheSameTicks_whateverElseRuns();
    void step_withoutSymbols_publishesNothing();
    void step_readsTheFiguresOfTheRecord();
    void figures_data();
    void figures();
    void symbolWithoutRecord_getsNoTicks_andIsLoggedOnce();
    void subscribedSymbolWithoutRecord_leavesTheOthersTheirRate();
    void unreadableDatabase_isLogged_andTheStandardFiguresAreUsed();
    void step_phaseFollowsTheClockAndTheExchange();
    void aroundTheClock_everyPhaseIsContinuous_alsoAtNightAndOnHolidays_data();
    void aroundTheClock_everyPhaseIsContinuous_alsoAtNightAndOnHolidays();
    void withoutAClock_timesAreOfTheExchangesZone();
    void step_onAHoliday_theMarketIsClosed();
    void newDay_beginsAtTheRecordsFigures();
    void subscribedSymbols_areFedToo_untilTakenOut();
    void slotThatCallsTheFeed_meetsNoLock();
    void catchUp_publishesTheRate_data();
    void catchUp_publishesTheRate();
    void catchUp_afterAStall_skipsWhatIsOlderThanASecond();
    void nextDue_isWhenTheNextTickComes_data();
    void nextDue_isWhenTheNextTickComes();
    void nextDue_withNothingToPublish_isEmpty();
    void idleFeed_subscribed_beginsAtOnceWithoutCatchingUp();
    void started_publishesFromItsThread_untilStopped();
    void started_asleep_isWokenByASubscription();
    void started_asleep_ends();
    void started_refusesSteps();

private:
    static CommonQuotaHandler& quota() { return CommonQuotaHandler::instance(); }
    void take(const QString& symbol, const QVariantMap& tick, const QString&) {
        QCOMPARE(QThread::currentThread(), thread());
        m_taken.append({symbol, tick});
        if (m_onTick) {
            m_onTick(symbol);
        }
    }
    TickFeed::Options options(const QStringList& symbols) const {
        TickFeed::Options given;
        given.symbols = symbols;
        given.clock = m_clock->function();
        return given;
    }
    /// The same, over a static database that knows one share of Shanghai and one of Hong Kong.
    TickFeed::Options withRecords(const QStringList& symbols) const {
        TickFeed::Options given = options(symbols);
        given.staticDatabaseFile = m_home.filePath("static.db");
        StaticDbBuilder()
            .reference("security", "600000.SH", {{UserAccount::securityExchange, Exchange::sh}})
            .reference("security", "700.HK", {{UserAccount::securityExchange, Exchange::hhk}})
            .write(given.staticDatabaseFile);
        return given;
    }
    QStringList symbolsTaken() const {
        QStringList symbols;
        for (const Taken& one : m_taken) {
            symbols.append(one.symbol);
        }
        return symbols;
    }
    QVector<Taken> takenOf(const QString& symbol) const {
        QVector<Taken> some;
        for (const Taken& one : m_taken) {
            if (one.symbol == symbol) {
                some.append(one);
            }
        }
        return some;
    }

    TempHome m_home;
    std::unique_ptr<FakeClock> m_clock;
    QVector<Taken> m_taken;
    std::function<void(const QString&)> m_onTick;
};

void TickSteppingTest::step_symbolsTakeTurns_andTicksHoldSymbolAndTime() {
    TickFeed feed(options({"A", "B", "A", "", "C"}));
    QCOMPARE(feed.step(7), 7);
    QCOMPARE(symbolsTaken(), (QStringList{"A", "B", "C", "A", "B", "C", "A"}));
    for (const Taken& one : std::as_const(m_taken)) {
        QCOMPARE(one.tick.value("Symbol").toString(), one.symbol);
        QCOMPARE(one.tick.value(TickField::time).toDateTime(), kMorning);
        QCOMPARE(one.tick.value("TradingPhaseCode").toString(), QString("3"));
    }
    QCOMPARE(quota().getLastPrice("A"), m_taken.last().tick.value("LastPx").toDouble());
    QCOMPARE(quota().getLastPrice("nobody"), 0.0);
}

void TickSteppingTest::step_sameOptions_givesTheSameTicks_whateverElseRuns() {
    TickFeed(options({"A", "B"})).step(200);
    const QVector<Taken> first = m_taken;
    m_taken.clear();
    TickFeed(options({"A", "B"})).step(200);
    QCOMPARE(m_taken, first);
    m_taken.clear();
    TickFeed(options({"Z", "B", "A"})).step(300);
    QVector<Taken> ofA;
    for (const Taken& one : first) {
        if (one.symbol == "A") {
            ofA.append(one);
        }
    }
    QCOMPARE(takenOf("A"), ofA);
    m_taken.clear();
    TickFeed::Options other = options({"A", "B"});
    other.seed = 2;
    TickFeed(other).step(200);
    QVERIFY(m_taken != first);
}

void TickSteppingTest::step_withoutSymbols_publishesNothing() {
    TickFeed feed(options({}));
    QVERIFY(!feed.stepOnce());
    QCOMPARE(feed.step(5), 0);
    QCOMPARE(feed.catchUp(10s), 0);
    QVERIFY(m_taken.isEmpty());
}

void TickSteppingTest::step_readsTheFiguresOfTheRecord() {
    TickFeed::Options given = options({"700.HK", "bare"});
    given.staticDatabaseFile = m_home.filePath("static.db");
    StaticDbBuilder()
        .reference("security", "700.HK",
                   {{"PreClosePx", 400.2},
                    {"PriceTick", 0.2},
                    {"MaxPx", 0},
                    {"MinPx", 0},
                    {Security::LotSize, 500},
                    {UserAccount::securityExchange, Exchange::hhk}})
        .reference("security", "bare", {{UserAccount::securityExchange, Exchange::sh}})
        .write(given.staticDatabaseFile);
    TickFeed feed(given);
    QCOMPARE(feed.step(2), 2);
    const QVariantMap known = m_taken.at(0).tick;
    QCOMPARE(known.value("PreClosePx").toDouble(), 400.2);
    QCOMPARE(known.value("MinPx").toDouble(), 0.2);
    QCOMPARE(known.value("MaxPx").toDouble(), TickField::kNoUpperLimit);
    QCOMPARE(known.value("TotalQty").toLongLong() % 500, 0);
    const QVariantMap bare = m_taken.at(1).tick;
    QCOMPARE(bare.value("PreClosePx").toDouble(), 10.0);
    QCOMPARE(bare.value("MaxPx").toDouble(), 11.0);
    QCOMPARE(bare.value("MinPx").toDouble(), 9.0);
}

void TickSteppingTest::figures_data() {
    QTest::addColumn<QVariantMap>("record");
    QTest::addColumn<QVector<double>>("expected");  // close, step, upper, lower
    QTest::newRow("no record") << QVariantMap() << QVector<double>{10, 0.01, 11, 9};
    QTest::newRow("all") << QVariantMap{{"PreClosePx", 5.0},
                                        {"PriceTick", 0.001},
                                        {"MaxPx", 5.5},
                                        {"MinPx", 4.5}}
                         << QVector<double>{5, 0.001, 5.5, 4.5};
    QTest::newRow("close alone") << QVariantMap{{"PreClosePx", 5.0}}
                                 << QVector<double>{5, 0.01, 0, 0};
    QTest::newRow("step alone") << QVariantMap{{"PriceTick", 0.1}}
                                << QVector<double>{10, 0.1, 11, 9};
    QTest::newRow("texts") << QVariantMap{{"PreClosePx", "7.5"}, {"MaxPx", "8"}}
                           << QVector<double>{7.5, 0.01, 8, 0};
}

void TickSteppingTest::figures() {
    QFETCH(QVariantMap, record);
    QFETCH(QVector<double>, expected);
    const TickWalk::Figures found = TickFeed::figuresOf(record);
    QCOMPARE(found.previousClose, expected.at(0));
    QCOMPARE(found.step, expected.at(1));
    QCOMPARE(found.upperLimit, expected.at(2));
    QCOMPARE(found.lowerLimit, expected.at(3));
}

void TickSteppingTest::symbolWithoutRecord_getsNoTicks_andIsLoggedOnce() {
    const LogCapture log;
    TickFeed feed(withRecords({"NOPE.SH", "600000.SH"}));
    QCOMPARE(feed.step(3), 3);
    QCOMPARE(symbolsTaken(), (QStringList{"600000.SH", "600000.SH", "600000.SH"}));
    quota().subscribe({"NOPE.SH", "700.HK"}, 1, 0);
    m_clock->advance(24 * 3600 * 1000);
    QCOMPARE(feed.step(2), 2);
    QVERIFY(takenOf("NOPE.SH").isEmpty());
    QCOMPARE(log.texts(QtWarningMsg).filter("NOPE.SH").size(), 1);
    QVERIFY(log.texts(QtWarningMsg).filter("600000.SH").isEmpty());
}

void TickSteppingTest::subscribedSymbolWithoutRecord_leavesTheOthersTheirRate() {
    TickFeed::Options given = withRecords({"600000.SH"});
    given.ratePerSymbol = true;
    TickFeed feed(given);
    quota().subscribe({"NOPE.SH"}, 1, 0);
    QCOMPARE(feed.catchUp(0s), 0);
    QCOMPARE(feed.catchUp(1s), 10);
    QCOMPARE(takenOf("600000.SH").size(), 10);
    // Nothing but unknown symbols is nothing to publish.
    TickFeed unknown(withRecords({"NOPE.SZ"}));
    quota().subscribe({"NOPE.SH"}, 0, 0);
    QCOMPARE(unknown.catchUp(1s), 0);
    QVERIFY(!unknown.nextDue());
}

void TickSteppingTest::unreadableDatabase_isLogged_andTheStandardFiguresAreUsed() {
    TickFeed::Options given = options({"A"});
    given.staticDatabaseFile = m_home.filePath("nothing.db");
    const LogCapture log;
    TickFeed feed(given);
    QVERIFY(log.contains(QtWarningMsg, "nothing.db"));
    QVERIFY(feed.stepOnce());
    QCOMPARE(m_taken.first().tick.value("PreClosePx").toDouble(), 10.0);
}

void TickSteppingTest::step_phaseFollowsTheClockAndTheExchange() {
    TickFeed feed(withRecords({"700.HK", "600000.SH"}));
    const auto phases = [&]() {
        m_taken.clear();
        feed.step(2);
        return takenOf("700.HK").first().tick.value("TradingPhaseCode").toString() +
               takenOf("600000.SH").first().tick.value("TradingPhaseCode").toString();
    };
    const auto at = [&](int hour, int minute) {
        m_clock->set(QDateTime(kMorning.date(), QTime(hour, minute)));
        return phases();
    };
    QCOMPARE(at(9, 10), QString("10"));
    QCOMPARE(at(9, 24), QString("21"));
    QCOMPARE(at(11, 45), QString("34"));
    QCOMPARE(at(14, 58), QString("35"));
    QCOMPARE(at(15, 30), QString("36"));
}

void TickSteppingTest::aroundTheClock_everyPhaseIsContinuous_alsoAtNightAndOnHolidays_data() {
    QTest::addColumn<QDateTime>("time");
    QTest::newRow("morning") << kMorning;
    QTest::newRow("lunch break") << QDateTime(kMorning.date(), QTime(12, 0));
    QTest::newRow("night") << QDateTime(kMorning.date(), QTime(23, 30));
    QTest::newRow("Sunday") << QDateTime(QDate(2026, 1, 4), QTime(10, 0));
    QTest::newRow("holiday") << QDateTime(QDate(2025, 10, 1), QTime(3, 0));
}

void TickSteppingTest::aroundTheClock_everyPhaseIsContinuous_alsoAtNightAndOnHolidays() {
    QFETCH(QDateTime, time);
    m_clock->set(time);
    TickFeed::Options given = withRecords({"700.HK", "600000.SH"});
    given.aroundTheClock = true;
    TickFeed feed(given);
    QCOMPARE(feed.step(200), 200);
    QSet<double> prices;
    for (const Taken& one : std::as_const(m_taken)) {
        QCOMPARE(one.tick.value("TradingPhaseCode").toString(), QString("3"));
        QCOMPARE(one.tick.value(TickField::time).toDateTime(), time);
        prices.insert(one.tick.value("LastPx").toDouble());
    }
    QVERIFY(prices.size() > 2);
    QCOMPARE(takenOf("600000.SH").last().tick.value("DealCount").toInt(), 100);
}

void TickSteppingTest::withoutAClock_timesAreOfTheExchangesZone() {
    TickFeed::Options given = withRecords({"600000.SH"});
    given.clock = nullptr;
    const QDateTime before = QDateTime::currentDateTimeUtc();
    TickFeed(given).stepOnce();
    const QDateTime time = m_taken.first().tick.value(TickField::time).toDateTime();
    QVERIFY(before <= time && time <= QDateTime::currentDateTimeUtc());
    QCOMPARE(time.offsetFromUtc(), 8 * 3600);
    QCOMPARE(time.toString(Qt::ISODate).right(6), QString("+08:00"));
}

void TickSteppingTest::step_onAHoliday_theMarketIsClosed() {
    const auto calendar = std::make_shared<TradeCalendar>();
    QString error;
    QVERIFY2(calendar->load(&error), qPrintable(error));
    const auto phaseWith = [&](const std::shared_ptr<const TradeCalendar>& given) {
        TickFeed::Options ofFeed = options({"600000.SH"});
        ofFeed.calendar = given;
        m_taken.clear();
        TickFeed(ofFeed).stepOnce();
        return m_taken.value(0).tick.value("TradingPhaseCode").toString();
    };
    m_clock->set(QDateTime(QDate(2025, 10, 1), QTime(10, 0)));
    QCOMPARE(phaseWith(calendar), QString("6"));
    QCOMPARE(phaseWith(nullptr), QString("3"));
    m_clock->set(QDateTime(QDate(2025, 10, 9), QTime(10, 0)));
    QCOMPARE(phaseWith(calendar), QString("3"));
}

void TickSteppingTest::newDay_beginsAtTheRecordsFigures() {
    TickFeed feed(options({"A"}));
    feed.step(50);
    const QVector<Taken> firstDay = m_taken;
    QVERIFY(firstDay.last().tick.value("DealCount").toInt() == 50);
    m_taken.clear();
    m_clock->advance(24 * 3600 * 1000);
    feed.stepOnce();
    QCOMPARE(m_taken.first().tick.value("DealCount").toInt(), 1);
    QCOMPARE(m_taken.first().tick.value("OpenPx"), firstDay.first().tick.value("OpenPx"));
}

void TickSteppingTest::subscribedSymbols_areFedToo_untilTakenOut() {
    TickFeed feed(options({"A"}));
    quota().subscribe({"S", "A", "T"}, 1, 0);
    QVERIFY(m_taken.isEmpty());
    feed.step(3);
    QCOMPARE(symbolsTaken(), (QStringList{"A", "S", "T"}));
    quota().subscribe({"S", "A"}, 0, 0);
    m_taken.clear();
    feed.step(4);
    QCOMPARE(symbolsTaken(), (QStringList{"A", "T", "A", "T"}));
    QCOMPARE(m_taken.first().tick.value("DealCount").toInt(), 2);
}

void TickSteppingTest::slotThatCallsTheFeed_meetsNoLock() {
    TickFeed feed(options({"A"}));
    int depth = 0;
    int deepest = 0;
    m_onTick = [&](const QString& symbol) {
        ++depth;
        deepest = std::max(deepest, depth);
        QVERIFY(quota().getLastPrice(symbol) > 0);
        const int before = m_taken.size();
        quota().subscribe({QString("N%1").arg(m_taken.size())}, 1, 0);
        QCOMPARE(m_taken.size(), before);
        if (depth < 5) {
            feed.stepOnce();
        }
        --depth;
    };
    QVERIFY(feed.stepOnce());
    QCOMPARE(deepest, 5);
    QCOMPARE(m_taken.size(), 5);
}

void TickSteppingTest::catchUp_publishesTheRate_data() {
    QTest::addColumn<double>("rate");
    QTest::addColumn<bool>("perSymbol");
    QTest::addColumn<int>("expected");  // in ten seconds
    QTest::newRow("ten a second") << 10.0 << false << 100;
    QTest::newRow("ten a second each") << 10.0 << true << 300;
    QTest::newRow("one in four seconds") << 0.25 << false << 2;
    QTest::newRow("a third of a thousand") << 333.0 << false << 3330;
    QTest::newRow("none") << 0.0 << false << 0;
    QTest::newRow("negative") << -5.0 << false << 0;
}

void TickSteppingTest::catchUp_publishesTheRate() {
    QFETCH(double, rate);
    QFETCH(bool, perSymbol);
    QFETCH(int, expected);
    TickFeed::Options given = options({"A", "B", "C"});
    given.ticksPerSecond = rate;
    given.ratePerSymbol = perSymbol;
    TickFeed feed(given);
    int published = 0;
    for (auto elapsed = 0ms; elapsed <= 10s; elapsed += 7ms) {
        published += feed.catchUp(elapsed);
    }
    published += feed.catchUp(10s);
    QCOMPARE(published, m_taken.size());
    QCOMPARE(published, expected);
}

void TickSteppingTest::catchUp_afterAStall_skipsWhatIsOlderThanASecond() {
    TickFeed::Options given = options({"A"});
    given.ticksPerSecond = 100;
    TickFeed feed(given);
    QCOMPARE(feed.catchUp(100ms), 10);
    QCOMPARE(feed.catchUp(1h), 100);
    QCOMPARE(feed.catchUp(1h + 50ms), 5);
}

void TickSteppingTest::nextDue_isWhenTheNextTickComes_data() {
    QTest::addColumn<double>("rate");
    QTest::addColumn<bool>("perSymbol");
    QTest::addColumn<double>("seconds");
    QTest::newRow("ten a second") << 10.0 << false << 0.1;
    QTest::newRow("ten a second each") << 10.0 << true << 1 / 30.0;
    QTest::newRow("a third of a thousand") << 333.0 << false << 1 / 333.0;
    QTest::newRow("one in an hour") << 1 / 3600.0 << false << 3600.0;
}

void TickSteppingTest::nextDue_isWhenTheNextTickComes() {
    QFETCH(double, rate);
    QFETCH(bool, perSymbol);
    QFETCH(double, seconds);
    TickFeed::Options given = options({"A", "B", "C"});
    given.ticksPerSecond = rate;
    given.ratePerSymbol = perSymbol;
    TickFeed feed(given);
    QCOMPARE(feed.catchUp(0s), 0);
    // Sleeping until each due time publishes exactly one tick every time.
    for (int i = 1; i <= 500; ++i) {
        const auto due = feed.nextDue();
        QVERIFY(due);
        QVERIFY(std::abs(std::chrono::duration<double>(*due).count() - i * seconds) < 1e-6);
        const auto shortBefore = std::chrono::duration<double>(seconds / 1000);
        QCOMPARE(feed.catchUp(*due - std::chrono::duration_cast<nanoseconds>(shortBefore)), 0);
        QCOMPARE(feed.catchUp(*due), 1);
    }
}

void TickSteppingTest::nextDue_withNothingToPublish_isEmpty() {
    TickFeed::Options given = options({});
    TickFeed feed(given);
    feed.catchUp(0s);
    QVERIFY(!feed.nextDue());
    quota().subscribe({"S"}, 1, 0);
    feed.catchUp(1s);
    QVERIFY(feed.nextDue());
    quota().subscribe({"S"}, 0, 0);
    feed.catchUp(2s);
    QVERIFY(!feed.nextDue());
    given.symbols = QStringList{"A"};
    for (const double rate : {0.0, -5.0}) {
        given.ticksPerSecond = rate;
        TickFeed still(given);
        still.catchUp(1s);
        QVERIFY(!still.nextDue());
    }
    // A rate whose next tick is later than any clock gets.
    given.ticksPerSecond = 1e-300;
    TickFeed seldom(given);
    QCOMPARE(seldom.catchUp(1s), 0);
    QVERIFY(seldom.nextDue() && *seldom.nextDue() > 24h);
}

void TickSteppingTest::idleFeed_subscribed_beginsAtOnceWithoutCatchingUp() {
    TickFeed feed(options({}));
    QCOMPARE(feed.catchUp(0s), 0);
    quota().subscribe({"S"}, 1, 0);
    QCOMPARE(feed.catchUp(1h), 0);
    QVERIFY(feed.nextDue());
    QCOMPARE(*feed.nextDue(), nanoseconds(1h + 100ms));
    QCOMPARE(feed.catchUp(1h + 100ms), 1);
    quota().subscribe({"S"}, 0, 0);
    QCOMPARE(feed.catchUp(2h), 0);
    quota().subscribe({"T"}, 1, 0);
    QCOMPARE(feed.catchUp(3h), 0);
    QCOMPARE(feed.catchUp(3h + 500ms), 5);
    QCOMPARE(symbolsTaken(), (QStringList{"S", "T", "T", "T", "T", "T"}));
}

void TickSteppingTest::started_asleep_isWokenByASubscription() {
    TickFeed::Options given = options({});
    std::atomic<int> looked{0};
    given.clock = [&looked, clock = m_clock->function()] {
        ++looked;
        return clock();
    };
    TickFeed feed(given);
    feed.start();
    QVERIFY(waitFor([&] { return looked > 0; }));
    quota().subscribe({"S"}, 1, 0);
    QVERIFY(waitFor([this] { return m_taken.size() >= 2; }));
    feed.stop();
    // A stopped feed ignores subscriptions.
    quota().subscribe({"T"}, 1, 0);
    QVERIFY(takenOf("T").isEmpty());
}

void TickSteppingTest::started_asleep_ends() {
    for (int i = 0; i < 50; ++i) {
        TickFeed feed(options({}));
        feed.start();
        feed.stop();
        QVERIFY(!feed.running());
    }
}

void TickSteppingTest::started_publishesFromItsThread_untilStopped() {
    TickFeed::Options given = options({"A", "B"});
    given.ticksPerSecond = 2000;
    given.staticDatabaseFile = m_home.filePath("static.db");
    StaticDbBuilder()
        .reference("security", "A", {{"PriceTick", 0.01}})
        .reference("security", "B", {{"PreClosePx", 20.0}})
        .write(given.staticDatabaseFile);
    TickFeed feed(given);
    feed.start();
    feed.start();
    QVERIFY(feed.running());
    QVERIFY(waitFor([this]() { return m_taken.size() >= 50; }));
    feed.stop();
    QVERIFY(!feed.running());
    QCoreApplication::processEvents();
    const int sofar = m_taken.size();
    QCoreApplication::processEvents();
    QCOMPARE(m_taken.size(), sofar);
    for (int i = 2; i < m_taken.size(); ++i) {
        QCOMPARE(m_taken.at(i).symbol, m_taken.at(i - 2).symbol);
    }
    QCOMPARE(takenOf("A").first().tick.value("PreClosePx").toDouble(), 10.0);
    QCOMPARE(takenOf("B").first().tick.value("PreClosePx").toDouble(), 20.0);
    // A second start continues the walk.
    feed.start();
    QVERIFY(waitFor([&]() { return m_taken.size() > sofar; }));
}

void TickSteppingTest::started_refusesSteps() {
    TickFeed::Options given = options({"A"});
    given.ticksPerSecond = 0;
    TickFeed feed(given);
    feed.start();
    QVERIFY(!feed.stepOnce());
    feed.stop();
    QVERIFY(feed.stepOnce());
    QCOMPARE(m_taken.size(), 1);
}

QTEST_GUILESS_MAIN(TickSteppingTest)
#include "tick_stepping_test.moc"

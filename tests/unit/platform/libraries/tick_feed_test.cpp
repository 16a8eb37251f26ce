#include <QtTest>
#include <algorithm>
#include <memory>
#include <thread>

#include "commonquotahandler/common_quota_handler.h"
#include "data_stores.h"
#include "local_platform.h"
#include "log_capture.h"
#include "temp_home.h"
#include "vocabulary/tick_fields.h"
#include "wait_for.h"

namespace {

struct Tick {
    QString symbol;
    QVariantMap values;
    QString source;
    QThread* thread = nullptr;
};

}  // namespace

class TickFeedTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        QVERIFY(LocalPlatform::instance().start(m_home.options(), nullptr));
        m_ticks.clear();
        connect(&CommonQuotaHandler::instance(), &CommonQuotaHandler::sigTickDataUpdate, this,
                &TickFeedTest::take,
                Qt::ConnectionType(Qt::DirectConnection | Qt::UniqueConnection));
    }

    void ticksBeforeInit_areDropped() {
        LocalPlatform::instance().publishTick("S0", {}, "feed");
        QVERIFY(CommonQuotaHandler::instance().Init());
        LocalPlatform::instance().publishTick("S1", {}, "feed");
        QVERIFY(waitFor([this]() { return !m_ticks.isEmpty(); }));
        QCOMPARE(m_ticks.size(), 1);
        QCOMPARE(m_ticks.first().symbol, QString("S1"));
    }

    void lastPrice_isNoNumber_leavesTheFormerOneWithOneLine_data() {
        QTest::addColumn<QVariant>("price");
        QTest::newRow("word") << QVariant("abc");
        QTest::newRow("empty text") << QVariant("");
        QTest::newRow("list") << QVariant(QVariantList{1});
        QTest::newRow("map") << QVariant(QVariantMap{{"a", 1}});
        QTest::newRow("nothing") << QVariant();
    }
    void lastPrice_isNoNumber_leavesTheFormerOneWithOneLine() {
        QFETCH(QVariant, price);
        QVERIFY(CommonQuotaHandler::instance().Init());
        const auto publish = [](const QString& symbol, const QVariant& lastPrice) {
            LocalPlatform::instance().publishTick(symbol, {{TickField::lastPrice, lastPrice}}, "");
        };
        const auto last = [](const QString& symbol) {
            return CommonQuotaHandler::instance().getLastPrice(symbol);
        };
        publish("S1", 10.0);
        const LogCapture log;
        for (int i = 0; i < 3; ++i) {
            publish("S1", price);
            publish("S2", price);
        }
        QCOMPARE(last("S1"), 10.0);
        QCOMPARE(last("S2"), 0.0);
        QCOMPARE(log.texts(QtWarningMsg).filter("is no number").size(), 2);
        const auto lines = log.lines();
        QVERIFY(std::all_of(lines.cbegin(), lines.cend(), [](const LogCapture::Line& line) {
            return line.type != QtWarningMsg || line.category == "velmar.platform.data";
        }));
        publish("S1", "11.5");
        QCOMPARE(last("S1"), 11.5);
        // The tick is delivered all the same.
        QVERIFY(waitFor([this] { return m_ticks.size() == 8; }));
    }

    void tickFromAnotherThread_arrivesOnTheApplicationsInOrder() {
        QVERIFY(CommonQuotaHandler::instance().Init());
        // A second call does nothing.
        QVERIFY(CommonQuotaHandler::instance().Init());
        std::thread([]() {
            for (int i = 0; i < 100; ++i) {
                LocalPlatform::instance().publishTick(QString::number(i), {{"price", i}}, "feed");
            }
        }).join();
        QVERIFY(waitFor([this]() { return m_ticks.size() >= 100; }));
        QCOMPARE(m_ticks.size(), 100);
        for (int i = 0; i < 100; ++i) {
            QCOMPARE(m_ticks.at(i).symbol, QString::number(i));
            QCOMPARE(m_ticks.at(i).values.value("price").toInt(), i);
            QCOMPARE(m_ticks.at(i).source, QString("feed"));
            QCOMPARE(m_ticks.at(i).thread, thread());
        }
    }

    void startingAgain_dropsTicksUntilInit() {
        QVERIFY(CommonQuotaHandler::instance().Init());
        QVERIFY(LocalPlatform::instance().start(m_home.options(), nullptr));
        LocalPlatform::instance().publishTick("S1", {}, "feed");
        QCoreApplication::processEvents();
        QVERIFY(m_ticks.isEmpty());
    }

    void lastPrice_isThatOfTheLastTick_knownBeforeItsDelivery() {
        QVERIFY(CommonQuotaHandler::instance().Init());
        QCOMPARE(CommonQuotaHandler::instance().getLastPrice("S1"), 0.0);
        double seen = -1;
        std::thread([&seen]() {
            LocalPlatform::instance().publishTick("S1", {{"LastPx", 10.5}}, "feed");
            LocalPlatform::instance().publishTick("S1", {{"Symbol", "S1"}}, "feed");
            LocalPlatform::instance().publishTick("S2", {{"LastPx", "3.25"}}, "feed");
            seen = CommonQuotaHandler::instance().getLastPrice("S1");
        }).join();
        QCOMPARE(seen, 10.5);
        QCOMPARE(CommonQuotaHandler::instance().getLastPrice("S2"), 3.25);
        QVERIFY(waitFor([this]() { return m_ticks.size() == 3; }));
        QVERIFY(LocalPlatform::instance().start(m_home.options(), nullptr));
        QCOMPARE(CommonQuotaHandler::instance().getLastPrice("S1"), 0.0);
    }

    void subscribe_emitsNothing_andKeepsTheOrderOfFirstSubscription() {
        CommonQuotaHandler& handler = CommonQuotaHandler::instance();
        QVERIFY(handler.Init());
        handler.subscribe({"B", "A", "", "B"}, 1, 0);
        handler.subscribe({"A", "C"}, 1, 0);
        QCOMPARE(DataStores::tickSubscriptions().symbols(), (QStringList{"B", "A", "C"}));
        handler.subscribe({"A", "unknown"}, 0, 0);
        QCOMPARE(DataStores::tickSubscriptions().symbols(), (QStringList{"B", "C"}));
        QCoreApplication::processEvents();
        QVERIFY(m_ticks.isEmpty());
        QVERIFY(LocalPlatform::instance().start(m_home.options(), nullptr));
        QVERIFY(DataStores::tickSubscriptions().symbols().isEmpty());
    }

    void subscribe_unknownNumbers_isRefusedAndLogged() {
        CommonQuotaHandler& handler = CommonQuotaHandler::instance();
        const LogCapture log;
        handler.subscribe({"A"}, 2, 0);
        handler.subscribe({"A"}, 1, 1);
        QVERIFY(log.contains(QtWarningMsg, "unknown tick subscription: action 2"));
        QVERIFY(log.contains(QtWarningMsg, "depth 1"));
        QVERIFY(DataStores::tickSubscriptions().symbols().isEmpty());
    }

    void listener_isCalledAfterEachChange_whileItsResultLives() {
        CommonQuotaHandler& handler = CommonQuotaHandler::instance();
        QList<QStringList> seen;
        auto listening = DataStores::tickSubscriptions().onChanged(
            [&seen] { seen.append(DataStores::tickSubscriptions().symbols()); });
        handler.subscribe({"A", "B"}, 1, 0);
        handler.subscribe({"A", ""}, 1, 0);    // nothing new
        handler.subscribe({"unknown"}, 0, 0);  // nothing goes
        handler.subscribe({"C"}, 2, 0);        // refused
        handler.subscribe({"A", "unknown"}, 0, 0);
        QVERIFY(LocalPlatform::instance().start(m_home.options(), nullptr));
        QCOMPARE(seen, (QList<QStringList>{{"A", "B"}, {"B"}, {}}));
        listening.reset();
        handler.subscribe({"D"}, 1, 0);
        QCOMPARE(seen.size(), 3);
    }

    void listener_mayChangeTheListeners() {
        CommonQuotaHandler& handler = CommonQuotaHandler::instance();
        int first = 0;
        int second = 0;
        std::shared_ptr<void> later;
        std::shared_ptr<void> listening = DataStores::tickSubscriptions().onChanged([&] {
            ++first;
            later = DataStores::tickSubscriptions().onChanged([&second] { ++second; });
            listening.reset();
        });
        handler.subscribe({"A"}, 1, 0);
        handler.subscribe({"B"}, 1, 0);
        QCOMPARE(first, 1);
        QCOMPARE(second, 1);
    }

    void slotThatCallsBack_isNotBlockedByALock() {
        CommonQuotaHandler& handler = CommonQuotaHandler::instance();
        QVERIFY(handler.Init());
        QObject context;
        double seen = 0;
        connect(&handler, &CommonQuotaHandler::sigTickDataUpdate, &context,
                [&](const QString& symbol) {
                    handler.subscribe({symbol}, 1, 0);
                    seen = handler.getLastPrice(symbol);
                    if (symbol == "S1") {
                        LocalPlatform::instance().publishTick("S2", {{"LastPx", 2}}, "feed");
                    }
                });
        LocalPlatform::instance().publishTick("S1", {{"LastPx", 1}}, "feed");
        QCOMPARE(DataStores::tickSubscriptions().symbols(), (QStringList{"S1", "S2"}));
        QCOMPARE(m_ticks.size(), 2);
        QVERIFY(seen > 0);
    }

    void applicationThreadBusy_ticksAreDroppedBeyondALimit() {
        QVERIFY(CommonQuotaHandler::instance().Init());
        const LogCapture log;
        std::thread([]() {
            for (int i = 1; i <= 10100; ++i) {
                LocalPlatform::instance().publishTick("S", {{"LastPx", i}}, "feed");
            }
        }).join();
        QCOMPARE(CommonQuotaHandler::instance().getLastPrice("S"), 10100.0);
        QVERIFY(log.contains(QtWarningMsg, "ticks are dropped"));
        QCoreApplication::processEvents();
        QCOMPARE(m_ticks.size(), 10000);
        LocalPlatform::instance().publishTick("S", {{"LastPx", 5}}, "feed");
        QCOMPARE(m_ticks.size(), 10001);
    }

private:
    void take(const QString& symbol, const QVariantMap& tick, const QString& source) {
        m_ticks.append({symbol, tick, source, QThread::currentThread()});
    }

    TempHome m_home;
    QList<Tick> m_ticks;
};

int main(int argc, char** argv) {
    // Ends before the tests begin, since a capture that lives longer would hide lines from theirs.
    auto log = std::make_unique<LogCapture>();
    const bool readyWithoutApplication = CommonQuotaHandler::instance().Init();
    const bool logged = log->contains(QtWarningMsg, "needs an application");
    log.reset();
    QCoreApplication application(argc, argv);
    TickFeedTest test;
    const int failed = QTest::qExec(&test, argc, argv);
    if (readyWithoutApplication || !logged) {
        qCritical("the feed must refuse, and say so, while there is no application");
        return 1;
    }
    return failed;
}

#include "tick_feed_test.moc"

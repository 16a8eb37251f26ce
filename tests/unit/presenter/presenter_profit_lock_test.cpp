#include <QtTest>

#include "log_hook.h"
#include "profit_lock_reader.h"
#include "profit_world.h"

/// When readers of realized profit have to wait, and when not.
class PresenterProfitLockTest : public QObject {
    Q_OBJECT

    static constexpr int kMostWaiting = 20;

    std::unique_ptr<ProfitClient> m_client;
    std::unique_ptr<ProfitWorld> m_world;

private slots:
    void initTestCase() { m_client = std::make_unique<ProfitClient>(kMostWaiting); }
    void cleanupTestCase() { m_client.reset(); }
    void init() { m_world = std::make_unique<ProfitWorld>(); }
    void cleanup() { m_world.reset(); }

    void read_whileTheNeighbourIsAsked_doesNotWait() {
        std::atomic<int> returned{0};
        m_world->neighbour->onCall([&](ScriptedNeighbour::Call, const QString&) {
            returned += ProfitLockReader(m_world->presenter->realizedProfit()).returns() ? 1 : 0;
        });
        m_world->load();
        QCOMPARE(returned.load(), 3);  // each account
    }

    void read_whileTheTableIsBuilt_doesNotWait_data() {
        QTest::addColumn<QString>("line");
        QTest::newRow("before the first row") << "initRealizedProfit get execution list";
        QTest::newRow("after the last row") << "realized profit leaves out";
    }
    void read_whileTheTableIsBuilt_doesNotWait() {
        QFETCH(QString, line);
        m_world->neighbour->setExecutions({TestDeal::buy(1e300, 10, 1)});
        std::atomic<int> returned{0};
        const LogHook hook(line, [&] {
            returned += ProfitLockReader(m_world->presenter->realizedProfit()).returns() ? 1 : 0;
        });
        m_world->load();
        QCOMPARE(returned.load(), 1);
    }

    void read_whileTheLoadIsAnnounced_waits() {
        std::unique_ptr<ProfitLockReader> reader;
        std::atomic<bool> isBlocked{false};
        const LogHook hook("initRealizedProfit calc realize profit", [&] {
            reader = std::make_unique<ProfitLockReader>(m_world->presenter->realizedProfit());
            isBlocked = reader->isBlocked();
        });
        m_world->load();
        QVERIFY(isBlocked);
        QVERIFY(reader->returns());
    }

    void read_whileABatchOfDealsIsAnnounced_waits() {
        m_world->load();
        m_world->receiveAll();
        // A subscriber whose queue is full: a line is logged while the event is published.
        auto* const full = new RecordingPresenter("Test.Full");
        const int update = ProfitWorld::named(EventMsgName::RealizedProfitUpdateEvent);
        full->SubEvent(full->pluginPid(), update, 1);
        for (int i = 0; i < kMostWaiting; ++i) {
            LocalPlatform::instance().publishEvent(update, i);
            m_world->receiveAll();
        }
        std::unique_ptr<ProfitLockReader> reader;
        std::atomic<bool> isBlocked{false};
        {
            const LogHook hook("messages waiting: events and pushes are dropped", [&] {
                reader = std::make_unique<ProfitLockReader>(m_world->presenter->realizedProfit());
                isBlocked = reader->isBlocked();
            });
            m_world->deal(TestDeal::buy(100, 10, 1));
            m_world->settle();
            m_world->flush();
        }
        QVERIFY(isBlocked);
        QVERIFY(reader->returns());
        full->deleteLater();
    }
};

QTEST_GUILESS_MAIN(PresenterProfitLockTest)
#include "presenter_profit_lock_test.moc"

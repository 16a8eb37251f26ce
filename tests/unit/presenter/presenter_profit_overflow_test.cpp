#include <QtTest>
#include <condition_variable>
#include <mutex>

#include "log_capture.h"
#include "profit_world.h"

namespace {

constexpr int kMostWaiting = 8;

/// A presenter whose message thread can be held.
class HeldPresenter : public VelmarBusinessDataManagerPresenterClass {
public:
    HeldPresenter() : VelmarBusinessDataManagerPresenterClass("Test.Profit", nullptr) {}

    void ProcEventMsg(QString source, QVariant id, QVariant body) override {
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            ++m_begun;
            m_changed.notify_all();
            m_changed.wait(lock, [this] { return !m_isHeld; });
        }
        VelmarBusinessDataManagerPresenterClass::ProcEventMsg(source, id, body);
    }
    /// Holds the next event, and returns when it is held.
    void hold(const std::function<void()>& publish) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_isHeld = true;
        const int begun = m_begun;
        lock.unlock();
        publish();
        lock.lock();
        m_changed.wait(lock, [this, begun] { return m_begun > begun; });
    }
    void release() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isHeld = false;
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isHeld = false;
    int m_begun = 0;
};

}  // namespace

/// Realized profit after events were dropped from the presenter's full queue.
class PresenterProfitOverflowTest : public QObject {
    Q_OBJECT

    std::unique_ptr<ProfitClient> m_client;
    HeldPresenter* m_held = nullptr;
    std::unique_ptr<ProfitWorld> m_world;
    int m_deals = 0;

    /// As the neighbouring data plug-in does: stores a deal, then publishes it.
    void publishDeals(int count) {
        for (int i = 0; i < count; ++i) {
            const QVariantMap deal = TestDeal::buy(100, 10, 1).withId(QString::number(++m_deals));
            m_world->neighbour->addExecution(deal);
            CPackMessageCommon packer;
            packer.AddRowVaule(deal);
            LocalPlatform::instance().publishEvent(ProfitWorld::kNormalDeal,
                                                   packer.GetPackedMsg(false));
        }
    }
    static void publishInit() {
        LocalPlatform::instance().publishEvent(
            ProfitWorld::named(EventMsgName::CalcRealizedProfitInitEvent), {});
    }
    bool hasAllDeals() const {
        return waitFor([this] { return m_world->profit() == -m_deals; });
    }

private slots:
    void initTestCase() { m_client = std::make_unique<ProfitClient>(kMostWaiting); }
    void cleanupTestCase() { m_client.reset(); }
    void init() {
        m_deals = 0;
        m_held = new HeldPresenter;
        m_world = std::make_unique<ProfitWorld>(m_held);
    }
    void cleanup() {
        m_held->release();
        m_world.reset();
    }

    void load_requestedAndDealsReportedWhileTheQueueIsFull_haveNoneMissing() {
        const LogCapture log;
        m_held->hold([this] { publishDeals(1); });
        publishDeals(kMostWaiting + 1);
        publishInit();
        publishDeals(3);
        QVERIFY(log.contains("events and pushes are dropped"));
        m_held->release();
        QVERIFY(hasAllDeals());
        QVERIFY(log.contains("4 events and pushes were dropped"));
        QCOMPARE(m_deals, 1 + kMostWaiting + 4);
    }

    void deals_droppedAfterTheLoad_areCountedAfterTheReload() {
        publishInit();
        QVERIFY(waitFor([this] { return m_world->inits() == 1; }));
        m_held->hold([this] { publishDeals(1); });
        publishDeals(kMostWaiting + 5);
        m_held->release();
        QVERIFY(hasAllDeals());
        QVERIFY(waitFor([this] { return m_world->inits() == 2; }));
        m_world->settle();
        m_world->flush();
        QCOMPARE(m_world->profit(), double(-m_deals));
    }
};

QTEST_GUILESS_MAIN(PresenterProfitOverflowTest)
#include "presenter_profit_overflow_test.moc"

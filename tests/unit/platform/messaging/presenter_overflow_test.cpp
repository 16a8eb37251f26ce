#include <QtTest>

#include "gate.h"
#include "log_capture.h"
#include "platform_fixture.h"

namespace {

constexpr int kMost = 5;
constexpr int kEvent = 0x12345;
constexpr int kSignal = 0x12350;  // without a body
constexpr int kExecutionsReloaded = 0x30001;
constexpr int kPositionsReloaded = 0x31001;

void publish(int count) {
    for (int i = 0; i < count; ++i) {
        LocalPlatform::instance().publishEvent(kEvent, i);
    }
}

QList<int> eventsOf(const ProbePresenter& presenter) {
    QList<int> ids;
    for (const ProbeLog::Call& call : presenter.log->calls()) {
        ids.append(call.type.toInt());
    }
    return ids;
}

/// The events that a presenter gets when it is held in the first one and the queue is full then.
QList<int> withFirst(const QList<int>& behind) {
    QList<int> events;
    for (int i = 0; i < 1 + kMost; ++i) {
        events.append(kEvent);
    }
    return events + behind;
}

}  // namespace

/// What a presenter gets after its queue was full and events were dropped.
class PresenterOverflowTest : public QObject {
    Q_OBJECT

    std::unique_ptr<PlatformFixture> m_platform;
    std::unique_ptr<Gate> m_gate;

    void start(int mostWaiting) {
        m_gate = std::make_unique<Gate>();
        m_platform.reset();
        m_platform = std::make_unique<PlatformFixture>(
            [mostWaiting](LocalPlatform::Options& options) { options.mostWaiting = mostWaiting; });
    }
    ProbePresenter* subscriber(const QList<int>& events, std::function<void()> onReload = {}) {
        auto* const presenter = new ProbePresenter(
            "Test.Full", [wait = m_gate->waiter(), onReload](const ProbeLog::Call& call) {
                wait(call);
                if (onReload && call.type == kExecutionsReloaded) {
                    onReload();
                }
            });
        for (const int event : QList<int>{kEvent} + events) {
            presenter->SubEvent(presenter->pluginPid(), event, 1);
        }
        presenter->initPresenter();
        return presenter;
    }
    /// Holds the presenter in one event, fills its queue and has further events dropped.
    static void overflow(const ProbePresenter& presenter, int dropped) {
        publish(1);
        QVERIFY(presenter.log->waitForCount(1));
        publish(kMost + dropped);
    }

private slots:
    void init() { start(kMost); }
    void cleanup() { m_platform.reset(); }

    void overflow_caughtUp_deliversBothReloadsOnceBehindTheQueue() {
        const LogCapture log;
        ProbePresenter* const presenter = subscriber({kExecutionsReloaded, kPositionsReloaded});
        overflow(*presenter, 3);
        m_gate->open();
        const QList<int> expected = withFirst({kExecutionsReloaded, kPositionsReloaded});
        QVERIFY(presenter->log->waitForCount(expected.size()));
        QVERIFY(log.contains(
            QtWarningMsg,
            "has caught up with half of its messages; 3 events and pushes were dropped"));
        // Nothing else comes before the next event.
        publish(1);
        QVERIFY(presenter->log->waitForCount(expected.size() + 1));
        QCOMPARE(eventsOf(*presenter), expected + QList<int>{kEvent});
        const ProbeLog::Call reload = presenter->log->calls().at(1 + kMost);
        QVERIFY(reload.kind == ProbeLog::Kind::Event);
        QVERIFY(!reload.body.isValid());
    }

    void overflow_subscribedToOne_deliversThatOne_data() {
        QTest::addColumn<QList<int>>("subscribed");
        QTest::newRow("executions") << QList<int>{kExecutionsReloaded};
        QTest::newRow("positions") << QList<int>{kPositionsReloaded};
        QTest::newRow("neither") << QList<int>{};
    }
    void overflow_subscribedToOne_deliversThatOne() {
        QFETCH(QList<int>, subscribed);
        const LogCapture log;
        ProbePresenter* const presenter = subscriber(subscribed);
        overflow(*presenter, 1);
        m_gate->open();
        QVERIFY(log.waitFor("has caught up"));
        QVERIFY(presenter->log->waitForCount(withFirst(subscribed).size()));
        publish(1);
        QVERIFY(presenter->log->waitForCount(withFirst(subscribed).size() + 1));
        QCOMPARE(eventsOf(*presenter), withFirst(subscribed) + QList<int>{kEvent});
    }

    void overflow_ofAnother_deliversNothingToThisOne() {
        ProbePresenter* const full = subscriber({kExecutionsReloaded});
        auto* const other = new ProbePresenter("Test.Other");
        other->SubEvent(other->pluginPid(), kExecutionsReloaded, 1);
        other->SubEvent(other->pluginPid(), kEvent + 1, 1);
        other->initPresenter();
        overflow(*full, 1);
        m_gate->open();
        QVERIFY(full->log->waitForCount(withFirst({kExecutionsReloaded}).size()));
        LocalPlatform::instance().publishEvent(kEvent + 1, {});
        QVERIFY(other->log->waitForCount(1));
        QCOMPARE(eventsOf(*other), QList<int>{kEvent + 1});
    }

    void overflow_again_deliversTheReloadsAgain() {
        const LogCapture log;
        int reloads = 0;
        // Handling the first reload fills the queue again.
        ProbePresenter* const presenter = subscriber({kExecutionsReloaded}, [&reloads] {
            if (++reloads == 1) {
                publish(kMost + 2);
            }
        });
        overflow(*presenter, 1);
        m_gate->open();
        QVERIFY(log.waitFor(
            "has caught up with half of its messages; 2 events and pushes were dropped"));
        const QList<int> expected = withFirst({kExecutionsReloaded}) + withFirst({}).mid(1) +
                                    QList<int>{kExecutionsReloaded};
        QVERIFY(presenter->log->waitForCount(expected.size()));
        publish(1);
        QVERIFY(presenter->log->waitForCount(expected.size() + 1));
        QCOMPARE(eventsOf(*presenter), expected + QList<int>{kEvent});
    }

    void overflow_withASmallLimit_deliversBothReloadsOnce_data() {
        QTest::addColumn<int>("limit");
        QTest::newRow("0") << 0;
        QTest::newRow("1") << 1;
        QTest::newRow("2") << 2;
    }
    void overflow_withASmallLimit_deliversBothReloadsOnce() {
        QFETCH(int, limit);
        start(limit);
        const LogCapture log;
        ProbePresenter* const presenter =
            subscriber({kExecutionsReloaded, kPositionsReloaded, kSignal});
        LocalPlatform::instance().publishEvent(kSignal, {});
        QVERIFY(presenter->log->waitForCount(1));
        publish(limit + 1);
        m_gate->open();
        QList<int> expected{kSignal};
        for (int i = 0; i < limit; ++i) {
            expected.append(kEvent);
        }
        expected += {kExecutionsReloaded, kPositionsReloaded};
        QVERIFY(presenter->log->waitForCount(expected.size()));
        LocalPlatform::instance().publishEvent(kSignal, {});
        QVERIFY(presenter->log->waitForCount(expected.size() + 1));
        QCOMPARE(eventsOf(*presenter), expected + QList<int>{kSignal});
        QCOMPARE(log.texts(QtWarningMsg).filter("has caught up").size(), 1);
    }

    void overflow_backlogThatNeverEnds_deliversTheReloadsOnceBelowHalf() {
        int handled = 0;
        auto* const presenter =
            new ProbePresenter("Test.Busy", [&handled, wait = m_gate->waiter()](const auto& call) {
                wait(call);
                ++handled;
                // Two messages wait after the fourth; each further one brings another.
                if (handled > 4 && handled < 30) {
                    publish(1);
                }
            });
        for (const int event : {kEvent, kExecutionsReloaded, kPositionsReloaded}) {
            presenter->SubEvent(presenter->pluginPid(), event, 1);
        }
        presenter->initPresenter();
        overflow(*presenter, 3);
        m_gate->open();
        QVERIFY(presenter->log->waitForCount(33));
        const QList<int> events = eventsOf(*presenter);
        QCOMPARE(events.mid(0, 8), withFirst({kExecutionsReloaded, kPositionsReloaded}));
        QCOMPARE(events.count(kExecutionsReloaded), 1);
        QCOMPARE(events.count(kPositionsReloaded), 1);
    }

    void overflow_eventsWithoutABody_keepsOneOfEach() {
        ProbePresenter* const presenter = subscriber({kSignal, kSignal + 1});
        overflow(*presenter, 0);
        for (int i = 0; i < 3; ++i) {
            LocalPlatform::instance().publishEvent(kSignal, {});
            LocalPlatform::instance().publishEvent(kSignal + 1, {});
        }
        m_gate->open();
        const QList<int> expected = withFirst({kSignal, kSignal + 1});
        QVERIFY(presenter->log->waitForCount(expected.size()));
        // One that was handled does not stand for a later one.
        LocalPlatform::instance().publishEvent(kSignal, {});
        QVERIFY(presenter->log->waitForCount(expected.size() + 1));
        QCOMPARE(eventsOf(*presenter), expected + QList<int>{kSignal});
    }

    void longQueue_withoutADrop_deliversNoReload() {
        ProbePresenter* const presenter = subscriber({kExecutionsReloaded, kPositionsReloaded});
        overflow(*presenter, 0);
        m_gate->open();
        QVERIFY(presenter->log->waitForCount(1 + kMost));
        publish(1);
        QVERIFY(presenter->log->waitForCount(2 + kMost));
        QCOMPARE(eventsOf(*presenter), withFirst({kEvent}));
    }
};

QTEST_GUILESS_MAIN(PresenterOverflowTest)
#include "presenter_overflow_test.moc"

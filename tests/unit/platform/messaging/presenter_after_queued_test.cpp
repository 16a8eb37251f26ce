#include <QtTest>
#include <atomic>
#include <mutex>

#include "living_presenter.h"
#include "local_platform.h"
#include "thread_hand_over.h"
#include "wait_for.h"

class PresenterAfterQueuedTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_platform = std::make_unique<PlatformFixture>(); }
    void cleanup() { m_platform.reset(); }

    void afterQueued_slotUnderWay_comesBehindIt() {
        auto* const presenter = new LivingPresenter;
        const std::shared_ptr<Trace> trace = presenter->trace;
        std::mutex held;
        held.lock();
        presenter->onSlot = [&held] { const std::lock_guard<std::mutex> wait(held); };
        runOnThreadOf(
            presenter, [presenter] { presenter->slotWork(); }, Qt::QueuedConnection);
        presenter->initPresenter();
        QVERIFY(waitFor([&] { return trace->entered.load(); }));
        std::atomic<int> callsBefore{-1};
        LocalPlatform::instance().afterQueued(
            [&callsBefore, trace] { callsBefore = trace->slotCalls.load(); });
        QCOMPARE(callsBefore.load(), -1);
        held.unlock();
        QVERIFY(waitFor([&] { return callsBefore != -1; }));
        QCOMPARE(callsBefore.load(), 1);
        presenter->deleteLater();
    }

    void afterQueued_noPresenterOrOneUnstarted_comesAtOnce() {
        int calls = 0;
        LocalPlatform::instance().afterQueued([&calls] { ++calls; });
        QCOMPARE(calls, 1);
        auto* const presenter = new LivingPresenter;
        LocalPlatform::instance().afterQueued([&calls] { ++calls; });
        QCOMPARE(calls, 2);
        presenter->deleteLater();
    }

    void afterQueued_presenterDisposedOf_isNotWaitedFor() {
        auto* const presenter = new LivingPresenter;
        const std::shared_ptr<Trace> trace = presenter->trace;
        presenter->onSlot = [presenter] { presenter->waitForTheEnd(); };
        runOnThreadOf(
            presenter, [presenter] { presenter->slotWork(); }, Qt::QueuedConnection);
        presenter->initPresenter();
        QVERIFY(waitFor([&] { return trace->entered.load(); }));
        std::atomic<int> calls{0};
        LocalPlatform::instance().afterQueued([&calls] { ++calls; });
        presenter->deleteLater();
        QVERIFY(waitFor([&] { return calls == 1; }));
        QCOMPARE(trace->destroyed.load(), 1);
    }

private:
    std::unique_ptr<PlatformFixture> m_platform;
};

QTEST_GUILESS_MAIN(PresenterAfterQueuedTest)
#include "presenter_after_queued_test.moc"

#include <QtTest>
#include <atomic>
#include <future>
#include <memory>
#include <thread>

#include "living_presenter.h"
#include "local_platform.h"
#include "log_capture.h"
#include "thread_hand_over.h"
#include "wait_for.h"
#include "zncore/zn_core.h"

namespace {

constexpr int kFailed = 2;

/// What a plug-in's object does when the host begins to close: runs a function on the thread that
/// closes.
class CloseListener {
public:
    template <class Function>
    explicit CloseListener(Function function) {
        QObject::connect(
            ZnCore::instance(), &ZnCore::signalAboutToClose, &m_context,
            [this, function] {
                ++calls;
                function();
            },
            Qt::DirectConnection);
    }

    mutable std::atomic<int> calls{0};

private:
    QObject m_context;
};

int sendAsync(ZnPresenterClass* presenter) {
    return presenter->sendRequest_Async(makeMessage(presenter, kLivingType));
}

/// Keeps the presenter's object thread busy until release().
class Hold {
public:
    explicit Hold(LivingPresenter* presenter) {
        presenter->onSlot = [released = m_release.get_future().share()] { released.wait(); };
        runOnThreadOf(
            presenter, [presenter] { presenter->slotWork(); }, Qt::QueuedConnection);
        m_isHeld = waitFor([trace = presenter->trace] { return trace->entered.load(); });
    }
    bool isHeld() const { return m_isHeld; }
    void release() { m_release.set_value(); }

private:
    std::promise<void> m_release;
    bool m_isHeld = false;
};

}  // namespace

/// The first steps of the shut-down: what plug-ins may still send, and for how long.
class PlatformCloseTest : public QObject {
    Q_OBJECT

    std::unique_ptr<PlatformFixture> m_platform;
    LivingPresenter* m_presenter = nullptr;

    /// A platform whose close waits for plug-ins at most this long, with a running presenter.
    void start(std::chrono::milliseconds lastSendLimit) {
        m_platform.reset();  // before the next one starts
        m_platform = std::make_unique<PlatformFixture>(
            [=](LocalPlatform::Options& options) { options.lastSendLimit = lastSendLimit; });
        m_platform->link->on(kLivingType, ScriptedReply::rows({}));
        m_presenter = new LivingPresenter;
        m_presenter->initPresenter();
    }

private slots:
    void cleanup() { m_platform.reset(); }

    void beginClose_signal_comesFirstWhileRequestsStillGoOut() {
        start(std::chrono::minutes(1));
        int result = -1;
        bool wasClosing = true;
        const CloseListener listener([&] {
            wasClosing = LocalPlatform::instance().isClosing();
            QVariant response;
            result = m_presenter->sendRequest_Sync(makeMessage(m_presenter, kLivingType), response);
        });
        LocalPlatform::instance().beginClose();
        QCOMPARE(listener.calls.load(), 1);
        QVERIFY(!wasClosing);
        QCOMPARE(result, 0);
        QVERIFY(LocalPlatform::instance().isClosing());
        QCOMPARE(sendAsync(m_presenter), kFailed);
    }

    void beginClose_requestQueuedByASlot_isAnsweredBeforeItReturns() {
        start(std::chrono::minutes(1));
        std::atomic<int> result{-1};
        const CloseListener listener([&] {
            runOnThreadOf(
                m_presenter, [this, &result] { result = sendAsync(m_presenter); },
                Qt::QueuedConnection);
        });
        const LogCapture log;
        LocalPlatform::instance().beginClose();
        QCOMPARE(result.load(), 0);
        QCOMPARE(m_platform->link->requestCount(kLivingType), 1);
        QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
        QVERIFY(!log.contains("without an answer"));
        QVERIFY(!log.contains("closing while plug-ins still send"));
    }

    void beginClose_slotWaitsForAnAnswer_isFreedAndWhatFollowsIsSent() {
        start(std::chrono::minutes(1));
        m_platform->link->onOccurrence(kLivingType, 1, ScriptedReply::never());
        runOnThreadOf(
            m_presenter, [this] { m_presenter->sendAndKeepTheResult(); }, Qt::QueuedConnection);
        QVERIFY(m_platform->link->waitForRequestCount(kLivingType, 1));
        std::atomic<int> result{-1};
        const CloseListener listener([&] {
            runOnThreadOf(
                m_presenter, [this, &result] { result = sendAsync(m_presenter); },
                Qt::QueuedConnection);
        });
        LocalPlatform::instance().beginClose();
        QCOMPARE(m_presenter->trace->sendResult.load(), kFailed);
        QCOMPARE(result.load(), 0);
        QCOMPARE(m_platform->link->requestCount(kLivingType), 2);
    }

    void beginClose_presenterBusy_waitsUpToTheLimit() {
        start(std::chrono::milliseconds(30));
        Hold hold(m_presenter);
        QVERIFY(hold.isHeld());
        const CloseListener listener([] {});
        const LogCapture log;
        LocalPlatform::instance().beginClose();
        QVERIFY(
            log.contains(QtInfoMsg, "closing while plug-ins still send: not done within 30 ms"));
        QVERIFY(LocalPlatform::instance().isClosing());
        QCOMPARE(sendAsync(m_presenter), kFailed);
        hold.release();
    }

    void beginClose_requestUnanswered_waitsUpToTheLimitAndFailsIt() {
        start(std::chrono::milliseconds(30));
        m_platform->link->on(kLivingType, ScriptedReply::never());
        const CloseListener listener([this] { sendAsync(m_presenter); });
        const LogCapture log;
        LocalPlatform::instance().beginClose();
        QVERIFY(log.contains(QtInfoMsg, "closing while plug-ins still send"));
        QVERIFY(log.contains(QtWarningMsg, "the host is closing"));
        QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
    }

    void beginClose_earlierRequestUnanswered_isNotWaitedFor() {
        start(std::chrono::minutes(1));
        m_platform->link->onOccurrence(kLivingType, 1, ScriptedReply::never());
        QCOMPARE(sendAsync(m_presenter), 0);
        const CloseListener listener([] {});
        const LogCapture log;
        LocalPlatform::instance().beginClose();
        QVERIFY(!log.contains("closing while plug-ins still send"));
        QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
    }

    void beginClose_nothingConnected_waitsForNobody() {
        start(std::chrono::hours(1));
        Hold hold(m_presenter);
        QVERIFY(hold.isHeld());
        LocalPlatform::instance().beginClose();
        QVERIFY(LocalPlatform::instance().isClosing());
        hold.release();
    }

    void beginClose_onAPresentersThread_doesNotWaitForItself() {
        start(std::chrono::hours(1));
        const CloseListener listener([] {});
        const auto closed = std::make_shared<std::promise<void>>();
        std::future<void> end = closed->get_future();
        runOnThreadOf(
            m_presenter,
            [closed] {
                LocalPlatform::instance().beginClose();
                closed->set_value();
            },
            Qt::QueuedConnection);
        QVERIFY(waitFor(
            [&end] { return end.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
        QCOMPARE(listener.calls.load(), 1);
    }

    void beginClose_onABareThread_waitsForWhatIsQueuedToTheApplicationsThread() {
        start(std::chrono::minutes(1));
        QObject onThisThread;
        const CloseListener listener([&] {
            runOnThreadOf(
                &onThisThread, [this] { sendAsync(m_presenter); }, Qt::QueuedConnection);
        });
        auto closing =
            std::async(std::launch::async, [] { LocalPlatform::instance().beginClose(); });
        QVERIFY(waitFor([&closing] {
            return closing.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
        }));
        QCOMPARE(m_platform->link->requestCount(kLivingType), 1);
    }

    void beginClose_calledAgain_doesNotRaiseTheSignal() {
        start(std::chrono::minutes(1));
        const CloseListener listener([] {});
        LocalPlatform::instance().beginClose();
        LocalPlatform::instance().beginClose();
        LocalPlatform::instance().close();
        QCOMPARE(listener.calls.load(), 1);
        start(std::chrono::minutes(1));
        LocalPlatform::instance().close();
        QCOMPARE(listener.calls.load(), 2);
    }

    void endWaits_requests_failUnlessTheyAreAsynchronous() {
        start(std::chrono::minutes(1));
        m_platform->link->onOccurrence(kLivingType, 1, ScriptedReply::never());
        std::atomic<int> calls{0};
        const CloseListener listener([&calls] { ++calls; });
        runOnThreadOf(
            m_presenter, [this] { m_presenter->sendAndKeepTheResult(); }, Qt::QueuedConnection);
        QVERIFY(m_platform->link->waitForRequestCount(kLivingType, 1));
        LocalPlatform::instance().endWaits();
        QVERIFY(waitFor([this] { return m_presenter->trace->sendResult == kFailed; }));
        QVERIFY(LocalPlatform::instance().isClosing());
        QVERIFY(m_presenter->isClosing());
        QVariant response;
        QCOMPARE(m_presenter->sendRequest_Sync(makeMessage(m_presenter, kLivingType), response),
                 kFailed);
        QCOMPARE(textOf(response), QString("the host is closing"));
        QCOMPARE(sendAsync(m_presenter), 0);
        QCOMPARE(m_platform->link->requestCount(kLivingType), 2);
        QCOMPARE(calls.load(), 0);
        LocalPlatform::instance().beginClose();
        QCOMPARE(calls.load(), 1);
        QCOMPARE(sendAsync(m_presenter), kFailed);
    }

    void setSkin_anyThread_savesItAndRaisesTheSignalOnTheApplications() {
        start(std::chrono::minutes(1));
        QStringList shown;
        QThread* raisedOn = nullptr;
        QObject context;
        connect(
            ZnCore::instance(), &ZnCore::signalSkinChanged, &context,
            [&](const QString& skinId) {
                shown.append(skinId + ' ' + ZnCore::instance()->getCurrentSkinId());
                raisedOn = QThread::currentThread();
            },
            Qt::DirectConnection);
        QVERIFY(LocalPlatform::instance().setSkin("black"));
        QCOMPARE(shown, QStringList{"black black"});
        bool isSet = false;
        std::thread other([&isSet] { isSet = LocalPlatform::instance().setSkin("white"); });
        other.join();
        QVERIFY(isSet);
        QVERIFY(waitFor([&shown] { return shown.size() == 2; }));
        QCOMPARE(shown.last(), QString("white white"));
        QCOMPARE(raisedOn, qApp->thread());
        QCOMPARE(ZnCore::instance()->getCurrentSkinId(), QString("white"));
    }

    void setSkin_emptyId_isRefused() {
        start(std::chrono::minutes(1));
        QVERIFY(LocalPlatform::instance().setSkin("black"));
        QSignalSpy changes(ZnCore::instance(), &ZnCore::signalSkinChanged);
        const LogCapture log;
        QVERIFY(!LocalPlatform::instance().setSkin(""));
        QCOMPARE(changes.count(), 0);
        QCOMPARE(ZnCore::instance()->getCurrentSkinId(), QString("black"));
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
    }
};

QTEST_GUILESS_MAIN(PlatformCloseTest)
#include "platform_close_test.moc"

#include "living_presenter.h"
#include "log_capture.h"
#include "thread_hand_over.h"

namespace {

/// Queued: the presenter lives on another thread.
void callSlot(LivingPresenter* presenter) {
    runOnThreadOf(presenter, [presenter] { presenter->slotWork(); });
}

/// What a presenter with a slow constructor shares with the test.
struct Making {
    std::atomic<bool> begun{false};
    std::atomic<bool> mayEnd{false};
    std::atomic<int> destroyed{0};
};

/// Its constructor ends when the test lets it.
class SlowPresenter : public ZnPresenterClass {
public:
    explicit SlowPresenter(Making& making)
        : ZnPresenterClass(QStringLiteral("Test.Slow"), nullptr, IMessageInterface::OwnThreads),
          m_making(making) {
        m_making.begun = true;
        while (!m_making.mayEnd) {
            std::this_thread::yield();
        }
    }
    ~SlowPresenter() override { ++m_making.destroyed; }

private:
    Making& m_making;
};

}  // namespace

class PresenterLifecycleTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_platform = std::make_unique<PlatformFixture>(); }
    void cleanup() { m_platform.reset(); }

    void deleteLater_fromAnyOtherThread_isDoneWhenItReturns_data();
    void deleteLater_fromAnyOtherThread_isDoneWhenItReturns();
    void deleteLater_fromItsObjectThread_returnsAndIsDoneLater();
    void deleteLater_fromItsMessageThread_returnsAndIsDoneLater();
    void deleteLater_ofAnother_fromAPresentersThread_isDoneWhenItReturns();
    void deleteLater_beforeInitPresenter_deletesAndDropsWhatWasQueued();
    void deleteLater_whileASyncRequestWaits_endsItFirst_data();
    void deleteLater_whileASyncRequestWaits_endsItFirst();
    void deleteLater_whileWorkWaitsForTheEnd_endsIt();
    void deleteLater_withQueuedCalls_runsNoneAfterItReturned();
    void deleteLater_fromManyThreadsAtOnce_deletesOnce();
    void deleteLater_destructorSends_getsTwoAtOnce();
    void deleteLater_afterTheHostClosed_stillDeletes();
    void isClosing_followsPresenterAndHost();
    void close_disposesOfEveryPresenter();
    void close_presenterStillInItsConstructorElsewhere_isLeftUndeleted();
    void close_whileAPresenterDisposesOfItself_waitsForIt();
    void close_twice_disposesOfPresentersMadeInBetween();
    void start_afterClose_takesTheClosingStateBack();

private:
    std::unique_ptr<PlatformFixture> m_platform;
};

void PresenterLifecycleTest::deleteLater_fromAnyOtherThread_isDoneWhenItReturns_data() {
    QTest::addColumn<bool>("onMain");
    QTest::newRow("main thread") << true;
    QTest::newRow("a thread of nobody") << false;
}

void PresenterLifecycleTest::deleteLater_fromAnyOtherThread_isDoneWhenItReturns() {
    QFETCH(bool, onMain);
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    presenter->initPresenter();
    QThread* const objectThread = presenter->thread();
    int destroyedAtReturn = -1;
    const auto dispose = [&] {
        presenter->deleteLater();
        destroyedAtReturn = trace->destroyed;
    };
    if (onMain) {
        dispose();
    } else {
        std::thread(dispose).join();
    }
    QCOMPARE(destroyedAtReturn, 1);
    QCOMPARE(trace->destructorThread.load(), objectThread);
    QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
}

void PresenterLifecycleTest::deleteLater_fromItsObjectThread_returnsAndIsDoneLater() {
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    QThread* const objectThread = presenter->thread();
    std::atomic<int> destroyedAtReturn{-1};
    presenter->onSlot = [&, presenter] {
        presenter->deleteLater();
        destroyedAtReturn = trace->destroyed.load();
    };
    presenter->initPresenter();
    callSlot(presenter);
    QVERIFY(waitFor([] { return LocalPlatform::instance().presenterCount() == 0; }));
    QCOMPARE(destroyedAtReturn.load(), 0);
    QCOMPARE(trace->slotCalls.load(), 1);
    QCOMPARE(trace->destroyed.load(), 1);
    QCOMPARE(trace->destructorThread.load(), objectThread);
}

void PresenterLifecycleTest::deleteLater_fromItsMessageThread_returnsAndIsDoneLater() {
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    QThread* const objectThread = presenter->thread();
    presenter->onEvent = [presenter] { presenter->deleteLater(); };
    presenter->initPresenter();
    LocalPlatform::instance().publishEvent(kLivingEvent, 1);
    LocalPlatform::instance().publishEvent(kLivingEvent, 2);
    QVERIFY(waitFor([] { return LocalPlatform::instance().presenterCount() == 0; }));
    QCOMPARE(trace->procCalls.load(), 1);
    QCOMPARE(trace->destroyed.load(), 1);
    QCOMPARE(trace->destructorThread.load(), objectThread);
}

void PresenterLifecycleTest::deleteLater_ofAnother_fromAPresentersThread_isDoneWhenItReturns() {
    auto* const disposer = new LivingPresenter;
    auto* const disposed = new LivingPresenter;
    const std::shared_ptr<Trace> trace = disposed->trace;
    std::atomic<int> destroyedAtReturn{-1};
    disposer->onSlot = [&] {
        disposed->deleteLater();
        destroyedAtReturn = trace->destroyed.load();
    };
    disposer->initPresenter();
    disposed->initPresenter();
    callSlot(disposer);
    QVERIFY(waitFor([&] { return destroyedAtReturn == 1; }));
    QCOMPARE(LocalPlatform::instance().presenterCount(), 1);
}

void PresenterLifecycleTest::deleteLater_beforeInitPresenter_deletesAndDropsWhatWasQueued() {
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    QThread* const objectThread = presenter->thread();
    callSlot(presenter);
    LocalPlatform::instance().publishEvent(kLivingEvent, {});
    presenter->deleteLater();
    QCOMPARE(trace->destroyed.load(), 1);
    QCOMPARE(trace->destructorThread.load(), objectThread);
    QCOMPARE(trace->slotCalls.load(), 0);
    QCOMPARE(trace->procCalls.load(), 0);
    QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
}

void PresenterLifecycleTest::deleteLater_whileASyncRequestWaits_endsItFirst_data() {
    QTest::addColumn<QString>("where");
    QTest::newRow("object thread") << "slot";
    QTest::newRow("message thread") << "entry";
    QTest::newRow("a thread of nobody") << "thread";
}

void PresenterLifecycleTest::deleteLater_whileASyncRequestWaits_endsItFirst() {
    QFETCH(QString, where);
    m_platform->link->on(kLivingType, ScriptedReply::never());
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    presenter->onSlot = presenter->onEvent = [presenter] { presenter->sendAndKeepTheResult(); };
    presenter->initPresenter();
    std::thread foreign;
    if (where == "slot") {
        callSlot(presenter);
    } else if (where == "entry") {
        LocalPlatform::instance().publishEvent(kLivingEvent, {});
    } else {
        foreign = std::thread([presenter, trace] {
            QVariant response;
            trace->sendResult =
                presenter->sendRequest_Sync(makeMessage(presenter, kLivingType), response);
        });
    }
    QVERIFY(m_platform->link->waitForRequestCount(kLivingType, 1));
    presenter->deleteLater();
    QCOMPARE(trace->destroyed.load(), 1);
    if (foreign.joinable()) {
        foreign.join();
    }
    QCOMPARE(trace->sendResult.load(), 2);
}

void PresenterLifecycleTest::deleteLater_whileWorkWaitsForTheEnd_endsIt() {
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    std::atomic<int> waiting{0};
    presenter->onSlot = presenter->onEvent = [&, presenter] {
        ++waiting;
        presenter->waitForTheEnd();
    };
    presenter->initPresenter();
    callSlot(presenter);
    LocalPlatform::instance().publishEvent(kLivingEvent, {});
    QVERIFY(waitFor([&] { return waiting == 2; }));
    presenter->deleteLater();
    QCOMPARE(trace->destroyed.load(), 1);
    QCOMPARE(trace->slotCalls.load(), 1);
    QCOMPARE(trace->procCalls.load(), 1);
}

void PresenterLifecycleTest::deleteLater_withQueuedCalls_runsNoneAfterItReturned() {
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    presenter->onSlot = [presenter] { presenter->waitForTheEnd(); };
    presenter->initPresenter();
    for (int i = 0; i < 3; ++i) {
        callSlot(presenter);
    }
    QVERIFY(waitFor([&] { return trace->entered.load(); }));
    presenter->deleteLater();
    QCOMPARE(trace->destroyed.load(), 1);
    // Calls that the event loop had fetched together with the first one still ran.
    const int calls = trace->slotCalls;
    QCoreApplication::processEvents();
    QCOMPARE(trace->slotCalls.load(), calls);
}

void PresenterLifecycleTest::deleteLater_fromManyThreadsAtOnce_deletesOnce() {
    for (int round = 0; round < 20; ++round) {
        auto* const presenter = new LivingPresenter;
        const std::shared_ptr<Trace> trace = presenter->trace;
        // Inside a function of the presenter's own, so that the presenter exists until every call
        // has returned except the one that does the work.
        std::atomic<bool> go{false};
        std::atomic<int> returned{0};
        presenter->onEvent = [&] {
            while (returned < 3) {
                QThread::yieldCurrentThread();
            }
        };
        presenter->initPresenter();
        LocalPlatform::instance().publishEvent(kLivingEvent, {});
        QVERIFY(waitFor([&] { return trace->entered.load(); }));
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&, presenter] {
                while (!go) {
                    std::this_thread::yield();
                }
                presenter->deleteLater();
                ++returned;
            });
        }
        go = true;
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(trace->destroyed.load(), 1);
    }
}

void PresenterLifecycleTest::deleteLater_destructorSends_getsTwoAtOnce() {
    m_platform->link->on(kLivingType, ScriptedReply::rows({}));
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    presenter->sendsAtTheEnd = true;
    presenter->initPresenter();
    presenter->deleteLater();
    QCOMPARE(trace->destroyed.load(), 1);
    QCOMPARE(trace->sendResult.load(), 2);
    QCOMPARE(m_platform->link->requestCount(kLivingType), 0);
}

void PresenterLifecycleTest::deleteLater_afterTheHostClosed_stillDeletes() {
    LocalPlatform::instance().close();
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    presenter->initPresenter();
    presenter->deleteLater();
    QCOMPARE(trace->destroyed.load(), 1);
    QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
}

void PresenterLifecycleTest::isClosing_followsPresenterAndHost() {
    auto* const one = new LivingPresenter;
    auto* const two = new LivingPresenter;
    std::atomic<bool> seen{false};
    one->onEvent = [&, one] {
        one->waitForTheEnd();
        seen = true;
    };
    QVERIFY(!one->isClosing());
    one->initPresenter();
    LocalPlatform::instance().publishEvent(kLivingEvent, {});
    QVERIFY(waitFor([&] { return one->trace->entered.load(); }));
    one->deleteLater();
    QVERIFY(seen);
    QVERIFY(!two->isClosing());
    QVERIFY(!LocalPlatform::instance().isClosing());
    LocalPlatform::instance().close();
    auto* const three = new LivingPresenter;
    QVERIFY(three->isClosing());
    QVERIFY(LocalPlatform::instance().isClosing());
    three->deleteLater();
}

void PresenterLifecycleTest::close_disposesOfEveryPresenter() {
    std::vector<std::shared_ptr<Trace>> traces;
    for (int i = 0; i < 4; ++i) {
        auto* const presenter = new LivingPresenter;
        traces.push_back(presenter->trace);
        if (i % 2) {
            presenter->onSlot = [presenter] { presenter->waitForTheEnd(); };
            presenter->initPresenter();
            callSlot(presenter);
            QVERIFY(waitFor([&] { return traces.back()->entered.load(); }));
        }
    }
    QCOMPARE(LocalPlatform::instance().presenterCount(), 4);
    LocalPlatform::instance().close();
    QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
    for (const auto& trace : traces) {
        QCOMPARE(trace->destroyed.load(), 1);
    }
}

void PresenterLifecycleTest::close_presenterStillInItsConstructorElsewhere_isLeftUndeleted() {
    TempHome home;
    LocalPlatform::Options options = home.options();
    options.buildLimit = std::chrono::milliseconds(1);
    QString error;
    QVERIFY2(LocalPlatform::instance().start(options, &error), qPrintable(error));
    Making making;
    LogCapture log;
    SlowPresenter* made = nullptr;
    int sendResult = -1;
    std::thread builder([&] {
        made = new SlowPresenter(making);
        made->initPresenter();
        made->deleteLater();  // it takes part in nothing any more, and that is not undone
        QVariant response;
        sendResult = made->sendRequest_Sync(makeMessage(made, kLivingType), response);
    });
    const bool begun = waitFor([&] { return making.begun.load(); });
    LocalPlatform::instance().close();
    const int destroyedByClose = making.destroyed;
    const int left = LocalPlatform::instance().presenterCount();
    making.mayEnd = true;
    builder.join();
    QVERIFY(begun);
    QCOMPARE(destroyedByClose, 0);
    QCOMPARE(left, 0);
    QVERIFY(log.contains(QtCriticalMsg, "is still being made by another thread"));
    QCOMPARE(sendResult, 2);
    QCOMPARE(making.destroyed.load(), 0);
    delete made;  // nobody else ever does
}

void PresenterLifecycleTest::close_whileAPresenterDisposesOfItself_waitsForIt() {
    for (int round = 0; round < 20; ++round) {
        QString error;
        TempHome home;
        QVERIFY(LocalPlatform::instance().start(home.options(), &error));
        auto* const presenter = new LivingPresenter;
        const std::shared_ptr<Trace> trace = presenter->trace;
        presenter->onEvent = [presenter] { presenter->deleteLater(); };
        presenter->initPresenter();
        LocalPlatform::instance().publishEvent(kLivingEvent, {});
        if (round % 2) {
            QVERIFY(waitFor([&] { return trace->entered.load(); }));
        }
        LocalPlatform::instance().close();
        QCOMPARE(trace->destroyed.load(), 1);
    }
}

void PresenterLifecycleTest::close_twice_disposesOfPresentersMadeInBetween() {
    LocalPlatform::instance().close();
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    LocalPlatform::instance().close();
    QCOMPARE(trace->destroyed.load(), 1);
}

void PresenterLifecycleTest::start_afterClose_takesTheClosingStateBack() {
    LocalPlatform::instance().close();
    TempHome home;
    QString error;
    QVERIFY2(LocalPlatform::instance().start(home.options(), &error), qPrintable(error));
    QVERIFY(!LocalPlatform::instance().isClosing());
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    presenter->initPresenter();
    LocalPlatform::instance().publishEvent(kLivingEvent, {});
    QVERIFY(waitFor([&] { return trace->procCalls == 1; }));
    LocalPlatform::instance().close();
}

QTEST_GUILESS_MAIN(PresenterLifecycleTest)
#include "presenter_lifecycle_test.moc"

#include <QPointer>

#include "gate.h"
#include "living_presenter.h"
#include "log_capture.h"
#include "presenter_channel.h"

class Sender : public QObject {
    Q_OBJECT

public:
    explicit Sender(LivingPresenter* to) {
        connect(this, &Sender::signalWork, to, &LivingPresenter::slotWork);
        connect(this, &Sender::signalRecord, to, &LivingPresenter::slotRecord);
        connect(this, &Sender::signalList, to, &LivingPresenter::slotList);
        connect(this, &Sender::signalPresenter, to, &LivingPresenter::slotPresenter);
    }

signals:
    void signalWork();
    void signalRecord(QVariantMap& record);
    void signalList(QList<QVariantMap>& list);
    void signalPresenter(ZnPresenterClass* presenter);
};

/// Publishes further events, whose bodies count up.
void publish(int* sent, int count) {
    for (int i = 0; i < count; ++i) {
        LocalPlatform::instance().publishEvent(kLivingEvent, (*sent)++);
    }
}

class PresenterThreadsTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_platform = std::make_unique<PlatformFixture>(); }
    void cleanup() { m_platform.reset(); }

    void pluginPid_sameInstanceId_isNumberedFromTheSecondOn();
    void pluginPid_ofADisposedPresenter_isNotGivenOutAgain();
    void constructor_parentGiven_isNotTheQObjectParent();
    void constructor_otherThreadType_warnsAndHasItsThreads();
    void threads_slotsAndEntries_runOnTwoThreadsOfItsOwn();
    void emission_toAnUnstartedPresenter_isDeliveredAfterInitPresenter();
    void emission_referenceArguments_crossThreadsAsCopies();
    void child_handedOver_keepsItsParentAndWorksOnTheObjectThread();
    void queue_manyWaiting_warnsOnceUntilItIsEmpty_data();
    void queue_manyWaiting_warnsOnceUntilItIsEmpty();
    void queue_full_dropsAllButAnswersAndCountsThem();
    void initPresenter_twice_startsOnce();
    void initPresenter_hostClosing_startsNothingAndLogsIt();
    void objectThread_askedToQuitBySomebodyElse_goesOn();

private:
    std::unique_ptr<PlatformFixture> m_platform;
};

void PresenterThreadsTest::pluginPid_sameInstanceId_isNumberedFromTheSecondOn() {
    QStringList ids;
    for (int i = 0; i < 3; ++i) {
        ids.append((new ProbePresenter("Test.Numbered"))->pluginPid());
    }
    QCOMPARE(ids, (QStringList{"Test.Numbered", "Test.Numbered#2", "Test.Numbered#3"}));
    QCOMPARE((new ProbePresenter("Test.Numbered#4"))->pluginPid(), QString("Test.Numbered#4"));
    QCOMPARE((new ProbePresenter("Test.Numbered"))->pluginPid(), QString("Test.Numbered#5"));
    // An id that a presenter of another instance has is not given out again.
    QCOMPARE((new ProbePresenter("Test.Numbered#2"))->pluginPid(), QString("Test.Numbered#2#2"));
    QCOMPARE((new ProbePresenter("Test.Numbered#9"))->pluginPid(), QString("Test.Numbered#9"));
}

void PresenterThreadsTest::pluginPid_ofADisposedPresenter_isNotGivenOutAgain() {
    auto* const first = new ProbePresenter("Test.Again");
    QCOMPARE(first->pluginPid(), QString("Test.Again"));
    first->deleteLater();
    QCOMPARE((new ProbePresenter("Test.Again"))->pluginPid(), QString("Test.Again#2"));
}

void PresenterThreadsTest::constructor_parentGiven_isNotTheQObjectParent() {
    std::shared_ptr<Trace> trace;
    {
        QObject parent;
        auto* const presenter = new LivingPresenter(&parent);
        trace = presenter->trace;
        QVERIFY(!presenter->parent());
        QVERIFY(presenter->thread() != QThread::currentThread());
    }
    QCOMPARE(trace->destroyed.load(), 0);
}

void PresenterThreadsTest::constructor_otherThreadType_warnsAndHasItsThreads() {
    const LogCapture log;
    auto* const presenter =
        new ZnPresenterClass("Test.OtherType", nullptr, IMessageInterface::ThreadType(3));
    QVERIFY(log.contains(QtWarningMsg, "Test.OtherType"));
    QVERIFY(presenter->thread() != QThread::currentThread());
}

void PresenterThreadsTest::threads_slotsAndEntries_runOnTwoThreadsOfItsOwn() {
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    presenter->initPresenter();
    Sender sender(presenter);
    emit sender.signalWork();
    LocalPlatform::instance().publishEvent(kLivingEvent, {});
    QVERIFY(waitFor([&] { return trace->slotCalls == 1 && trace->procCalls == 1; }));
    QCOMPARE(trace->slotThread.load(), presenter->thread());
    QVERIFY(trace->procThread != trace->slotThread);
    QVERIFY(trace->slotThread != QThread::currentThread());
    QVERIFY(trace->procThread != QThread::currentThread());
}

void PresenterThreadsTest::emission_toAnUnstartedPresenter_isDeliveredAfterInitPresenter() {
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    Sender sender(presenter);
    emit sender.signalWork();
    QCoreApplication::processEvents();
    QCOMPARE(trace->slotCalls.load(), 0);
    presenter->initPresenter();
    QVERIFY(waitFor([&] { return trace->slotCalls == 1; }));
    QCOMPARE(trace->slotThread.load(), presenter->thread());
}

void PresenterThreadsTest::emission_referenceArguments_crossThreadsAsCopies() {
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    presenter->initPresenter();
    Sender sender(presenter);
    const QVariantMap original{{"a", 1}};
    QVariantMap record = original;
    QList<QVariantMap> list{original, original};
    emit sender.signalRecord(record);
    emit sender.signalList(list);
    emit sender.signalPresenter(presenter);
    QVERIFY(waitFor([&] { return trace->slotCalls == 3; }));
    QCOMPARE(presenter->received, original);
    QCOMPARE(record, original);
    QCOMPARE(presenter->receivedList, list);
    QCOMPARE(presenter->receivedPresenter, presenter);
}

void PresenterThreadsTest::child_handedOver_keepsItsParentAndWorksOnTheObjectThread() {
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    QCOMPARE(presenter->child->parent(), presenter);
    QCOMPARE(presenter->child->thread(), presenter->thread());
    const QPointer<QTimer> child = presenter->child;
    connect(presenter->child, &QTimer::timeout, presenter, &LivingPresenter::slotWork);
    presenter->onSlot = [presenter] { presenter->child->stop(); };
    presenter->initPresenter();
    QMetaObject::invokeMethod(presenter->child, "start", Q_ARG(int, 1));
    QVERIFY(waitFor([&] { return trace->slotCalls >= 1; }));
    QCOMPARE(trace->slotThread.load(), presenter->thread());
    presenter->deleteLater();
    QVERIFY(child.isNull());
}

void PresenterThreadsTest::queue_manyWaiting_warnsOnceUntilItIsEmpty_data() {
    QTest::addColumn<bool>("isStarted");
    QTest::newRow("presenter not started") << false;
    QTest::newRow("presenter that hangs") << true;
}

void PresenterThreadsTest::queue_manyWaiting_warnsOnceUntilItIsEmpty() {
    QFETCH(bool, isStarted);
    constexpr int kMany = PresenterChannel::kManyWaiting;
    QCOMPARE(kMany, 10000);
    Gate gate;
    auto* const presenter = new ProbePresenter("Test.Slow", gate.waiter());
    presenter->SubEvent(presenter->pluginPid(), kLivingEvent, 1);
    int sent = 0;
    if (isStarted) {
        presenter->initPresenter();
        publish(&sent, 1);
        QVERIFY(presenter->log->waitForCount(1));  // it hangs in this one
    }
    const LogCapture log;
    const auto warnings = [&log] { return log.texts(QtWarningMsg).filter("Test.Slow").size(); };
    publish(&sent, kMany - 1);
    QCOMPARE(warnings(), 0);
    publish(&sent, 1);
    QCOMPARE(warnings(), 1);
    QVERIFY(log.contains(QtWarningMsg, "10000 messages wait for it"));
    publish(&sent, 3);
    QCOMPARE(warnings(), 1);

    gate.open();
    presenter->initPresenter();
    QVERIFY(presenter->log->waitForCount(sent));
    const QVariantList bodies = presenter->log->bodies();
    for (int i = 0; i < sent; ++i) {
        QCOMPARE(bodies.at(i).toInt(), i);
    }
    QCOMPARE(warnings(), 1);
}

void PresenterThreadsTest::queue_full_dropsAllButAnswersAndCountsThem() {
    constexpr int kMost = 20;
    QCOMPARE(LocalPlatform::Options().mostWaiting, 1000000);
    m_platform.reset();
    m_platform = std::make_unique<PlatformFixture>(
        [](LocalPlatform::Options& options) { options.mostWaiting = kMost; });
    m_platform->link->on(kLivingType, ScriptedReply::rows({}));
    Gate gate;
    auto* const presenter = new ProbePresenter("Test.Full", gate.waiter());
    auto* const other = new ProbePresenter("Test.Other");
    for (ProbePresenter* const one : {presenter, other}) {
        one->SubEvent(one->pluginPid(), kLivingEvent, 1);
        one->Sub(one->pluginPid(), "type.push", 1);
        one->initPresenter();
    }
    int sent = 0;
    publish(&sent, 1);
    QVERIFY(presenter->log->waitForCount(1));  // it hangs in this one
    // Otherwise the one that works could be as many behind itself and lose an event.
    QVERIFY(other->log->waitForCount(1));
    const LogCapture log;
    const auto warnings = [&log] { return log.texts(QtWarningMsg).filter("Test.Full").size(); };
    publish(&sent, kMost);
    QCOMPARE(warnings(), 0);
    QVERIFY(other->log->waitForCount(sent));
    publish(&sent, 2);
    m_platform->link->push("type.push", packRows({}, {}));
    QVERIFY(other->log->waitForCount(sent + 1));
    QCOMPARE(warnings(), 1);
    QVERIFY(log.contains(QtWarningMsg, "events and pushes are dropped"));
    QCOMPARE(presenter->sendRequest_Async(makeMessage(presenter, kLivingType)), 0);
    QVERIFY(m_platform->link->waitUntilIdle());

    gate.open();
    QVERIFY(presenter->log->waitForCount(1 + kMost + 1));
    QVERIFY(
        log.waitFor("has caught up with half of its messages; 3 events and pushes were dropped"));
    const std::vector<ProbeLog::Call> calls = presenter->log->calls();
    QCOMPARE(int(calls.size()), 1 + kMost + 1);
    QCOMPARE(calls.at(kMost).body.toInt(), kMost);
    QVERIFY(calls.back().kind == ProbeLog::Kind::Response);
    // Nothing waits any more, so the next event is delivered.
    publish(&sent, 1);
    QVERIFY(presenter->log->waitForCount(1 + kMost + 2));
    QCOMPARE(presenter->log->bodies().last().toInt(), sent - 1);
}

void PresenterThreadsTest::initPresenter_twice_startsOnce() {
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    presenter->initPresenter();
    presenter->initPresenter();
    LocalPlatform::instance().publishEvent(kLivingEvent, {});
    QVERIFY(waitFor([&] { return trace->procCalls == 1; }));
    presenter->deleteLater();
    QCOMPARE(trace->destroyed.load(), 1);
    QCOMPARE(trace->procCalls.load(), 1);
}

void PresenterThreadsTest::initPresenter_hostClosing_startsNothingAndLogsIt() {
    LocalPlatform::instance().close();
    auto* const presenter = new LivingPresenter;
    const LogCapture log;
    presenter->initPresenter();
    QVERIFY(log.contains(QtWarningMsg, presenter->pluginPid()));
    QVERIFY(!presenter->thread()->isRunning());
    presenter->deleteLater();
}

void PresenterThreadsTest::objectThread_askedToQuitBySomebodyElse_goesOn() {
    auto* const presenter = new LivingPresenter;
    const std::shared_ptr<Trace> trace = presenter->trace;
    presenter->onSlot = [] { QThread::currentThread()->quit(); };
    presenter->initPresenter();
    Sender sender(presenter);
    for (int i = 1; i <= 3; ++i) {
        emit sender.signalWork();
        QVERIFY(waitFor([&] { return trace->slotCalls == i; }));
    }
    QCOMPARE(trace->destroyed.load(), 0);
}

QTEST_GUILESS_MAIN(PresenterThreadsTest)
#include "presenter_threads_test.moc"

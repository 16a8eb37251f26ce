#include <QPointer>
#include <future>

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

class PresenterThreadsTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_platform = std::make_unique<PlatformFixture>(); }
    void cleanup() { m_platform.reset(); }

    void pluginPid_sameInstanceId_isNumberedFromTheSecondOn();
    void constructor_parentGiven_isNoQObjectParent();
    void constructor_otherThreadType_warnsAndHasItsThreads();
    void threads_slotsAndEntries_runOnTwoThreadsOfItsOwn();
    void emission_toAnUnstartedPresenter_isDeliveredAfterInitPresenter();
    void emission_referenceArguments_crossThreadsAsCopies();
    void child_handedOver_keepsItsParentAndWorksOnTheObjectThread();
    void queue_ofAnUnstartedPresenter_isBoundedAndSaysSoOnce();
    void queue_ofAStartedPresenter_takesMore();
    void initPresenter_twice_startsOnce();
    void initPresenter_hostClosing_startsNothingAndSaysSo();
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
}

void PresenterThreadsTest::constructor_parentGiven_isNoQObjectParent() {
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

void PresenterThreadsTest::queue_ofAnUnstartedPresenter_isBoundedAndSaysSoOnce() {
    constexpr int kMost = int(PresenterChannel::kMaxBeforeStart);
    auto* const presenter = new ProbePresenter("Test.Unstarted");
    auto* const other = new ProbePresenter;
    other->initPresenter();
    for (ProbePresenter* const one : {presenter, other}) {
        one->SubEvent(one->pluginPid(), kLivingEvent, 1);
    }
    const LogCapture log;
    for (int i = 0; i < kMost; ++i) {
        LocalPlatform::instance().publishEvent(kLivingEvent, i);
    }
    QVERIFY(!log.contains("Test.Unstarted"));
    for (int i = 0; i < 3; ++i) {
        LocalPlatform::instance().publishEvent(kLivingEvent, kMost + i);
    }
    QCOMPARE(log.texts(QtWarningMsg).filter("Test.Unstarted").size(), 1);
    QVERIFY(log.contains(QtWarningMsg, "further ones are dropped"));
    // The ones before are kept, in order; from the start on there is room again.
    presenter->initPresenter();
    QVERIFY(presenter->log->waitForCount(kMost));
    LocalPlatform::instance().publishEvent(kLivingEvent, "last");
    QVERIFY(presenter->log->waitForCount(kMost + 1));
    const QVariantList bodies = presenter->log->bodies();
    QCOMPARE(bodies.size(), kMost + 1);
    for (int i = 0; i < kMost; ++i) {
        QCOMPARE(bodies.at(i).toInt(), i);
    }
    QCOMPARE(bodies.last().toString(), QString("last"));
    QVERIFY(other->log->waitForCount(kMost + 4));
}

void PresenterThreadsTest::queue_ofAStartedPresenter_takesMore() {
    constexpr int kMessages = int(PresenterChannel::kMaxBeforeStart) + 100;
    std::promise<void> mayGo;
    const std::shared_future<void> going = mayGo.get_future().share();
    auto* const presenter =
        new ProbePresenter("Test.Slow", [going](const ProbeLog::Call&) { going.wait(); });
    presenter->SubEvent(presenter->pluginPid(), kLivingEvent, 1);
    presenter->initPresenter();
    const LogCapture log;
    for (int i = 0; i < kMessages; ++i) {
        LocalPlatform::instance().publishEvent(kLivingEvent, i);
    }
    mayGo.set_value();
    QVERIFY(presenter->log->waitForCount(kMessages));
    QVERIFY(!log.contains("Test.Slow"));
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

void PresenterThreadsTest::initPresenter_hostClosing_startsNothingAndSaysSo() {
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

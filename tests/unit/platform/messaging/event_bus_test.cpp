#include <atomic>

#include "log_capture.h"
#include "platform_fixture.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"

namespace {

constexpr int kEvent = 0x12345;
constexpr int kOther = 0x12346;
constexpr int kMode = 1;

struct CountedEvent : CEventMessageCommon {
    static std::atomic<int> alive;
    CountedEvent() { ++alive; }
    ~CountedEvent() override { --alive; }
};
std::atomic<int> CountedEvent::alive{0};

}  // namespace

namespace {

/// The text in the header of a received push.
QString textOf(const ProbeLog& log, int index) {
    return headerOf(log.bodies().at(index)).value(QStringLiteral("text")).toString();
}

}  // namespace

class EventBusTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_platform = std::make_unique<PlatformFixture>(); }
    void cleanup() { m_platform.reset(); }

    void putEvent_twoSubscribers_eachGetsItOnItsMessageThread();
    void putEvent_otherId_isNotDelivered();
    void putEvent_idInAnotherForm_isComparedAsANumber();
    void putEvent_destinationSet_reachesThatPluginInstanceAlone();
    void putEvent_sourceIdSet_isWhatTheSubscriberSees();
    void putEvent_underALockThatTheSubscriberTakes_returns();
    void putEvent_many_arriveInOrder();
    void putEvent_fromSeveralThreads_isTheSameOrderForEverySubscriber();
    void putEvent_beforeInitPresenter_waitsForIt();
    void putEvent_subscribedTwice_isDeliveredOnce();
    void putEvent_null_warns();
    void putEvent_withoutAnId_warnsAndIsDropped();
    void putEvent_takesTheEventOver();
    void putEvent_subscriberDisposedOf_isDropped();
    void subEvent_withoutAnId_warns();
    void publishEvent_ofTheHost_reachesSubscribers();
    void push_subscribed_reachesSubscribersAlone();
    void push_subscribedTwice_isDeliveredOnce();
    void push_thatIsNotAPackedBody_isDroppedAndLogged();
    void push_invalidRowCount_isDroppedAndLogged_data();
    void push_invalidRowCount_isDroppedAndLogged();
    void gateState_known_isPublishedUnderItsEventId_data();
    void gateState_known_isPublishedUnderItsEventId();
    void gateState_unknownGate_warns();
    void gateState_unknownGate_isNotKept();

private:
    ProbePresenter* subscriber(int event = kEvent, const QString& name = "Test.Probe") {
        auto* const presenter = new ProbePresenter(name);
        presenter->SubEvent(presenter->pluginPid(), event, kMode);
        presenter->initPresenter();
        return presenter;
    }

    std::unique_ptr<PlatformFixture> m_platform;
};

void EventBusTest::putEvent_twoSubscribers_eachGetsItOnItsMessageThread() {
    ProbePresenter* const one = subscriber();
    ProbePresenter* const two = subscriber();
    one->PutEvent(one->pluginPid(), makeEvent(kEvent, "body"));
    QVERIFY(one->log->waitForCount(1));
    QVERIFY(two->log->waitForCount(1));
    std::thread::id threads[2];
    for (int i = 0; i < 2; ++i) {
        const ProbeLog::Call call = (i ? two : one)->log->calls().front();
        QCOMPARE(call.kind, ProbeLog::Kind::Event);
        QCOMPARE(call.first, one->pluginPid());
        QCOMPARE(call.type, QVariant(kEvent));
        QCOMPARE(call.type.userType(), int(QMetaType::Int));
        QCOMPARE(call.body, QVariant("body"));
        threads[i] = call.thread;
        QVERIFY(threads[i] != std::this_thread::get_id());
    }
    QVERIFY(threads[0] != threads[1]);
}

void EventBusTest::putEvent_otherId_isNotDelivered() {
    ProbePresenter* const presenter = subscriber();
    presenter->PutEvent(presenter->pluginPid(), makeEvent(kOther, "unwanted"));
    presenter->PutEvent(presenter->pluginPid(), makeEvent(kEvent, "wanted"));
    QVERIFY(presenter->log->waitForCount(1));
    QCOMPARE(presenter->log->bodies(), QVariantList{"wanted"});
}

void EventBusTest::putEvent_idInAnotherForm_isComparedAsANumber() {
    ProbePresenter* const presenter = subscriber();
    presenter->PutEvent(presenter->pluginPid(), makeEvent(QString::number(kEvent), "text"));
    presenter->PutEvent(presenter->pluginPid(), makeEvent(qlonglong(kEvent), "long"));
    QVERIFY(presenter->log->waitForCount(2));
    QCOMPARE(presenter->log->bodies(), (QVariantList{"text", "long"}));
    QCOMPARE(presenter->log->calls().front().type, QVariant(kEvent));
}

void EventBusTest::putEvent_destinationSet_reachesThatPluginInstanceAlone() {
    ProbePresenter* const first = subscriber(kEvent, "Test.Target");
    ProbePresenter* const second = subscriber(kEvent, "Test.Target");
    ProbePresenter* const other = subscriber(kEvent, "Test.Other");
    QVERIFY(first->pluginPid() != second->pluginPid());
    first->PutEvent(first->pluginPid(), makeEvent(kEvent, "addressed", "Test.Target"));
    first->PutEvent(first->pluginPid(), makeEvent(kEvent, "all"));
    for (ProbePresenter* const presenter : {first, second}) {
        QVERIFY(presenter->log->waitForCount(2));
        QCOMPARE(presenter->log->bodies(), (QVariantList{"addressed", "all"}));
    }
    QVERIFY(other->log->waitForCount(1));
    QCOMPARE(other->log->bodies(), QVariantList{"all"});
}

void EventBusTest::putEvent_sourceIdSet_isWhatTheSubscriberSees() {
    ProbePresenter* const presenter = subscriber();
    CEventMessageCommon* const event = makeEvent(kEvent, {});
    event->SetSrcid("somebody");
    presenter->PutEvent(presenter->pluginPid(), event);
    QVERIFY(presenter->log->waitForCount(1));
    QCOMPARE(presenter->log->calls().front().first, QString("somebody"));
}

void EventBusTest::putEvent_underALockThatTheSubscriberTakes_returns() {
    std::mutex lock;
    std::atomic<bool> handled{false};
    auto* const presenter = new ProbePresenter("Test.Locking", [&](const ProbeLog::Call&) {
        const std::lock_guard<std::mutex> guard(lock);
        handled = true;
    });
    presenter->SubEvent(presenter->pluginPid(), kEvent, kMode);
    presenter->initPresenter();
    {
        const std::lock_guard<std::mutex> guard(lock);
        presenter->PutEvent(presenter->pluginPid(), makeEvent(kEvent, {}));
        QVERIFY(presenter->log->waitForCount(1));
        QVERIFY(!handled);
    }
    QVERIFY(waitFor([&] { return handled.load(); }));
    presenter->deleteLater();
}

void EventBusTest::putEvent_many_arriveInOrder() {
    ProbePresenter* const presenter = subscriber();
    QVariantList sent;
    for (int i = 0; i < 500; ++i) {
        sent.append(i);
        presenter->PutEvent(presenter->pluginPid(), makeEvent(kEvent, i));
    }
    QVERIFY(presenter->log->waitForCount(sent.size()));
    QCOMPARE(presenter->log->bodies(), sent);
}

void EventBusTest::putEvent_fromSeveralThreads_isTheSameOrderForEverySubscriber() {
    constexpr int kThreads = 4;
    constexpr int kEach = 200;
    ProbePresenter* const one = subscriber();
    ProbePresenter* const two = subscriber();
    std::vector<std::thread> publishers;
    for (int t = 0; t < kThreads; ++t) {
        publishers.emplace_back([one, t] {
            for (int i = 0; i < kEach; ++i) {
                one->PutEvent(one->pluginPid(), makeEvent(kEvent, t * kEach + i));
            }
        });
    }
    for (std::thread& publisher : publishers) {
        publisher.join();
    }
    QVERIFY(one->log->waitForCount(kThreads * kEach));
    QVERIFY(two->log->waitForCount(kThreads * kEach));
    const QVariantList order = one->log->bodies();
    QCOMPARE(two->log->bodies(), order);
    int last[kThreads] = {-1, -1, -1, -1};
    for (const QVariant& body : order) {
        int& before = last[body.toInt() / kEach];
        QVERIFY(body.toInt() > before);
        before = body.toInt();
    }
}

void EventBusTest::putEvent_beforeInitPresenter_waitsForIt() {
    auto* const presenter = new ProbePresenter;
    presenter->SubEvent(presenter->pluginPid(), kEvent, kMode);
    ProbePresenter* const started = subscriber();
    started->PutEvent(started->pluginPid(), makeEvent(kEvent, 1));
    started->PutEvent(started->pluginPid(), makeEvent(kEvent, 2));
    QVERIFY(started->log->waitForCount(2));
    QCOMPARE(presenter->log->count(), 0);
    presenter->initPresenter();
    QVERIFY(presenter->log->waitForCount(2));
    QCOMPARE(presenter->log->bodies(), (QVariantList{1, 2}));
}

void EventBusTest::putEvent_subscribedTwice_isDeliveredOnce() {
    ProbePresenter* const presenter = subscriber();
    presenter->SubEvent(presenter->pluginPid(), kEvent, kMode);
    presenter->SubEvent(presenter->pluginPid(), kOther, kMode);
    presenter->PutEvent(presenter->pluginPid(), makeEvent(kEvent, "once"));
    presenter->PutEvent(presenter->pluginPid(), makeEvent(kOther, "last"));
    QVERIFY(presenter->log->waitForCount(2));
    QCOMPARE(presenter->log->bodies(), (QVariantList{"once", "last"}));
}

void EventBusTest::putEvent_null_warns() {
    ProbePresenter* const presenter = subscriber();
    const LogCapture log;
    presenter->PutEvent(presenter->pluginPid(), nullptr);
    QCOMPARE(log.texts(QtWarningMsg).size(), 1);
}

void EventBusTest::putEvent_withoutAnId_warnsAndIsDropped() {
    ProbePresenter* const presenter = subscriber(0);
    const LogCapture log;
    presenter->PutEvent(presenter->pluginPid(), makeEvent({}, "invalid"));
    presenter->PutEvent(presenter->pluginPid(), makeEvent("no number", "text"));
    QCOMPARE(log.texts(QtWarningMsg).size(), 2);
    presenter->PutEvent(presenter->pluginPid(), makeEvent(0, "zero"));
    QVERIFY(presenter->log->waitForCount(1));
    QCOMPARE(presenter->log->bodies(), QVariantList{"zero"});
}

void EventBusTest::putEvent_takesTheEventOver() {
    ProbePresenter* const presenter = subscriber();
    auto* const event = new CountedEvent;
    event->SetType(kEvent);
    QCOMPARE(CountedEvent::alive.load(), 1);
    presenter->PutEvent(presenter->pluginPid(), event);
    QVERIFY(presenter->log->waitForCount(1));
    QCOMPARE(CountedEvent::alive.load(), 0);
    presenter->PutEvent(presenter->pluginPid(), new CountedEvent);  // without an id
    QCOMPARE(CountedEvent::alive.load(), 0);
}

void EventBusTest::putEvent_subscriberDisposedOf_isDropped() {
    ProbePresenter* const gone = subscriber();
    ProbePresenter* const stays = subscriber();
    const std::shared_ptr<ProbeLog> log = gone->log;
    gone->deleteLater();
    stays->PutEvent(stays->pluginPid(), makeEvent(kEvent, {}));
    QVERIFY(stays->log->waitForCount(1));
    QCOMPARE(log->count(), 0);
}

void EventBusTest::subEvent_withoutAnId_warns() {
    ProbePresenter* const presenter = subscriber();
    const LogCapture log;
    presenter->SubEvent(presenter->pluginPid(), QVariant(), kMode);
    presenter->Sub(presenter->pluginPid(), QVariant(), kMode);
    QCOMPARE(log.texts(QtWarningMsg).size(), 2);
}

void EventBusTest::publishEvent_ofTheHost_reachesSubscribers() {
    ProbePresenter* const presenter = subscriber();
    LocalPlatform::instance().publishEvent(kEvent, "body");
    QVERIFY(presenter->log->waitForCount(1));
    QCOMPARE(presenter->log->bodies(), QVariantList{"body"});
    QVERIFY(!presenter->log->calls().front().first.isEmpty());
}

void EventBusTest::push_subscribed_reachesSubscribersAlone() {
    auto* const wants = new ProbePresenter("Test.Wants");
    wants->Sub(wants->pluginPid(), "type.1", kMode);
    wants->initPresenter();
    auto* const wantsOther = new ProbePresenter("Test.WantsOther");
    wantsOther->Sub(wantsOther->pluginPid(), "type.2", kMode);
    wantsOther->initPresenter();
    m_platform->link->push("type.1", packRows({{"text", "one"}}, {}));
    m_platform->link->push("type.0", packRows({{"text", "nobody's"}}, {}));
    m_platform->link->push("type.2", packRows({{"text", "two"}}, {}));
    QVERIFY(wants->log->waitForCount(1));
    QVERIFY(wantsOther->log->waitForCount(1));
    const ProbeLog::Call call = wants->log->calls().front();
    QCOMPARE(call.kind, ProbeLog::Kind::Push);
    QCOMPARE(call.first, wants->pluginPid());
    QCOMPARE(call.type, QVariant("type.1"));
    QCOMPARE(wants->log->count(), 1);
    QCOMPARE(textOf(*wants->log, 0), QString("one"));
    QCOMPARE(wantsOther->log->count(), 1);
    QCOMPARE(textOf(*wantsOther->log, 0), QString("two"));
}

void EventBusTest::push_subscribedTwice_isDeliveredOnce() {
    auto* const presenter = new ProbePresenter;
    for (const char* type : {"type.1", "type.1", "type.2"}) {
        presenter->Sub(presenter->pluginPid(), type, kMode);
    }
    presenter->initPresenter();
    m_platform->link->push("type.1", packRows({{"text", "once"}}, {}));
    m_platform->link->push("type.2", packRows({{"text", "last"}}, {}));
    QVERIFY(presenter->log->waitForCount(2));
    QCOMPARE(presenter->log->count(), 2);
    QCOMPARE(textOf(*presenter->log, 0), QString("once"));
    QCOMPARE(textOf(*presenter->log, 1), QString("last"));
}

void EventBusTest::push_thatIsNotAPackedBody_isDroppedAndLogged() {
    auto* const presenter = new ProbePresenter;
    presenter->Sub(presenter->pluginPid(), "type.1", kMode);
    presenter->initPresenter();
    const LogCapture log;
    m_platform->link->push("type.1", "garbage");
    m_platform->link->push("type.1", packRows({{"text", "whole"}}, {}));
    QVERIFY(presenter->log->waitForCount(1));
    QCOMPARE(textOf(*presenter->log, 0), QString("whole"));
    QVERIFY(log.contains(QtWarningMsg, "is garbage, not a packed body"));
}

void EventBusTest::push_invalidRowCount_isDroppedAndLogged_data() {
    QTest::addColumn<QVariant>("stated");
    QTest::addColumn<bool>("comes");
    QTest::newRow("as many") << QVariant(2) << true;
    QTest::newRow("as a text") << QVariant("2") << true;
    QTest::newRow("fewer") << QVariant(1) << true;
    QTest::newRow("missing") << QVariant() << true;
    QTest::newRow("more") << QVariant(3) << false;
    QTest::newRow("negative") << QVariant(-1) << false;
    QTest::newRow("no number") << QVariant("x") << false;
}

void EventBusTest::push_invalidRowCount_isDroppedAndLogged() {
    QFETCH(QVariant, stated);
    QFETCH(bool, comes);
    auto* const presenter = new ProbePresenter;
    presenter->Sub(presenter->pluginPid(), "type.1", kMode);
    presenter->initPresenter();
    const LogCapture log;
    QVariantMap header{{"text", "first"}};
    if (stated.isValid()) {
        header.insert(System::subGroupNumber, stated);
    }
    m_platform->link->push("type.1", QVariantList{header, QVariantMap(), QVariantMap()});
    m_platform->link->push("type.1", packRows({{"text", "last"}}, {}));
    QVERIFY(presenter->log->waitForCount(comes ? 2 : 1));
    QCOMPARE(textOf(*presenter->log, 0), comes ? QString("first") : QString("last"));
    QCOMPARE(log.contains(QtWarningMsg, "push dropped: the push of type type.1 states"), !comes);
}

void EventBusTest::gateState_known_isPublishedUnderItsEventId_data() {
    QTest::addColumn<QString>("gate");
    QTest::addColumn<int>("event");
    QTest::newRow("market, tcp") << NetGateType::MarketTcpGate << 0x10005;
    QTest::newRow("trade") << NetGateType::TradeGate << 0x10006;
    QTest::newRow("information") << NetGateType::InfoGate << 0x1000B;
    QTest::newRow("market, grpc") << NetGateType::MarketGrpcGate << 0x10012;
}

void EventBusTest::gateState_known_isPublishedUnderItsEventId() {
    QFETCH(QString, gate);
    QFETCH(int, event);
    ProbePresenter* const presenter = subscriber(event);
    m_platform->link->gateState(gate, NET_STATE::CONNECTED);
    m_platform->link->gateState(gate, NET_STATE::NOCONNECT);
    QVERIFY(presenter->log->waitForCount(2));
    QCOMPARE(presenter->log->bodies(), (QVariantList{NET_STATE::CONNECTED, NET_STATE::NOCONNECT}));
}

void EventBusTest::gateState_unknownGate_warns() {
    const LogCapture log;
    m_platform->link->gateState("NoGate", NET_STATE::CONNECTED);
    QVERIFY(log.waitFor("NoGate"));
    QVERIFY(log.contains(QtWarningMsg, "NoGate"));
}

void EventBusTest::gateState_unknownGate_isNotKept() {
    LogCapture log;
    m_platform->link->gateState("NoGate", NET_STATE::CONNECTED);
    QVERIFY(m_platform->link->waitUntilIdle());
    // A link that is taken down disconnects every gate that it reported.
    QVERIFY(LocalPlatform::instance().setLink(nullptr, nullptr));
    m_platform->link = nullptr;
    int reports = 0;
    for (const QString& text : log.texts(QtWarningMsg)) {
        reports += text.contains("NoGate") ? 1 : 0;
    }
    QCOMPARE(reports, 1);
}

QTEST_GUILESS_MAIN(EventBusTest)
#include "event_bus_test.moc"

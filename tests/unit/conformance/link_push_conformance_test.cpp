// Subscriptions and pushes, on every link.
#include <atomic>
#include <thread>

#include "conformance_world.h"

namespace {

const QString kTopic = Velmar_MsgType::MessageCenterPushMsg;
const QString kOtherTopic = Velmar_MsgType::ClientPatchInfoPush;
inline const QString kNumber = QStringLiteral("number");

QVariant numbered(int number) {
    return packRows({{kNumber, number}}, {{{kNumber, number}}});
}

int numberOf(const ProbeLog::Call& call) {
    return headerOf(call.body).value(kNumber, -1).toInt();
}

}  // namespace

class LinkPushConformanceTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase_data() { ConformanceWorld::addLinks(); }
    void init() {
        QFETCH_GLOBAL(int, kind);
        m_world = std::make_unique<ConformanceWorld>(kind);
        for (const QString& topic : {kTopic, kOtherTopic}) {
            m_world->presenter->Sub(m_world->presenter->pluginPid(), topic, 1);
        }
    }
    void cleanup() { m_world.reset(); }

    void push_subscribed_arrivesWithTopicAndBody();
    void push_otherTopic_doesNotArrive();
    void push_beforeTheSubscription_doesNotArrive();
    void push_afterARefusedSubscription_doesNotArrive();
    void push_subscribedTwice_arrivesOnce();
    void push_afterANewLink_needsANewSubscription();
    void push_many_keepTheirOrderForEveryPresenter();
    void push_amidRequests_keepsItsOrder();
    void push_largeBody_arrivesWhole();
    void push_presenterThatDidNotSub_getsNothing();

private:
    ProbeLog& log() { return *m_world->presenter->log; }
    void push(int number, const QString& topic = kTopic) {
        m_world->server->push(topic, numbered(number));
    }

    std::unique_ptr<ConformanceWorld> m_world;
};

void LinkPushConformanceTest::push_subscribed_arrivesWithTopicAndBody() {
    QVERIFY(m_world->subscribe(kTopic));
    push(1);
    QVERIFY(log().waitForCount(1));
    const ProbeLog::Call call = log().calls().front();
    QCOMPARE(call.kind, ProbeLog::Kind::Push);
    QCOMPARE(call.first, m_world->presenter->pluginPid());
    QCOMPARE(call.type.toString(), kTopic);
    QCOMPARE(rowsOf(call.body), (QList<QVariantMap>{{{kNumber, 1}}}));
    QCOMPARE(numberOf(call), 1);
}

void LinkPushConformanceTest::push_otherTopic_doesNotArrive() {
    QVERIFY(m_world->subscribe(kTopic));
    // Pushes keep their order, so the first one would have come before the second.
    push(1, kOtherTopic);
    push(2);
    QVERIFY(log().waitForCount(1));
    QCOMPARE(log().count(), 1);
    QCOMPARE(numberOf(log().calls().front()), 2);
}

void LinkPushConformanceTest::push_beforeTheSubscription_doesNotArrive() {
    push(1);
    QVERIFY(m_world->subscribe(kTopic));
    push(2);
    QVERIFY(log().waitForCount(1));
    QCOMPARE(log().count(), 1);
    QCOMPARE(numberOf(log().calls().front()), 2);
}

void LinkPushConformanceTest::push_afterARefusedSubscription_doesNotArrive() {
    QVERIFY(!m_world->subscribe(kOtherTopic, QStringLiteral("no such action")));
    push_otherTopic_doesNotArrive();
}

void LinkPushConformanceTest::push_subscribedTwice_arrivesOnce() {
    QVERIFY(m_world->subscribe(kTopic));
    QVERIFY(m_world->subscribe(kTopic));
    push(1);
    push(2);
    QVERIFY(log().waitForCount(2));
    QCOMPARE(log().count(), 2);
    QCOMPARE(numberOf(log().calls().back()), 2);
}

void LinkPushConformanceTest::push_afterANewLink_needsANewSubscription() {
    QVERIFY(m_world->subscribe(kTopic));
    m_world->connect();
    push(1);
    QVERIFY(m_world->subscribe(kTopic));
    push(2);
    QVERIFY(log().waitForCount(1));
    QCOMPARE(log().count(), 1);
    QCOMPARE(numberOf(log().calls().front()), 2);
}

void LinkPushConformanceTest::push_many_keepTheirOrderForEveryPresenter() {
    constexpr int kPushes = 500;
    auto* const second = new ProbePresenter;
    second->initPresenter();
    second->Sub(second->pluginPid(), kTopic, 1);
    QVERIFY(m_world->subscribe(kTopic));
    QVERIFY(m_world->subscribe(kOtherTopic));
    for (int i = 0; i < kPushes; ++i) {
        push(i, i % 2 ? kTopic : kOtherTopic);
    }
    QVERIFY(log().waitForCount(kPushes));
    QVERIFY(second->log->waitForCount(kPushes / 2));
    for (int i = 0; i < kPushes; ++i) {
        const ProbeLog::Call call = log().calls().at(size_t(i));
        QCOMPARE(numberOf(call), i);
        QCOMPARE(call.type.toString(), i % 2 ? kTopic : kOtherTopic);
    }
    const auto calls = second->log->calls();
    QCOMPARE(int(calls.size()), kPushes / 2);
    for (int i = 0; i < kPushes / 2; ++i) {
        QCOMPARE(numberOf(calls.at(size_t(i))), 2 * i + 1);
    }
}

void LinkPushConformanceTest::push_amidRequests_keepsItsOrder() {
    constexpr int kPushes = 200;
    QVERIFY(m_world->subscribe(kTopic));
    std::atomic<bool> isOver{false};
    std::atomic<int> failed{0};
    std::thread asking([&] {
        while (!isOver) {
            QVariant response;
            failed += m_world->send(HostMsgType::securityAccounts,
                                    {{UserAccount::loginUserId, SampleLogin::user}}, &response);
        }
    });
    for (int i = 0; i < kPushes; ++i) {
        push(i);
    }
    const bool allCame = log().waitForCount(kPushes);
    isOver = true;
    asking.join();
    QVERIFY(allCame);
    QCOMPARE(failed.load(), 0);
    const auto calls = log().calls();
    for (int i = 0; i < kPushes; ++i) {
        QCOMPARE(numberOf(calls.at(size_t(i))), i);
    }
}

void LinkPushConformanceTest::push_largeBody_arrivesWhole() {
    const QString data(10 * 1024 * 1024, QLatin1Char('x'));
    QVERIFY(m_world->subscribe(kTopic));
    m_world->server->push(kTopic, packRows({}, {{{System::textDescription, data}}}));
    push(2);
    QVERIFY(log().waitForCount(2));
    const QList<QVariantMap> rows = rowsOf(log().calls().front().body);
    QCOMPARE(rows.size(), 1);
    QVERIFY(rows.first().value(System::textDescription).toString() == data);
    QCOMPARE(numberOf(log().calls().back()), 2);
}

void LinkPushConformanceTest::push_presenterThatDidNotSub_getsNothing() {
    auto* const other = new ProbePresenter;
    other->initPresenter();
    other->Sub(other->pluginPid(), kOtherTopic, 1);
    QVERIFY(m_world->subscribe(kTopic));
    QVERIFY(m_world->subscribe(kOtherTopic));
    push(1);
    push(2, kOtherTopic);
    QVERIFY(other->log->waitForCount(1));
    QCOMPARE(other->log->count(), 1);
    QCOMPARE(numberOf(other->log->calls().front()), 2);
}

QTEST_GUILESS_MAIN(LinkPushConformanceTest)
#include "link_push_conformance_test.moc"

// States of the gates, on every link.
#include <algorithm>
#include <atomic>
#include <thread>

#include "conformance_world.h"
#include "gate_events.h"
#include "vocabulary/net_state.h"
#include "vocabulary/plugin_id.h"

namespace {

int eventOf(const QString& gate) {
    for (const GateEvent& event : gateEvents()) {
        if (event.gate == gate) {
            return event.id;
        }
    }
    return 0;
}

const QString kTopic = Velmar_MsgType::MessageCenterPushMsg;

}  // namespace

class LinkGatesConformanceTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase_data() { ConformanceWorld::addLinks(); }
    void init();
    void cleanup() { m_world.reset(); }

    void connect_everyGate_isReportedConnectedOnce();
    void disconnect_everyGate_isReportedLostOnce();
    void state_ofOneGate_isReportedAloneAndInOrder_data();
    void state_ofOneGate_isReportedAloneAndInOrder();
    void tradeGate_lost_failsRequestsUnderWayAndTheNextOnesServe();
    void otherGate_lost_leavesRequestsAlone();
    void gateOfASubscription_lost_needsANewSubscription();
    void otherGate_lost_leavesSubscriptionsAlone();

private:
    /// Pushes a number under the topic that the presenter gets.
    void push(int number) { m_world->server->push(kTopic, packRows({{"number", number}}, {})); }
    /// The numbers that arrived.
    QList<int> pushes() const {
        QList<int> numbers;
        for (const ProbeLog::Call& call : m_world->presenter->log->calls()) {
            if (call.kind == ProbeLog::Kind::Push) {
                numbers.append(headerOf(call.body).value("number").toInt());
            }
        }
        return numbers;
    }
    /// Subscribes, takes a gate down and up again, and waits until that is reported.
    void subscribeAndLose(const QString& gate) {
        m_world->presenter->Sub(m_world->presenter->pluginPid(), kTopic, 1);
        QVERIFY(m_world->subscribe(kTopic));
        const int before = callCount();
        const QVariantList states{NET_STATE::NOCONNECT, NET_STATE::CONNECTED};
        for (const QVariant& state : states) {
            m_world->server->setGate(gate, state.toString());
        }
        QVERIFY(waitFor([&] { return statesOf(gate, before) == states; }));
    }
    /// The reported states of the gate since the link started, or since the given call.
    QVariantList statesOf(const QString& gate, int from = 0) const {
        QVariantList states;
        const auto calls = m_world->presenter->log->calls();
        for (size_t i = size_t(from); i < calls.size(); ++i) {
            if (calls.at(i).type.toInt() == eventOf(gate)) {
                states.append(calls.at(i).body);
            }
        }
        return states;
    }
    /// Waits until a new link has reported every gate as connected.
    bool connectAnew() {
        const int before = callCount();
        m_world->disconnect();
        m_world->connect();
        return waitFor([this, before] {
            return std::all_of(gateEvents().cbegin(), gateEvents().cend(), [&](const auto& event) {
                return statesOf(event.gate, before).contains(NET_STATE::CONNECTED);
            });
        });
    }
    int callCount() const { return m_world->presenter->log->count(); }

    std::unique_ptr<ConformanceWorld> m_world;
};

void LinkGatesConformanceTest::init() {
    QFETCH_GLOBAL(int, kind);
    m_world = std::make_unique<ConformanceWorld>(kind);
    // The world's own link may still be reporting its first states.
    m_world->disconnect();
    ProbePresenter* const presenter = m_world->presenter;
    for (const GateEvent& event : gateEvents()) {
        presenter->SubEvent(presenter->pluginPid(), event.id, 1);
    }
    QVERIFY(connectAnew());
}

void LinkGatesConformanceTest::connect_everyGate_isReportedConnectedOnce() {
    for (const GateEvent& event : gateEvents()) {
        QCOMPARE(statesOf(event.gate), QVariantList{NET_STATE::CONNECTED});
    }
    for (const ProbeLog::Call& call : m_world->presenter->log->calls()) {
        QCOMPARE(call.first, PluginID::PLUGINNET_GLOBALID);
    }
}

void LinkGatesConformanceTest::disconnect_everyGate_isReportedLostOnce() {
    const int before = callCount();
    QVERIFY(connectAnew());
    const QVariantList lostAndBack{NET_STATE::NOCONNECT, NET_STATE::CONNECTED};
    for (const GateEvent& event : gateEvents()) {
        QCOMPARE(statesOf(event.gate, before), lostAndBack);
    }
}

void LinkGatesConformanceTest::state_ofOneGate_isReportedAloneAndInOrder_data() {
    QTest::addColumn<QString>("gate");
    for (const GateEvent& event : gateEvents()) {
        QTest::newRow(qPrintable(event.gate)) << event.gate;
    }
}

void LinkGatesConformanceTest::state_ofOneGate_isReportedAloneAndInOrder() {
    QFETCH(QString, gate);
    const QVariantList states{NET_STATE::NOCONNECT, NET_STATE::CONNECTTING, NET_STATE::CONNECTED};
    const int before = callCount();
    for (const QVariant& state : states) {
        m_world->server->setGate(gate, state.toString());
    }
    QVERIFY(m_world->presenter->log->waitForCount(before + states.size()));
    QCOMPARE(statesOf(gate, before), states);
    QCOMPARE(callCount(), before + states.size());
}

void LinkGatesConformanceTest::tradeGate_lost_failsRequestsUnderWayAndTheNextOnesServe() {
    const QString gate = NetGateType::TradeGate;
    const QVariantMap request{{UserAccount::loginUserId, SampleLogin::user}};
    m_world->link->hold();
    std::atomic<int> result{-1};
    QVariant response;
    std::thread caller(
        [&] { result = m_world->send(HostMsgType::securityAccounts, request, &response); });
    const bool isUnderWay = m_world->link->waitForHeld(1);
    m_world->server->setGate(gate, NET_STATE::NOCONNECT);
    caller.join();
    QVERIFY(isUnderWay);
    QCOMPARE(result.load(), kFailure);
    QVERIFY2(textOf(response).contains(gate), qPrintable(textOf(response)));
    m_world->server->setGate(gate, NET_STATE::CONNECTED);
    const QVariantList states{NET_STATE::CONNECTED, NET_STATE::NOCONNECT, NET_STATE::CONNECTED};
    QVERIFY(waitFor([&] { return statesOf(gate) == states; }));
    // The late answer of the failed request is not delivered to anybody.
    m_world->link->release();
    QCOMPARE(m_world->send(HostMsgType::securityAccounts, request, &response), kAnswer);
    QVERIFY(ConformanceWorld::isSuccess(response));
    QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
}

void LinkGatesConformanceTest::otherGate_lost_leavesRequestsAlone() {
    const QVariantMap request{{UserAccount::loginUserId, SampleLogin::user}};
    m_world->link->hold();
    std::atomic<int> result{-1};
    QVariant response;
    std::thread caller(
        [&] { result = m_world->send(HostMsgType::securityAccounts, request, &response); });
    const bool isUnderWay = m_world->link->waitForHeld(1);
    const int before = callCount();
    for (const GateEvent& event : gateEvents()) {
        if (event.gate != NetGateType::TradeGate) {
            m_world->server->setGate(event.gate, NET_STATE::NOCONNECT);
        }
    }
    const bool areReported = m_world->presenter->log->waitForCount(before + 3);
    m_world->link->release();
    caller.join();
    QVERIFY(isUnderWay && areReported);
    QCOMPARE(result.load(), kAnswer);
    QVERIFY(ConformanceWorld::isSuccess(response));
}

void LinkGatesConformanceTest::gateOfASubscription_lost_needsANewSubscription() {
    subscribeAndLose(NetGateType::TradeGate);
    push(1);
    QVERIFY(m_world->subscribe(kTopic));
    // Pushes keep their order, so the first one would have come before the second.
    push(2);
    QVERIFY(waitFor([this] { return !pushes().isEmpty(); }));
    QCOMPARE(pushes(), QList<int>{2});
}

void LinkGatesConformanceTest::otherGate_lost_leavesSubscriptionsAlone() {
    subscribeAndLose(NetGateType::InfoGate);
    push(1);
    QVERIFY(waitFor([this] { return pushes() == QList<int>{1}; }));
}

QTEST_GUILESS_MAIN(LinkGatesConformanceTest)
#include "link_gates_conformance_test.moc"

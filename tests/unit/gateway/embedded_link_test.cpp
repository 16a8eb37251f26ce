#include "embedded_link.h"

#include <QScopeGuard>
#include <QTemporaryDir>
#include <QtTest>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "host_msg_type.h"
#include "sample_market.h"
#include "scripted_link.h"
#include "small_market.h"
#include "vocabulary/fields.h"
#include "vocabulary/net_state.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

constexpr auto kLimit = std::chrono::seconds(20);

/// Records the calls, and can hold the link's threads inside a call.
class RecordingListener : public GatewayLinkListener {
public:
    struct Outcome {
        QString kind;
        QString msgType;
        QVariant body;
        std::thread::id thread;
    };

    void onAnswer(quint64 envelopeId, const QString& msgType, const QVariant& body) override {
        record(envelopeId, {QStringLiteral("answer"), msgType, body, std::this_thread::get_id()});
    }
    void onFailure(quint64 envelopeId, const QString& reason) override {
        record(envelopeId, {QStringLiteral("failure"), {}, reason, std::this_thread::get_id()});
    }
    void onTimeOut(quint64 envelopeId) override {
        record(envelopeId, {QStringLiteral("time-out"), {}, {}, std::this_thread::get_id()});
    }
    void onPush(const QString& msgType, const QVariant& body) override {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_pushes.append({msgType, body});
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return !m_pushesHeld; });
    }
    void onGateState(const QString& gate, const QString& netState) override {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_gates.append({gate, netState});
        m_gateThreads.insert(std::this_thread::get_id());
        m_changed.notify_all();
    }

    /// From now on the thread that delivers an outcome waits inside the call until release().
    void hold() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_held = true;
    }
    /// The same for pushes.
    void holdPushes() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_pushesHeld = true;
    }
    void release() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_held = false;
        m_pushesHeld = false;
        m_changed.notify_all();
    }
    bool waitForHeld(int count) {
        return waitUntil([this, count] { return m_heldCount == count; });
    }
    bool waitForOutcomes(size_t count) {
        return waitUntil([this, count] { return m_outcomes.size() == count; });
    }
    bool waitForPushes(int count) {
        return waitUntil([this, count] { return m_pushes.size() == count; });
    }
    bool waitForGates(int count) {
        return waitUntil([this, count] { return m_gates.size() == count; });
    }

    std::multimap<quint64, Outcome> outcomes() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_outcomes;
    }
    QList<QPair<QString, QVariant>> pushes() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_pushes;
    }
    QList<QPair<QString, QString>> gates() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_gates;
    }
    std::set<std::thread::id> gateThreads() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_gateThreads;
    }

private:
    template <typename Condition>
    bool waitUntil(Condition condition) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, kLimit, condition);
    }

    void record(quint64 envelopeId, const Outcome& outcome) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_outcomes.emplace(envelopeId, outcome);
        ++m_heldCount;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return !m_held; });
        --m_heldCount;
    }

    mutable std::mutex m_mutex;  // guards the members below
    std::condition_variable m_changed;
    std::multimap<quint64, Outcome> m_outcomes;
    QList<QPair<QString, QVariant>> m_pushes;
    QList<QPair<QString, QString>> m_gates;
    std::set<std::thread::id> m_gateThreads;
    bool m_held = false;
    bool m_pushesHeld = false;
    int m_heldCount = 0;
};

GatewayRequest request(quint64 id, const QString& msgType, QVariantMap fields) {
    fields.insert(System::msgType, msgType);
    GatewayRequest made;
    made.envelopeId = id;
    made.msgType = msgType;
    made.body = packRows(fields, {});
    return made;
}

GatewayRequest treeRequest(quint64 id, const QString& user = SampleLogin::user) {
    return request(id, HostMsgType::accountTree,
                   {{UserAccount::loginUserId, user}, {System::clientMsgID, QString::number(id)}});
}

GatewayRequest subscribeRequest(quint64 id, const QString& topic) {
    return request(id, Quindar_MsgType::subscribeTopicRequest,
                   {{System::subscriptionTopic, topic},
                    {Security::subscriptionRequestType, SubscribeType::subscribe},
                    {UserAccount::userID, SampleLogin::user}});
}

}  // namespace

class EmbeddedLinkTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void start_reportsEveryGateOnAThreadOfItsOwn();
    void start_twiceOrWithoutServer_isRefused();
    void start_afterStop_worksAgain();
    void send_concurrentCallers_eachRequestHasOneAnswerOfItsOwn();
    void send_oneAnswerHeldUp_othersGoOn();
    void send_beforeStartOrAfterStop_isRefused();
    void send_fromInsideAnAnswer_isServed();
    void subscription_queuedWhileItsGateIsLost_isRefused();
    void stop_requestsWaiting_failAndNothingFollows();
    void stop_closesTheThreadsConnections();
    void push_reachesSubscribedLinkOnly_inOrder();
    void push_whileOneThreadIsHeldUp_keepsItsOrder();
    void push_heldUpByTheListener_isNotOvertaken();

private:
    QTemporaryDir m_dir;
    std::shared_ptr<const MarketStore> m_store;
    std::shared_ptr<ServerEngine> m_engine;
};

void EmbeddedLinkTest::initTestCase() {
    QString error;
    QVERIFY2(makeSampleMarket(m_dir.path(), smallMarket(), {}, &error), qPrintable(error));
    m_store = MarketStore::open(marketStoreFile(m_dir.path()), &error);
    QVERIFY2(m_store, qPrintable(error));
    m_engine = std::make_shared<ServerEngine>(m_store);
}

void EmbeddedLinkTest::start_reportsEveryGateOnAThreadOfItsOwn() {
    RecordingListener listener;
    EmbeddedLink link(m_engine);
    QString error;
    QVERIFY(link.start(&listener, &error));
    QVERIFY(listener.waitForGates(4));
    QSet<QString> gates;
    for (const auto& gate : listener.gates()) {
        QCOMPARE(gate.second, NET_STATE::CONNECTED);
        gates.insert(gate.first);
    }
    QCOMPARE(gates, (QSet<QString>{NetGateType::TradeGate, NetGateType::InfoGate,
                                   NetGateType::MarketTcpGate, NetGateType::MarketGrpcGate}));
    QCOMPARE(listener.gateThreads().count(std::this_thread::get_id()), size_t(0));
    link.stop();
}

void EmbeddedLinkTest::start_twiceOrWithoutServer_isRefused() {
    RecordingListener listener;
    EmbeddedLink link(m_engine);
    QString error;
    QVERIFY(link.start(&listener, &error));
    QVERIFY(!link.start(&listener, &error));
    QVERIFY(!error.isEmpty());
    EmbeddedLink without(nullptr);
    error.clear();
    QVERIFY(!without.start(&listener, &error));
    QVERIFY(!error.isEmpty());
}

void EmbeddedLinkTest::start_afterStop_worksAgain() {
    RecordingListener listener;
    EmbeddedLink link(m_engine);
    QString error;
    QVERIFY(link.start(&listener, &error));
    link.stop();
    link.stop();
    QVERIFY(link.start(&listener, &error));
    QVERIFY(link.send(treeRequest(1)));
    QVERIFY(listener.waitForOutcomes(1));
}

void EmbeddedLinkTest::send_concurrentCallers_eachRequestHasOneAnswerOfItsOwn() {
    constexpr int kCallers = 4;
    constexpr int kEach = 50;
    RecordingListener listener;
    EmbeddedLink link(m_engine);
    QString error;
    QVERIFY(link.start(&listener, &error));
    std::vector<std::thread> callers;
    for (int caller = 0; caller < kCallers; ++caller) {
        callers.emplace_back([&link, caller] {
            for (int i = 0; i < kEach; ++i) {
                const quint64 id = static_cast<quint64>(caller) * kEach + i + 1;
                const QString user = id % 2 ? SampleLogin::user : SampleLogin::secondUser;
                link.send(treeRequest(id, user));
            }
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    QVERIFY(listener.waitForOutcomes(kCallers * kEach));
    link.stop();
    const auto outcomes = listener.outcomes();
    QCOMPARE(outcomes.size(), size_t(kCallers * kEach));
    std::set<std::thread::id> threads;
    for (quint64 id = 1; id <= kCallers * kEach; ++id) {
        QCOMPARE(outcomes.count(id), size_t(1));
        const auto& outcome = outcomes.find(id)->second;
        QCOMPARE(outcome.kind, QStringLiteral("answer"));
        QCOMPARE(outcome.msgType, HostMsgType::accountTree);
        QCOMPARE(headerOf(outcome.body).value(System::clientMsgID).toString(), QString::number(id));
        QCOMPARE(rowsOf(outcome.body).size(), id % 2 ? 200 : 8);
        threads.insert(outcome.thread);
    }
    QVERIFY(threads.size() <= 2);
    QCOMPARE(threads.count(std::this_thread::get_id()), size_t(0));
}

void EmbeddedLinkTest::send_oneAnswerHeldUp_othersGoOn() {
    RecordingListener listener;
    EmbeddedLink link(m_engine);
    QString error;
    QVERIFY(link.start(&listener, &error));
    listener.hold();
    // A failing check must not leave the link's threads inside the listener.
    const auto letGo = qScopeGuard([&listener] { listener.release(); });
    QVERIFY(link.send(treeRequest(1)));
    QVERIFY(listener.waitForHeld(1));
    QVERIFY(link.send(treeRequest(2)));
    QVERIFY(listener.waitForOutcomes(2));
    listener.release();
    link.stop();
}

void EmbeddedLinkTest::send_beforeStartOrAfterStop_isRefused() {
    RecordingListener listener;
    EmbeddedLink link(m_engine);
    QVERIFY(!link.send(treeRequest(1)));
    QString error;
    QVERIFY(link.start(&listener, &error));
    link.stop();
    QVERIFY(!link.send(treeRequest(2)));
    QVERIFY(listener.outcomes().empty());
}

void EmbeddedLinkTest::send_fromInsideAnAnswer_isServed() {
    class Chaining : public RecordingListener {
    public:
        EmbeddedLink* link = nullptr;
        void onAnswer(quint64 envelopeId, const QString& msgType, const QVariant& body) override {
            if (envelopeId < 10) {
                link->send(treeRequest(envelopeId + 1));
            }
            RecordingListener::onAnswer(envelopeId, msgType, body);
        }
    };
    Chaining listener;
    EmbeddedLink link(m_engine);
    listener.link = &link;
    QString error;
    QVERIFY(link.start(&listener, &error));
    QVERIFY(link.send(treeRequest(1)));
    QVERIFY(listener.waitForOutcomes(10));
    link.stop();
}

void EmbeddedLinkTest::subscription_queuedWhileItsGateIsLost_isRefused() {
    const QString topic = Velmar_MsgType::ClientPatchInfoPush;
    RecordingListener listener;
    EmbeddedLink link(m_engine);
    QString error;
    QVERIFY(link.start(&listener, &error));
    listener.hold();
    // A failing check must not leave the link's threads inside the listener.
    const auto letGo = qScopeGuard([&listener] { listener.release(); });
    QVERIFY(link.send(treeRequest(1)));
    QVERIFY(link.send(treeRequest(2)));
    QVERIFY(listener.waitForHeld(2));
    // Both threads are delivering answers, so the subscription waits.
    QVERIFY(link.send(subscribeRequest(3, topic)));
    link.loseGate(NetGateType::TradeGate);
    QVERIFY(link.send(subscribeRequest(4, Velmar_MsgType::MessageCenterPushMsg)));
    listener.release();
    QVERIFY(listener.waitForOutcomes(4));
    const auto outcomes = listener.outcomes();
    const auto statusOf = [&outcomes](quint64 id) {
        return headerOf(outcomes.find(id)->second.body).value(System::requestExeStatus).toString();
    };
    QVERIFY(statusOf(3) != RequestExeStatus::success);
    QCOMPARE(m_engine->push(topic, packRows({}, {})), 0);
    // One that came after the loss stands.
    QCOMPARE(statusOf(4), RequestExeStatus::success);
    link.stop();
}

void EmbeddedLinkTest::stop_requestsWaiting_failAndNothingFollows() {
    constexpr quint64 kRequests = 20;
    RecordingListener listener;
    EmbeddedLink link(m_engine);
    QString error;
    QVERIFY(link.start(&listener, &error));
    QVERIFY(link.send(subscribeRequest(1000, Velmar_MsgType::MessageCenterPushMsg)));
    QVERIFY(listener.waitForOutcomes(1));
    listener.hold();
    // A failing check must not leave the link's threads inside the listener.
    const auto letGo = qScopeGuard([&listener] { listener.release(); });
    for (quint64 id = 1; id <= kRequests; ++id) {
        QVERIFY(link.send(treeRequest(id)));
    }
    QVERIFY(listener.waitForHeld(2));
    // Both threads are delivering answers, so the other requests wait when the link begins to stop.
    std::thread stopper([&link] { link.stop(); });
    while (link.send(treeRequest(2000))) {
        std::this_thread::yield();
    }
    listener.release();
    stopper.join();

    const auto outcomes = listener.outcomes();
    int answers = 0;
    int failures = 0;
    for (quint64 id = 1; id <= kRequests; ++id) {
        QCOMPARE(outcomes.count(id), size_t(1));
        const auto& outcome = outcomes.find(id)->second;
        answers += outcome.kind == QLatin1String("answer") ? 1 : 0;
        failures += outcome.kind == QLatin1String("failure") ? 1 : 0;
    }
    QCOMPARE(answers + failures, int(kRequests));
    QVERIFY2(failures > 0, "the waiting requests were served while the link stopped");
    QCOMPARE(m_engine->push(Velmar_MsgType::MessageCenterPushMsg, packRows({}, {})), 0);
    QVERIFY(listener.pushes().isEmpty());
    QCOMPARE(listener.outcomes().size(), outcomes.size());
}

void EmbeddedLinkTest::stop_closesTheThreadsConnections() {
    const int before = m_store->connectionCount();
    RecordingListener listener;
    EmbeddedLink link(m_engine);
    QString error;
    QVERIFY(link.start(&listener, &error));
    QVERIFY(link.send(treeRequest(1)));
    QVERIFY(listener.waitForOutcomes(1));
    QVERIFY(m_store->connectionCount() > before);
    link.stop();
    QCOMPARE(m_store->connectionCount(), before);
}

void EmbeddedLinkTest::push_reachesSubscribedLinkOnly_inOrder() {
    constexpr int kPushes = 200;
    const QString topic = Velmar_MsgType::MessageCenterPushMsg;
    RecordingListener listener;
    RecordingListener otherListener;
    EmbeddedLink link(m_engine);
    EmbeddedLink other(m_engine);
    QString error;
    QVERIFY(link.start(&listener, &error));
    QVERIFY(other.start(&otherListener, &error));
    QVERIFY(link.send(subscribeRequest(1, topic)));
    QVERIFY(listener.waitForOutcomes(1));
    for (int i = 0; i < kPushes; ++i) {
        QCOMPARE(m_engine->push(topic, packRows({{System::dataKey, i}}, {})), 1);
    }
    QVERIFY(listener.waitForPushes(kPushes));
    const auto pushes = listener.pushes();
    for (int i = 0; i < kPushes; ++i) {
        QCOMPARE(pushes.at(i).first, topic);
        QCOMPARE(headerOf(pushes.at(i).second).value(System::dataKey).toInt(), i);
    }
    link.stop();
    other.stop();
    QVERIFY(otherListener.pushes().isEmpty());
}

void EmbeddedLinkTest::push_whileOneThreadIsHeldUp_keepsItsOrder() {
    constexpr int kPushes = 50;
    const QString topic = Velmar_MsgType::ClientPatchInfoPush;
    RecordingListener listener;
    EmbeddedLink link(m_engine);
    QString error;
    QVERIFY(link.start(&listener, &error));
    QVERIFY(link.send(subscribeRequest(1, topic)));
    QVERIFY(listener.waitForOutcomes(1));
    listener.hold();
    // A failing check must not leave the link's threads inside the listener.
    const auto letGo = qScopeGuard([&listener] { listener.release(); });
    QVERIFY(link.send(treeRequest(2)));
    QVERIFY(listener.waitForHeld(1));
    for (int i = 0; i < kPushes; ++i) {
        m_engine->push(topic, packRows({{System::dataKey, i}}, {}));
    }
    QVERIFY(listener.waitForPushes(kPushes));
    for (int i = 0; i < kPushes; ++i) {
        QCOMPARE(headerOf(listener.pushes().at(i).second).value(System::dataKey).toInt(), i);
    }
    listener.release();
    link.stop();
}

void EmbeddedLinkTest::push_heldUpByTheListener_isNotOvertaken() {
    const QString topic = Velmar_MsgType::ClientPatchInfoPush;
    RecordingListener listener;
    EmbeddedLink link(m_engine);
    QString error;
    QVERIFY(link.start(&listener, &error));
    QVERIFY(link.send(subscribeRequest(1, topic)));
    QVERIFY(listener.waitForOutcomes(1));
    listener.holdPushes();
    // A failing check must not leave the link's threads inside the listener.
    const auto letGo = qScopeGuard([&listener] { listener.release(); });
    m_engine->push(topic, packRows({{System::dataKey, 1}}, {}));
    QVERIFY(listener.waitForPushes(1));
    // The idle thread must not take the second push; it serves requests instead.
    m_engine->push(topic, packRows({{System::dataKey, 2}}, {}));
    for (quint64 id = 2; id < 6; ++id) {
        QVERIFY(link.send(treeRequest(id)));
        QVERIFY(listener.waitForOutcomes(id));
    }
    QCOMPARE(listener.pushes().size(), 1);
    listener.release();
    QVERIFY(listener.waitForPushes(2));
    link.stop();
}

QTEST_GUILESS_MAIN(EmbeddedLinkTest)
#include "embedded_link_test.moc"

#include <QTemporaryDir>

#include "embedded_link.h"
#include "faulty_link_fixture.h"
#include "host_msg_type.h"
#include "message_type.h"
#include "sample_market.h"
#include "small_market.h"
#include "vocabulary/net_state.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

const QString kByInfoGate = Velmar_MsgType::MessageCenterPushMsg;
const QString kByTradeGate = Velmar_MsgType::ClientPatchInfoPush;

GatewayRequest subscription(quint64 id, const QString& envelope, const QString& topic) {
    GatewayRequest request;
    request.envelopeId = id;
    request.msgType = envelope;
    request.body = packRows({{System::msgType, Quindar_MsgType::subscribeTopicRequest},
                             {System::subscriptionTopic, topic},
                             {Security::subscriptionRequestType, SubscribeType::subscribe},
                             {UserAccount::userID, SampleLogin::user}},
                            {});
    return request;
}

}  // namespace

/// What the server keeps of a client's subscriptions when a gate of the link goes down.
class FaultyLinkSubscriptionsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(makeSampleMarket(m_dir.path(), smallMarket(), {}, &error), qPrintable(error));
    }
    void init() {
        QString error;
        m_engine = ServerEngine::open(marketStoreFile(m_dir.path()), &error);
        QVERIFY2(m_engine, qPrintable(error));
        m_plan = std::make_shared<FaultPlan>();
        m_reports = std::make_unique<Reports>();
        m_link = std::make_unique<FaultyLink>(std::make_unique<EmbeddedLink>(m_engine), m_plan);
        QVERIFY2(m_link->start(m_reports.get(), &error), qPrintable(error));
        QVERIFY(subscribe(1, kSharedEnvelope, kByInfoGate));
        QVERIFY(subscribe(2, Quindar_MsgType::subscribeTopicRequest, kByTradeGate));
        QCOMPARE(pushed(), (QList<int>{1, 1}));
    }
    void cleanup() {
        m_link.reset();
        m_reports.reset();
        m_engine.reset();
    }

    void gateDown_dropsItsSubscriptionsOnly_data();
    void gateDown_dropsItsSubscriptionsOnly();
    void gateDown_otherSession_keepsItsSubscriptions();
    void gateBack_newSubscription_isServed();
    void disconnectFault_reconnected_hasDroppedTheSubscriptions();
    void stoppedLink_gateDown_hasNoEffect();

private:
    bool subscribe(quint64 id, const QString& envelope, const QString& topic) {
        return m_link->send(subscription(id, envelope, topic)) &&
               waitFor([&] { return m_reports->count(QStringLiteral("answer %1").arg(id)) == 1; });
    }
    /// The numbers of sessions that get a push through the info gate and through the trade gate.
    QList<int> pushed() {
        return {m_engine->push(kByInfoGate, packRows({}, {})),
                m_engine->push(kByTradeGate, packRows({}, {}))};
    }

    QTemporaryDir m_dir;
    std::shared_ptr<ServerEngine> m_engine;
    std::shared_ptr<FaultPlan> m_plan;
    std::unique_ptr<Reports> m_reports;
    std::unique_ptr<FaultyLink> m_link;
};

void FaultyLinkSubscriptionsTest::gateDown_dropsItsSubscriptionsOnly_data() {
    QTest::addColumn<QString>("gate");
    QTest::addColumn<QString>("state");
    QTest::addColumn<QList<int>>("left");
    QTest::newRow("info") << NetGateType::InfoGate << NET_STATE::NOCONNECT << QList<int>{0, 1};
    QTest::newRow("info, connecting")
        << NetGateType::InfoGate << NET_STATE::CONNECTTING << QList<int>{0, 1};
    QTest::newRow("trade") << NetGateType::TradeGate << NET_STATE::NOCONNECT << QList<int>{1, 0};
    QTest::newRow("market") << NetGateType::MarketTcpGate << NET_STATE::NOCONNECT
                            << QList<int>{1, 1};
    QTest::newRow("info, still up")
        << NetGateType::InfoGate << NET_STATE::CONNECTED << QList<int>{1, 1};
}

void FaultyLinkSubscriptionsTest::gateDown_dropsItsSubscriptionsOnly() {
    QFETCH(QString, gate);
    QFETCH(QString, state);
    QFETCH(QList<int>, left);
    m_link->setGate(gate, state);
    QCOMPARE(pushed(), left);
    m_link->setGate(gate, NET_STATE::CONNECTED);
    QCOMPARE(pushed(), left);
}

void FaultyLinkSubscriptionsTest::gateDown_otherSession_keepsItsSubscriptions() {
    Reports reports;
    EmbeddedLink other(m_engine);
    QString error;
    QVERIFY(other.start(&reports, &error));
    QVERIFY(other.send(subscription(1, kSharedEnvelope, kByInfoGate)));
    QVERIFY(waitFor([&] { return reports.count("answer 1") == 1; }));
    QCOMPARE(pushed(), (QList<int>{2, 1}));
    m_link->setGate(NetGateType::InfoGate, NET_STATE::NOCONNECT);
    QCOMPARE(pushed(), (QList<int>{1, 1}));
    other.stop();
}

void FaultyLinkSubscriptionsTest::gateBack_newSubscription_isServed() {
    m_link->setGate(NetGateType::InfoGate, NET_STATE::NOCONNECT);
    m_link->setGate(NetGateType::InfoGate, NET_STATE::CONNECTED);
    QVERIFY(subscribe(3, kSharedEnvelope, kByInfoGate));
    QCOMPARE(pushed(), (QList<int>{1, 1}));
}

void FaultyLinkSubscriptionsTest::disconnectFault_reconnected_hasDroppedTheSubscriptions() {
    m_plan->add(faultOf("100002 1 disconnect gate=InfoGate reconnect=1"));
    const int before = m_reports->count("InfoGate CONNECTED");
    QVERIFY(m_link->send(requestOf(5, HostMsgType::accountTree)));
    QVERIFY(waitFor([&] { return m_reports->count("InfoGate CONNECTED") == before + 1; }));
    QCOMPARE(m_reports->count("InfoGate NOCONNECT"), 1);
    QCOMPARE(pushed(), (QList<int>{0, 1}));
}

void FaultyLinkSubscriptionsTest::stoppedLink_gateDown_hasNoEffect() {
    m_link->stop();
    QCOMPARE(pushed(), (QList<int>{0, 0}));
    m_link->setGate(NetGateType::InfoGate, NET_STATE::NOCONNECT);
    m_link->loseGate(NetGateType::TradeGate);
    QCOMPARE(pushed(), (QList<int>{0, 0}));
}

QTEST_GUILESS_MAIN(FaultyLinkSubscriptionsTest)
#include "faulty_link_subscriptions_test.moc"

#include <QtTest>

#include "faulty_link_room.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"

class FaultyLinkGatesTest : public QObject {
    Q_OBJECT

private slots:
    void disconnect_failsRequestsUntilReconnect();
    void namedGate_goesDownAlone();
    void heldGate_hidesTheStateFromBelow();
    void heldGate_letGo_hasTheStateFromBelow_data();
    void heldGate_letGo_hasTheStateFromBelow();
    void gateOfAFault_reconnected_hasTheStateFromBelow();
};

void FaultyLinkGatesTest::disconnect_failsRequestsUntilReconnect() {
    Room room({"120006 1 disconnect", "120006 1 disconnect reconnect=3"});
    QVERIFY(room.link->send(requestOf(1)));
    QVERIFY(room.link->send(requestOf(2)));
    QVERIFY(room.reports.waitForLines(3));
    QCOMPARE(room.reports.lines(), (QStringList{"TradeGate NOCONNECT", "failure 1", "failure 2"}));
    QVERIFY(room.reports.body(2).toString().contains(QStringLiteral("TradeGate")));
    QCOMPARE(room.script->requestCount(), 0);
    room.link->setGate(NetGateType::TradeGate, NET_STATE::CONNECTED);
    QVERIFY(room.link->send(requestOf(3)));
    QVERIFY(room.reports.waitForLines(5));
    QCOMPARE(sorted(room.reports.lines().mid(3)), (QStringList{"TradeGate CONNECTED", "answer 3"}));
    room.plan->clear();
    room.plan->add(faultOf("120006 1 disconnect reconnect=3"));
    QVERIFY(room.link->send(requestOf(4)));
    QVERIFY(room.reports.waitForLines(8));
    QCOMPARE(room.reports.lines().mid(5),
             (QStringList{"TradeGate NOCONNECT", "failure 4", "TradeGate CONNECTED"}));
    QVERIFY(room.link->send(requestOf(5)));
    QVERIFY(room.reports.waitForLines(9));
    QCOMPARE(room.reports.lines().last(), QStringLiteral("answer 5"));
}

void FaultyLinkGatesTest::namedGate_goesDownAlone() {
    Room room;
    room.link->setGate(NetGateType::InfoGate, NET_STATE::NOCONNECT);
    QVERIFY(room.link->send(requestOf(1)));
    QVERIFY(room.reports.waitForLines(2));
    QCOMPARE(sorted(room.reports.lines()), (QStringList{"InfoGate NOCONNECT", "answer 1"}));
}

void FaultyLinkGatesTest::heldGate_hidesTheStateFromBelow() {
    Room room;
    room.link->setGate(NetGateType::TradeGate, NET_STATE::NOCONNECT);
    room.script->gateState(NetGateType::TradeGate, NET_STATE::CONNECTED);
    room.script->gateState(NetGateType::InfoGate, NET_STATE::CONNECTED);
    QVERIFY(room.reports.waitForLines(2));
    room.link->setGate(NetGateType::TradeGate, NET_STATE::CONNECTED);
    QVERIFY(room.reports.waitForLines(3));
    QCOMPARE(room.reports.lines(),
             (QStringList{"TradeGate NOCONNECT", "InfoGate CONNECTED", "TradeGate CONNECTED"}));
}

void FaultyLinkGatesTest::heldGate_letGo_hasTheStateFromBelow_data() {
    QTest::addColumn<QStringList>("below");  // what it reports while the gate is held
    QTest::addColumn<QString>("state");
    QTest::newRow("nothing") << QStringList() << NET_STATE::CONNECTED;
    QTest::newRow("lost") << QStringList{NET_STATE::NOCONNECT} << NET_STATE::NOCONNECT;
    QTest::newRow("coming") << QStringList{NET_STATE::NOCONNECT, NET_STATE::CONNECTTING}
                            << NET_STATE::CONNECTTING;
    QTest::newRow("lost and back")
        << QStringList{NET_STATE::NOCONNECT, NET_STATE::CONNECTED} << NET_STATE::CONNECTED;
}

void FaultyLinkGatesTest::heldGate_letGo_hasTheStateFromBelow() {
    QFETCH(QStringList, below);
    QFETCH(QString, state);
    Room room;
    room.script->gateState(NetGateType::TradeGate, NET_STATE::CONNECTED);
    room.script->gateState(NetGateType::InfoGate, NET_STATE::NOCONNECT);
    QVERIFY(room.reports.waitForLines(2));
    room.link->setGate(NetGateType::TradeGate, NET_STATE::NOCONNECT);
    for (const QString& reports : below) {
        room.script->gateState(NetGateType::TradeGate, reports);
    }
    QVERIFY(room.script->waitUntilIdle());
    room.link->setGate(NetGateType::TradeGate, NET_STATE::CONNECTED);
    // From here on the reports of the link below are passed on again.
    room.script->gateState(NetGateType::TradeGate, NET_STATE::CONNECTTING);
    QVERIFY(room.reports.waitForLines(5));
    QCOMPARE(room.reports.lines(),
             (QStringList{"TradeGate CONNECTED", "InfoGate NOCONNECT", "TradeGate NOCONNECT",
                          "TradeGate " + state, "TradeGate CONNECTTING"}));
}

void FaultyLinkGatesTest::gateOfAFault_reconnected_hasTheStateFromBelow() {
    Room room({"120006 1 disconnect reconnect=0"});
    room.script->gateState(NetGateType::TradeGate, NET_STATE::CONNECTTING);
    QVERIFY(room.reports.waitForLines(1));
    QVERIFY(room.link->send(requestOf(1)));
    QVERIFY(room.reports.waitForLines(4));
    QCOMPARE(room.reports.lines(), (QStringList{"TradeGate CONNECTTING", "TradeGate NOCONNECT",
                                                "failure 1", "TradeGate CONNECTTING"}));
}

QTEST_GUILESS_MAIN(FaultyLinkGatesTest)
#include "faulty_link_gates_test.moc"

#include <QtTest>

#include "faulty_link_fixture.h"
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
    Fixture fixture({"120006 1 disconnect", "120006 1 disconnect reconnect=3"});
    QVERIFY(fixture.link->send(requestOf(1)));
    QVERIFY(fixture.link->send(requestOf(2)));
    QVERIFY(fixture.reports.waitForLines(3));
    QCOMPARE(fixture.reports.lines(),
             (QStringList{"TradeGate NOCONNECT", "failure 1", "failure 2"}));
    QVERIFY(fixture.reports.body(2).toString().contains(QStringLiteral("TradeGate")));
    QCOMPARE(fixture.script->requestCount(), 0);
    fixture.link->setGate(NetGateType::TradeGate, NET_STATE::CONNECTED);
    QVERIFY(fixture.link->send(requestOf(3)));
    QVERIFY(fixture.reports.waitForLines(5));
    QCOMPARE(sorted(fixture.reports.lines().mid(3)),
             (QStringList{"TradeGate CONNECTED", "answer 3"}));
    fixture.plan->clear();
    fixture.plan->add(faultOf("120006 1 disconnect reconnect=3"));
    QVERIFY(fixture.link->send(requestOf(4)));
    QVERIFY(fixture.reports.waitForLines(8));
    QCOMPARE(fixture.reports.lines().mid(5),
             (QStringList{"TradeGate NOCONNECT", "failure 4", "TradeGate CONNECTED"}));
    QVERIFY(fixture.link->send(requestOf(5)));
    QVERIFY(fixture.reports.waitForLines(9));
    QCOMPARE(fixture.reports.lines().last(), QStringLiteral("answer 5"));
}

void FaultyLinkGatesTest::namedGate_goesDownAlone() {
    Fixture fixture;
    fixture.link->setGate(NetGateType::InfoGate, NET_STATE::NOCONNECT);
    QVERIFY(fixture.link->send(requestOf(1)));
    QVERIFY(fixture.reports.waitForLines(2));
    QCOMPARE(sorted(fixture.reports.lines()), (QStringList{"InfoGate NOCONNECT", "answer 1"}));
}

void FaultyLinkGatesTest::heldGate_hidesTheStateFromBelow() {
    Fixture fixture;
    fixture.link->setGate(NetGateType::TradeGate, NET_STATE::NOCONNECT);
    fixture.script->gateState(NetGateType::TradeGate, NET_STATE::CONNECTED);
    fixture.script->gateState(NetGateType::InfoGate, NET_STATE::CONNECTED);
    QVERIFY(fixture.reports.waitForLines(2));
    fixture.link->setGate(NetGateType::TradeGate, NET_STATE::CONNECTED);
    QVERIFY(fixture.reports.waitForLines(3));
    QCOMPARE(fixture.reports.lines(),
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
    Fixture fixture;
    fixture.script->gateState(NetGateType::TradeGate, NET_STATE::CONNECTED);
    fixture.script->gateState(NetGateType::InfoGate, NET_STATE::NOCONNECT);
    QVERIFY(fixture.reports.waitForLines(2));
    fixture.link->setGate(NetGateType::TradeGate, NET_STATE::NOCONNECT);
    for (const QString& reports : below) {
        fixture.script->gateState(NetGateType::TradeGate, reports);
    }
    QVERIFY(fixture.script->waitUntilIdle());
    fixture.link->setGate(NetGateType::TradeGate, NET_STATE::CONNECTED);
    // From here on the reports of the link below are passed on again.
    fixture.script->gateState(NetGateType::TradeGate, NET_STATE::CONNECTTING);
    QVERIFY(fixture.reports.waitForLines(5));
    QCOMPARE(fixture.reports.lines(),
             (QStringList{"TradeGate CONNECTED", "InfoGate NOCONNECT", "TradeGate NOCONNECT",
                          "TradeGate " + state, "TradeGate CONNECTTING"}));
}

void FaultyLinkGatesTest::gateOfAFault_reconnected_hasTheStateFromBelow() {
    Fixture fixture({"120006 1 disconnect reconnect=0"});
    fixture.script->gateState(NetGateType::TradeGate, NET_STATE::CONNECTTING);
    QVERIFY(fixture.reports.waitForLines(1));
    QVERIFY(fixture.link->send(requestOf(1)));
    QVERIFY(fixture.reports.waitForLines(4));
    QCOMPARE(fixture.reports.lines(), (QStringList{"TradeGate CONNECTTING", "TradeGate NOCONNECT",
                                                   "failure 1", "TradeGate CONNECTTING"}));
}

QTEST_GUILESS_MAIN(FaultyLinkGatesTest)
#include "faulty_link_gates_test.moc"

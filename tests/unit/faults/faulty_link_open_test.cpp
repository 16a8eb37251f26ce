#include <QtTest>

#include "faulty_link_fixture.h"
#include "vocabulary/net_state.h"

/// The pending work of a faulty link, and what ends it.
class FaultyLinkOpenTest : public QObject {
    Q_OBJECT

private slots:
    void open_countsWhatIsHeldOrAwaited();
    void open_answerHeldBelow_isAwaited();
    void drip_beyondAllNumbers_isHeldAndNotReportedAtOnce();
    void reconnect_gateTakenDownSince_leavesItDown_data();
    void reconnect_gateTakenDownSince_leavesItDown();
    void gateDown_requests_meetNoFaultAndAreNotCounted();
};

void FaultyLinkOpenTest::open_countsWhatIsHeldOrAwaited() {
    Fixture fixture({"120006 1 delay ms=60000", "120006 2 timeout silent=true",
                     "120006 3 timeout ms=60000", "120006 4 duplicate",
                     "120006 5 reorder ms=60000"});
    QCOMPARE(fixture.link->openCount(), 0);
    for (quint64 id = 1; id <= 4; ++id) {
        QVERIFY(fixture.link->send(requestOf(id)));
    }
    QVERIFY(fixture.reports.waitForLines(2));
    // The delayed answer and the late time-out; the silent one does not count.
    QVERIFY(waitFor([&] { return fixture.link->openCount() == 2; }));
    QVERIFY(fixture.link->send(requestOf(5)));
    QVERIFY(fixture.script->waitUntilIdle());
    // The held answer, and its time limit.
    QCOMPARE(fixture.link->openCount(), 4);
    fixture.link->stop();
    QCOMPARE(fixture.link->openCount(), 0);
}

void FaultyLinkOpenTest::open_answerHeldBelow_isAwaited() {
    Fixture fixture({"120006 1 duplicate"});
    fixture.script->on(kType, ScriptedReply::rows({}).held());
    QVERIFY(fixture.link->send(requestOf(1)));
    QCOMPARE(fixture.link->openCount(), 1);
    fixture.script->release();
    QVERIFY(fixture.reports.waitForLines(2));
    QVERIFY(waitFor([&] { return fixture.link->openCount() == 0; }));
}

void FaultyLinkOpenTest::drip_beyondAllNumbers_isHeldAndNotReportedAtOnce() {
    Fixture fixture({"120006 1 drip ms=600000"});
    QList<QVariantMap> rows;
    for (int i = 0; i < 4000; ++i) {
        rows.append({{"n", i}});
    }
    fixture.script->on(kType, ScriptedReply::rows(rows));
    QVERIFY(fixture.link->send(requestOf(1)));
    QVERIFY(fixture.script->waitUntilIdle());
    QVERIFY(fixture.link->send(requestOf(2)));
    QVERIFY(fixture.reports.waitForLines(1));
    fixture.link->stop();
    QCOMPARE(fixture.reports.lines(), (QStringList{"answer 2", "failure 1"}));
}

void FaultyLinkOpenTest::reconnect_gateTakenDownSince_leavesItDown_data() {
    QTest::addColumn<bool>("byHand");
    QTest::newRow("by hand") << true;
    QTest::newRow("by a disconnection for good") << false;
}

void FaultyLinkOpenTest::reconnect_gateTakenDownSince_leavesItDown() {
    QFETCH(bool, byHand);
    Fixture fixture({"120006 1 disconnect gate=InfoGate reconnect=20",
                     "100002 1 disconnect gate=InfoGate",
                     "100001 1 disconnect gate=MarketTcpGate reconnect=30"});
    QVERIFY(fixture.link->send(requestOf(1, QStringLiteral("120006"))));
    if (byHand) {
        fixture.link->setGate(NetGateType::InfoGate, NET_STATE::NOCONNECT);
    } else {
        QVERIFY(fixture.link->send(requestOf(2, QStringLiteral("100002"))));
    }
    // This gate comes back later than the other one would have.
    QVERIFY(fixture.link->send(requestOf(3, QStringLiteral("100001"))));
    QVERIFY(waitFor([&] { return fixture.reports.count("MarketTcpGate CONNECTED") == 1; }));
    const QStringList reports = fixture.reports.lines().filter("InfoGate");
    QVERIFY(reports.size() >= 2);
    QCOMPARE(reports.last(), QStringLiteral("InfoGate NOCONNECT"));
    fixture.link->setGate(NetGateType::InfoGate, NET_STATE::CONNECTED);
    QVERIFY(waitFor([&] { return fixture.reports.lines().last() == "InfoGate CONNECTED"; }));
}

void FaultyLinkOpenTest::gateDown_requests_meetNoFaultAndAreNotCounted() {
    Fixture fixture({"120006 1-2 disconnect", "120006 3 refusal"});
    for (quint64 id = 1; id <= 3; ++id) {
        QVERIFY(fixture.link->send(requestOf(id)));
    }
    QVERIFY(fixture.reports.waitForLines(4));
    QCOMPARE(fixture.plan->list(),
             (QStringList{"120006 1-2 disconnect # 1", "120006 3 refusal # 1"}));
    fixture.link->setGate(NetGateType::TradeGate, NET_STATE::CONNECTED);
    QVERIFY(fixture.link->send(requestOf(4)));
    QVERIFY(fixture.reports.waitForLines(7));
    QCOMPARE(fixture.reports.lines().filter("NOCONNECT").size(), 2);
    QCOMPARE(fixture.reports.count("failure 4"), 1);
    QCOMPARE(fixture.script->requestCount(), 0);
}

QTEST_GUILESS_MAIN(FaultyLinkOpenTest)
#include "faulty_link_open_test.moc"

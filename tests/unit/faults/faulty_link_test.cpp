#include <QtTest>
#include <atomic>
#include <thread>
#include <vector>

#include "fault_control.h"
#include "faulty_link_fixture.h"
#include "host_msg_type.h"
#include "vocabulary/net_state.h"
#include "vocabulary/velmar_msg_type.h"

class FaultyLinkTest : public QObject {
    Q_OBJECT

private slots:
    void plan_countsByTypeAndOccurrence_data();
    void plan_countsByTypeAndOccurrence();
    void plan_firstFaultThatFits_decidesAndAllCount();
    void faultLine_readsBack_data();
    void faultLine_readsBack();
    void wrongFaultLine_namesTheColumn();
    void withoutFault_passesEverything();
    void eachKind_hasItsOutcome_data();
    void eachKind_hasItsOutcome();
    void refusal_carriesTextAndClientMsgId();
    void heartBeat_withAFault_isAnsweredWithItsOwnType();
    void truncated_headerStatesMoreRowsThanTheBodyHas();
    void silentTimeOut_reportsNothing();
    void reorder_reversesAndGivesUpWaiting();
    void drip_takesLongerTheMoreRows();
    void sharedEnvelope_messageTypeOfTheBodyCounts();
    void control_addsListsAndClears();
    void control_wrongRow_changesNothing();
    void outcomes_neverComeFromInsideSend();
    void stop_inTheMiddle_givesEachItsOutcome();
    void stop_whileOthersSend_losesNothing();
    void afterStop_nothingIsAcceptedOrReported();
};

void FaultyLinkTest::plan_countsByTypeAndOccurrence_data() {
    QTest::addColumn<QString>("occurrences");
    QTest::addColumn<QString>("hits");
    QTest::newRow("one") << "2"
                         << "-x---";
    QTest::newRow("range") << "2-3"
                           << "-xx--";
    QTest::newRow("every") << "every"
                           << "xxxxx";
    QTest::newRow("from") << "4+"
                          << "---xx";
}

void FaultyLinkTest::plan_countsByTypeAndOccurrence() {
    QFETCH(QString, occurrences);
    QFETCH(QString, hits);
    FaultPlan plan;
    plan.add(faultOf(qPrintable("120006 " + occurrences + " timeout")));
    FaultPlan any;
    any.add(faultOf(qPrintable("* " + occurrences + " timeout")));
    QString seen;
    QString seenByAny;
    for (int i = 0; i < 5; ++i) {
        // Another type: counted by the second fault only.
        QVERIFY(!plan.take(QStringLiteral("other")));
        seen += plan.take(kType) ? 'x' : '-';
        seenByAny += any.take(i % 2 ? kType : QStringLiteral("other")) ? 'x' : '-';
    }
    QCOMPARE(seen, hits);
    QCOMPARE(seenByAny, hits);
}

void FaultyLinkTest::plan_firstFaultThatFits_decidesAndAllCount() {
    FaultPlan plan;
    plan.add(faultOf("120006 2 garbage"));
    plan.add(faultOf("* 1-2 refusal"));
    QVERIFY(plan.take(kType)->kind == FaultKind::Refusal);
    QVERIFY(plan.take(kType)->kind == FaultKind::Garbage);
    QVERIFY(!plan.take(kType));
    // A fault that is added later counts from then on.
    plan.add(faultOf("120006 1-2 late"));
    QVERIFY(plan.take(kType)->kind == FaultKind::Late);
    QCOMPARE(plan.list(), QStringList{"120006 1-2 late # 1"});
    plan.clear();
    QCOMPARE(plan.size(), 0);
}

void FaultyLinkTest::faultLine_readsBack_data() {
    QTest::addColumn<QString>("line");
    for (const char* line :
         {"120006 1 timeout", "* every delay ms=20", "120006 2-3 refusal text=\"没 有\"",
          "120006 4+ failure ms=1 text=\"a \\\"b\\\"\\n\"", "120006 1 truncate rows=0",
          "120006 1 reorder ms=7 count=3", "120006 1 disconnect reconnect=0 gate=InfoGate",
          "120006 1 timeout silent=true", "120006 1 drip ms=2", "120006 1 duplicate",
          "120006 1 garbage", "120006 1 extra row={\"a\":\"b\"}"}) {
        QTest::newRow(line) << QString::fromUtf8(line);
    }
}

void FaultyLinkTest::faultLine_readsBack() {
    QFETCH(QString, line);
    QCOMPARE(faultText(faultOf(qUtf8Printable(line))), line);
}

void FaultyLinkTest::wrongFaultLine_namesTheColumn() {
    Fault fault;
    LineError error;
    QVERIFY(!readFault(QStringLiteral("120006 1 explode"), &fault, &error));
    QVERIFY2(error.toString().startsWith(QStringLiteral("column 10: 'explode'")),
             qPrintable(error.toString()));
    QVERIFY(!readFault(QStringLiteral("120006 1 reorder count=1"), &fault, &error));
    QCOMPARE(error.column, 24);
    QVERIFY(!readFault(QStringLiteral("120006 1 timeout silent=perhaps"), &fault, &error));
    QCOMPARE(error.column, 25);
}

void FaultyLinkTest::withoutFault_passesEverything() {
    Fixture fixture;
    QVERIFY(fixture.link->send(requestOf(1)));
    QVERIFY(fixture.reports.waitForLines(1));
    fixture.script->push(QStringLiteral("topic"), packRows({}, {}));
    fixture.script->gateState(NetGateType::InfoGate, NET_STATE::CONNECTTING);
    QVERIFY(fixture.reports.waitForLines(3));
    QCOMPARE(fixture.reports.lines(),
             (QStringList{"answer 1", "push topic", "InfoGate CONNECTTING"}));
    fixture.script->refuseSends(true);
    QVERIFY(!fixture.link->send(requestOf(2)));
}

void FaultyLinkTest::eachKind_hasItsOutcome_data() {
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QStringList>("reports");
    QTest::addColumn<int>("reached");
    const auto row = [](const char* fault, const QStringList& reports, int reached) {
        QTest::newRow(fault) << QString::fromUtf8(fault) << reports << reached;
    };
    row("120006 1 delay ms=2", {"answer 1"}, 1);
    row("120006 1 timeout", {"timeout 1"}, 0);
    row("120006 1 failure text=why", {"failure 1"}, 0);
    row("120006 1 refusal", {"answer 1"}, 0);
    row("120006 1 garbage", {"answer 1"}, 0);
    row("120006 1 truncate", {"answer 1"}, 1);
    row("120006 1 extra row={\"n\":5}", {"answer 1"}, 1);
    row("120006 1 duplicate", {"answer 1", "answer 1"}, 1);
    row("120006 1 late ms=2", {"timeout 1", "answer 1"}, 1);
    row("120006 1 reorder ms=2", {"answer 1"}, 1);
    row("120006 1 disconnect gate=InfoGate", {"InfoGate NOCONNECT", "failure 1"}, 0);
    row("120006 1 drip ms=1", {"answer 1"}, 1);
}

void FaultyLinkTest::eachKind_hasItsOutcome() {
    QFETCH(QString, fault);
    QFETCH(QStringList, reports);
    QFETCH(int, reached);
    Fixture fixture({qUtf8Printable(fault)});
    QVERIFY(fixture.link->send(requestOf(1)));
    QVERIFY(fixture.reports.waitForLines(reports.size()));
    // The next request is not affected, and nothing more is reported for the first.
    QVERIFY(fixture.link->send(requestOf(2)));
    QVERIFY(fixture.reports.waitForLines(reports.size() + 1));
    fixture.link->stop();
    QCOMPARE(fixture.reports.lines(), reports + QStringList{"answer 2"});
    QCOMPARE(fixture.script->requestCount(), reached + 1);
    const QVariant body = fixture.reports.body(reports.size() - 1);
    if (fault.contains(QLatin1String("garbage"))) {
        QCOMPARE(body, QVariant(QStringLiteral("garbage")));
    } else if (fault.contains(QLatin1String("extra"))) {
        QCOMPARE(rowsOf(body).size(), 5);
        QCOMPARE(rowsOf(body).last().value("n").toInt(), 5);
        QCOMPARE(headerOf(body).value(System::subGroupNumber).toInt(), 5);
    } else if (fault.contains(QLatin1String("why"))) {
        QCOMPARE(body, QVariant(QStringLiteral("why")));
    }
}

void FaultyLinkTest::refusal_carriesTextAndClientMsgId() {
    Fixture fixture({"120006 1 refusal text=\"没有权限\""});
    QVERIFY(fixture.link->send(requestOf(9)));
    QVERIFY(fixture.reports.waitForLines(1));
    const QVariantMap header = headerOf(fixture.reports.body(0));
    QCOMPARE(header.value(System::textDescription).toString(), QStringLiteral("没有权限"));
    QCOMPARE(header.value("58").toString(), QStringLiteral("没有权限"));
    QCOMPARE(header.value(System::clientMsgID).toString(), QStringLiteral("c9"));
    QCOMPARE(header.value(System::requestExeStatus).toString(), QStringLiteral("1"));
}

void FaultyLinkTest::heartBeat_withAFault_isAnsweredWithItsOwnType() {
    Fixture fixture({"* 1-2 refusal", "* 3-4 garbage", "* 5-6 truncate"});
    const QString& type = Velmar_MsgType::BusiHeartBeatRequest;
    fixture.script->on(type, ScriptedReply::rows({{{"n", 1}}}));
    constexpr int kBeats = 8;  // the last two have no fault
    for (int i = 0; i < kBeats; ++i) {
        GatewayRequest beat = requestOf(static_cast<quint64>(i) + 1, type);
        beat.msgType = i % 2 == 0 ? type : QStringLiteral("325005");
        QVERIFY(fixture.link->send(beat));
        QVERIFY(fixture.reports.waitForLines(i + 1));
    }
    const QStringList types = fixture.reports.answerTypes();
    QCOMPARE(types.size(), kBeats);
    QCOMPARE(types.count(Velmar_MsgType::BusiHeartBeatResponse), kBeats);
    for (int i = 0; i < 2; ++i) {
        const QVariantMap header = headerOf(fixture.reports.body(i));
        QCOMPARE(header.value(System::msgType).toString(), Velmar_MsgType::BusiHeartBeatResponse);
        QCOMPARE(header.value(System::clientMsgID).toString(), QStringLiteral("c%1").arg(i + 1));
        QCOMPARE(header.value(System::requestExeStatus).toString(), QStringLiteral("1"));
    }
}

void FaultyLinkTest::truncated_headerStatesMoreRowsThanTheBodyHas() {
    Fixture fixture({"120006 1 truncate", "120006 2 truncate rows=3", "120006 3 truncate rows=99"});
    int at = 0;
    for (const int rows : {2, 3, 4}) {
        QVERIFY(fixture.link->send(requestOf(static_cast<quint64>(at + 1))));
        QVERIFY(fixture.reports.waitForLines(at + 1));
        QCOMPARE(rowsOf(fixture.reports.body(at)).size(), rows);
        QCOMPARE(headerOf(fixture.reports.body(at)).value(System::subGroupNumber).toInt(), 4);
        ++at;
    }
}

void FaultyLinkTest::silentTimeOut_reportsNothing() {
    Fixture fixture({"120006 1 timeout silent=true"});
    QVERIFY(fixture.link->send(requestOf(1)));
    QVERIFY(fixture.link->send(requestOf(2)));
    QVERIFY(fixture.reports.waitForLines(1));
    fixture.link->stop();
    QCOMPARE(fixture.reports.lines(), QStringList{"answer 2"});
}

void FaultyLinkTest::reorder_reversesAndGivesUpWaiting() {
    Fixture fixture({"120006 1-3 reorder count=3 ms=60000", "120006 4-5 reorder count=3 ms=5"});
    for (const quint64 id : {1, 2, 3}) {
        QVERIFY(fixture.link->send(requestOf(id)));
        QVERIFY(fixture.script->waitUntilIdle());
    }
    QVERIFY(fixture.reports.waitForLines(3));
    QCOMPARE(fixture.reports.lines(), (QStringList{"answer 3", "answer 2", "answer 1"}));
    QVERIFY(fixture.link->send(requestOf(4)));
    QVERIFY(fixture.reports.waitForLines(4));
    QCOMPARE(fixture.reports.lines().last(), QStringLiteral("answer 4"));
}

void FaultyLinkTest::drip_takesLongerTheMoreRows() {
    Fixture fixture({"* every drip ms=60000"});
    fixture.script->on(QStringLiteral("empty"), ScriptedReply::rows({}));
    QVERIFY(fixture.link->send(requestOf(1)));
    QVERIFY(fixture.script->waitUntilIdle());
    QVERIFY(fixture.link->send(requestOf(2, QStringLiteral("empty"))));
    QVERIFY(fixture.reports.waitForLines(1));
    QCOMPARE(fixture.reports.lines(), QStringList{"answer 2"});
    fixture.link->stop();
    QCOMPARE(fixture.reports.lines(), (QStringList{"answer 2", "failure 1"}));
}

void FaultyLinkTest::sharedEnvelope_messageTypeOfTheBodyCounts() {
    Fixture fixture({"120006 1 failure"});
    Fault ofTheEnvelope = faultOf("* 1 timeout");
    ofTheEnvelope.msgType = QStringLiteral("325005");
    fixture.plan->add(ofTheEnvelope);
    fixture.script->on(QStringLiteral("other"), ScriptedReply::rows({}));
    GatewayRequest request = requestOf(1, QStringLiteral("other"));
    request.msgType = QStringLiteral("325005");
    QVERIFY(fixture.link->send(request));
    QVERIFY(fixture.reports.waitForLines(1));
    request = requestOf(2, QStringLiteral("120006"));
    request.msgType = QStringLiteral("325005");
    QVERIFY(fixture.link->send(request));
    QVERIFY(fixture.reports.waitForLines(2));
    QCOMPARE(fixture.reports.lines(), (QStringList{"answer 1", "failure 2"}));
}

void FaultyLinkTest::control_addsListsAndClears() {
    Fixture fixture({"* every failure"});
    const auto ask = [&fixture](quint64 id, const QList<QVariantMap>& rows) {
        const bool sent = fixture.link->send(requestOf(id, HostMsgType::control, rows));
        return sent && fixture.reports.waitForLines(static_cast<int>(id))
                   ? fixture.reports.body(static_cast<int>(id) - 1)
                   : QVariant();
    };
    QVariant body =
        ask(1, {{{FaultField::command, "add"}, {FaultField::fault, "120006 2 refusal text=x"}},
                {{FaultField::command, "list"}}});
    QCOMPARE(headerOf(body).value(System::requestExeStatus).toString(), QStringLiteral("0"));
    QCOMPARE(headerOf(body).value(System::clientMsgID).toString(), QStringLiteral("c1"));
    const auto rows = rowsOf(body);
    QCOMPARE(rows.size(), 2);
    QCOMPARE(rows.at(1).value(FaultField::fault).toString(),
             QStringLiteral("120006 2 refusal text=x # 0"));
    body = ask(2, {{{FaultField::command, "clear"}}, {{FaultField::command, "list"}}});
    QVERIFY(rowsOf(body).isEmpty());
    QCOMPARE(fixture.plan->size(), 0);
    QCOMPARE(fixture.script->requestCount(), 0);
}

void FaultyLinkTest::control_wrongRow_changesNothing() {
    Fixture fixture;
    QVERIFY(fixture.link->send(
        requestOf(1, HostMsgType::control,
                  {{{FaultField::command, "add"}, {FaultField::fault, "120006 1 late"}},
                   {{FaultField::command, "add"}, {FaultField::fault, "120006 1 never"}}})));
    QVERIFY(fixture.link->send(
        requestOf(2, HostMsgType::control, {{{FaultField::command, "forget"}}})));
    QVERIFY(fixture.link->send(requestOf(3, HostMsgType::control)));
    QVERIFY(fixture.reports.waitForLines(3));
    const auto text = [&fixture](int at) {
        return headerOf(fixture.reports.body(at)).value(System::textDescription).toString();
    };
    QVERIFY2(text(0).startsWith(QStringLiteral("row 2, column 10: 'never'")), qPrintable(text(0)));
    QVERIFY2(text(1).contains(QStringLiteral("'forget'")), qPrintable(text(1)));
    QVERIFY2(text(2).contains(QStringLiteral("has no command")), qPrintable(text(2)));
    QCOMPARE(fixture.plan->size(), 0);
}

void FaultyLinkTest::outcomes_neverComeFromInsideSend() {
    Fixture fixture({"120006 1 timeout", "120006 2 failure", "120006 3 refusal", "120006 4 garbage",
                     "120006 5 disconnect gate=InfoGate", "120006 6 late", "120006 7 duplicate"});
    quint64 id = 0;
    while (id < 7) {
        QVERIFY(fixture.link->send(requestOf(++id)));
    }
    QVERIFY(fixture.link->send(requestOf(++id, HostMsgType::control)));
    QVERIFY(fixture.reports.waitForLines(11));
    QVERIFY(!fixture.reports.calledOn(std::this_thread::get_id()));
}

void FaultyLinkTest::stop_inTheMiddle_givesEachItsOutcome() {
    Fixture fixture({"120006 1 delay ms=60000", "120006 2 timeout ms=60000",
                     "120006 3-4 reorder count=9 ms=60000", "120006 5 late ms=60000",
                     "120006 6 disconnect gate=InfoGate reconnect=60000"});
    for (quint64 id = 1; id <= 6; ++id) {
        QVERIFY(fixture.link->send(requestOf(id)));
    }
    QVERIFY(fixture.script->waitUntilIdle());
    QVERIFY(fixture.reports.waitForLines(3));
    fixture.link->stop();
    const QStringList lines = fixture.reports.lines();
    QCOMPARE(lines.size(), 7);
    for (const char* line : {"failure 1", "failure 2", "failure 3", "failure 4", "timeout 5",
                             "InfoGate NOCONNECT", "failure 6"}) {
        QCOMPARE(fixture.reports.count(QString::fromLatin1(line)), 1);
    }
}

void FaultyLinkTest::stop_whileOthersSend_losesNothing() {
    for (int round = 0; round < 20; ++round) {
        Fixture fixture({"120006 1-20 delay ms=1", "120006 21-40 failure",
                         "120006 41-60 reorder count=3", "120006 61-80 refusal"});
        // The script's own thread drops what it has not reported when it stops.
        fixture.script->on(kType, ScriptedReply::rows({}).held());
        std::atomic<quint64> last{0};
        std::atomic<bool> begun{false};
        std::vector<quint64> taken[2];
        std::vector<std::thread> senders;
        for (auto& list : taken) {
            senders.emplace_back([&] {
                for (int i = 0; i < 60; ++i) {
                    const quint64 id = ++last;
                    if (fixture.link->send(requestOf(id))) {
                        list.push_back(id);
                    }
                    begun = true;
                }
            });
        }
        QVERIFY(waitFor([&] { return begun.load(); }));
        fixture.link->stop();
        for (std::thread& sender : senders) {
            sender.join();
        }
        const QStringList lines = fixture.reports.lines();
        for (const QString& line : lines) {
            QCOMPARE(lines.count(line), 1);
        }
        // Intercepted requests have their outcome; the script may drop those that reached it.
        const int below = fixture.script->requestCount();
        QCOMPARE(lines.size() + below, static_cast<int>(taken[0].size() + taken[1].size()));
    }
}

void FaultyLinkTest::afterStop_nothingIsAcceptedOrReported() {
    Fixture fixture({"120006 1 timeout", "120006 2 timeout silent=true", "120006 3 disconnect"});
    fixture.link->stop();
    fixture.link->stop();
    for (quint64 id = 1; id <= 4; ++id) {
        QVERIFY(!fixture.link->send(requestOf(id)));
    }
    QVERIFY(!fixture.link->send(requestOf(5, HostMsgType::control)));
    fixture.link->setGate(NetGateType::TradeGate, NET_STATE::NOCONNECT);
    QVERIFY(fixture.reports.lines().isEmpty());
}

QTEST_GUILESS_MAIN(FaultyLinkTest)
#include "faulty_link_test.moc"

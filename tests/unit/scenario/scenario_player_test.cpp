#include <QJsonArray>
#include <QJsonObject>
#include <QtTest>

#include "child_process.h"
#include "scenario_check.h"
#include "scenario_parser.h"
#include "scenario_player.h"
#include "test_paths.h"

namespace {

/// A stage without a client; it lists what the player does.
class FakeStage : public ScenarioStage {
public:
    explicit FakeStage(std::shared_ptr<ScenarioTape> tape) : m_tape(std::move(tape)) {}

    bool listenTo(const QString& event, QString* error) override {
        *error = QStringLiteral("never heard of it");
        return did(QStringLiteral("listen ") + event) && event != QLatin1String("Unknown");
    }
    bool setSetting(const QString& name, const QString& value, QString*) override {
        return did(QStringLiteral("set %1=%2").arg(name, value));
    }
    FaultPlan& faults() override { return m_plan; }
    void setClock(const QDateTime& time) override {
        did(QStringLiteral("clock ") + time.toString(Qt::ISODate));
    }
    void advanceClock(qint64 ms) override { did(QStringLiteral("advance %1").arg(ms)); }
    bool begin(const QString& user, QString* error) override {
        *error = QStringLiteral("no such user");
        did(QStringLiteral("begin ") + user);
        return user != QLatin1String("nobody");
    }
    bool ready(int limitMs, QString* error) override {
        error->clear();
        return did(QStringLiteral("ready %1").arg(limitMs));
    }
    int push(const QString& topic, const QVariant& body, const QString& user) override {
        if (++m_pushes <= pushesToNobody) {
            return 0;
        }
        did(QStringLiteral("push %1 %2 for '%3'").arg(topic).arg(body.toList().size()).arg(user));
        m_tape->add(RecordKind::Push, topic, jsonOfBody(body));
        return 1;
    }
    bool putMessage(const QString& user, const QVariantMap& message, QString* error) override {
        *error = QStringLiteral("no such user");
        const QString text = message.value(QStringLiteral("text")).toString();
        return did(QStringLiteral("message '%1' for '%2'").arg(text, user)) &&
               user != QLatin1String("nobody");
    }
    bool hasMessageSubscriber(const QString& user) const override {
        return user != QLatin1String("away") && ++m_subscriberLooks > pushesToNobody;
    }
    bool putPatch(const QVariantMap& patch, QString* error) override {
        *error = QStringLiteral("no such patch");
        const QString id = patch.value(QStringLiteral("id")).toString();
        return did(QStringLiteral("patch '%1'").arg(id)) && id != QLatin1String("bad");
    }
    bool hasPatchSubscriber() const override { return ++m_subscriberLooks > pushesToNobody; }
    void tick(const QString& symbol, const QVariantMap& fields, const QString& source) override {
        did(QStringLiteral("tick %1 %2 %3").arg(symbol).arg(fields.size()).arg(source));
    }
    void setGate(const QString& gate, const QString& netState) override {
        did(gate + QLatin1Char(' ') + netState);
    }
    bool putDeal(const QVariantMap& deal, QString* error) override {
        return put(QStringLiteral("deal"), deal, error);
    }
    bool putPosition(const QVariantMap& position, QString* error) override {
        return put(QStringLiteral("position"), position, error);
    }
    bool putOrder(const QVariantMap& order, QString* error) override {
        return put(QStringLiteral("order"), order, error);
    }
    bool reloadBook(QString* error) override {
        error->clear();
        return did(QStringLiteral("book reload"));
    }
    bool readBook(const QString& account, QJsonObject* answer, QString* error) override {
        *error = account == QLatin1String("none") ? QStringLiteral("no book") : QString();
        *answer = {{QStringLiteral("cash"), ++m_reads}};
        return did(QStringLiteral("book ") + account) && error->isEmpty();
    }
    bool checkMessages(QJsonObject* answer, QString* error) override {
        error->clear();
        ++m_looks;
        *answer = {{QStringLiteral("agrees"), m_looks >= looksUntilAgreed},
                   {QStringLiteral("server"), m_looks}};
        return did(QStringLiteral("messages check"));
    }
    bool repairMessages(QString* error) override {
        error->clear();
        return did(QStringLiteral("messages repair"));
    }
    bool call(const QString& function, const QStringList& arguments, QJsonObject* answer,
              QString*) override {
        *answer = {{QStringLiteral("result"), ++m_calls}};
        return did(QStringLiteral("call %1(%2)").arg(function, arguments.join(QLatin1Char(','))));
    }
    int pendingRequests() const override { return 0; }
    bool waitUntil(const std::function<bool()>& predicate, int limitMs) override {
        // A millisecond is one evaluation here.
        for (int i = 0; i <= limitMs; ++i) {
            if (predicate()) {
                return true;
            }
        }
        return false;
    }

    QStringList done;
    int pushesToNobody = 0;
    int looksUntilAgreed = 3;

private:
    bool put(const QString& what, const QVariantMap& record, QString* error) {
        *error = QStringLiteral("refused");
        return did(QStringLiteral("%1 %2").arg(what).arg(record.size())) && !record.isEmpty();
    }
    bool did(const QString& what) {
        done.append(what);
        return true;
    }

    const std::shared_ptr<ScenarioTape> m_tape;
    FaultPlan m_plan;
    int m_calls = 0;
    int m_reads = 0;
    int m_looks = 0;
    int m_pushes = 0;
    mutable int m_subscriberLooks = 0;
};

QString client() {
    return QStringLiteral(VELMAR_BINARY_DIR "/bin/velmar-client");
}

}  // namespace

class ScenarioPlayerTest : public QObject {
    Q_OBJECT

private slots:
    void steps_arePlayedInOrder();
    void unknownEvent_isReportedAtItsPlaceBeforeAnythingIsPlayed();
    void expectations_lookAtTheTape_data();
    void expectations_lookAtTheTape();
    void bookRecords_arePutAndMayHaveToBeRefused();
    void book_isReadUntilItsChecksHold();
    void messages_areComparedUntilTheyAgree();
    void call_isRepeatedUntilItsChecksHold();
    void push_waitsForASubscriberUpToItsLimit();
    void message_waitsForASubscriberUnlessTheUserMayBeAway();
    void message_refused_failsUnlessThatIsExpected();
    void patch_waitsForASubscriberUnlessItNeedsNone();
    void patch_refused_failsUnlessThatIsExpected();
    void check_seesPartsOfAValue_data();
    void check_seesPartsOfAValue();
    void failedStep_endsTheClientWithItsLine_data();
    void failedStep_endsTheClientWithItsLine();
    void unreadableFile_hasAnExitCodeOfItsOwn();

private:
    bool play(const QByteArray& text, QString* report, int pushesToNobody = 0);

    std::shared_ptr<ScenarioTape> m_tape;
    QStringList m_done;
};

bool ScenarioPlayerTest::play(const QByteArray& text, QString* report, int pushesToNobody) {
    Scenario scenario;
    if (!parseScenario(QStringLiteral("f.scn"), text, &scenario, report)) {
        return false;
    }
    if (!m_tape) {
        m_tape = std::make_shared<ScenarioTape>();
    }
    FakeStage stage(m_tape);
    stage.pushesToNobody = pushesToNobody;
    ScenarioPlayer player(stage, m_tape);
    const bool well = player.play(scenario.fileName, scenario.sections.first(), report);
    m_done = stage.done;
    return well;
}

void ScenarioPlayerTest::steps_arePlayedInOrder() {
    m_tape.reset();
    QString report;
    QVERIFY2(play("setting a b\nclock set 2026-01-05T09:30:00\nstart user=u within=7\n"
                  "clock advance 9\npush t user=x {} {}\ntick s {\"a\":1}\ngate InfoGate down\n"
                  "call F 1 => 1\nexpect idle\nexpect no event E\nexpect push t count=1 rows#=1\n",
                  &report),
             qPrintable(report));
    QCOMPARE(m_done, (QStringList{"listen E", "set a=b", "clock 2026-01-05T09:30:00", "begin u",
                                  "ready 7", "advance 9", "push t 2 for 'x'", "tick s 1 scenario",
                                  "InfoGate NOCONNECT", "call F(1)"}));
    QVERIFY(!play("start user=nobody\n", &report));
    QVERIFY2(report.startsWith(QStringLiteral("f.scn:1: failed\n")) &&
                 report.contains(QStringLiteral("no such user")),
             qPrintable(report));
    QVERIFY2(play("start fails user=nobody error*=\"such user\"\n", &report), qPrintable(report));
}

void ScenarioPlayerTest::unknownEvent_isReportedAtItsPlaceBeforeAnythingIsPlayed() {
    QString report;
    QVERIFY(
        !play("start\nexpect event E\nexpect event E count=1\n"
              "  expect no event Unknown # who knows\n",
              &report));
    QCOMPARE(report, QStringLiteral("f.scn:4:19: never heard of it"));
    QCOMPARE(m_done, (QStringList{"listen E", "listen Unknown"}));
}

void ScenarioPlayerTest::expectations_lookAtTheTape_data() {
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<bool>("met");
    const auto row = [](const char* line, bool met) {
        QTest::newRow(line) << QByteArray(line) << met;
    };
    row("expect request 1", true);
    row("expect request 1 count=3", true);
    row("expect request 1 count=2", false);
    row("expect request 1 header.n=2 count=1", true);
    row("expect request 1 occurrence=2 header.n=2", true);
    row("expect request 1 occurrence=2 header.n=1", false);
    row("expect request 1 occurrence=4", false);
    row("expect request 2", false);
    row("expect request 2 count=0", true);
    row("expect answer 1", false);
    row("expect no request 1", false);
    row("expect no request 1 header.n=9", true);
    row("expect log text*=gone level=warn", true);
    row("expect log text*=gone level=info", false);
    row("expect no log text~=\"^all.*gone$\"", false);
}

void ScenarioPlayerTest::expectations_lookAtTheTape() {
    QFETCH(QByteArray, line);
    QFETCH(bool, met);
    m_tape = std::make_shared<ScenarioTape>();
    for (int n = 1; n <= 3; ++n) {
        m_tape->add(RecordKind::Request, QStringLiteral("1"), {{"header", QJsonObject{{"n", n}}}});
    }
    m_tape->add(RecordKind::Log, QStringLiteral("warn"),
                {{"level", "warn"}, {"text", "all is gone"}});
    QString report;
    QCOMPARE(play("start\n\n" + line + (line.contains(" no ") ? "" : " within=3"), &report), met);
    QCOMPARE(report.startsWith(QStringLiteral("f.scn:3: failed\n  expected: expect")), !met);
}

void ScenarioPlayerTest::bookRecords_arePutAndMayHaveToBeRefused() {
    m_tape.reset();
    QString report;
    QVERIFY2(play("start\ndeal {\"a\":1}\nposition {\"a\":1,\"b\":2}\norder {\"a\":1}\n"
                  "order {} error=refused\n",
                  &report),
             qPrintable(report));
    QCOMPARE(m_done.mid(2), (QStringList{"deal 1", "position 2", "order 1", "order 0"}));
    QVERIFY(!play("start\ndeal {}\n", &report));
    QVERIFY2(report.contains("f.scn:2: failed") && report.contains("came: refused"),
             qPrintable(report));
    QVERIFY(!play("start\ndeal {} error*=other\n", &report));
    QVERIFY2(report.contains("error is refused"), qPrintable(report));
    QVERIFY(!play("start\ndeal {\"a\":1} error=refused\n", &report));
    QVERIFY2(report.contains("the record was accepted"), qPrintable(report));
}

void ScenarioPlayerTest::messages_areComparedUntilTheyAgree() {
    QString report;
    QVERIFY2(play("start\nmessages check within=5\n", &report), qPrintable(report));
    QCOMPARE(m_done.mid(2), (QStringList{"messages check", "messages check", "messages check"}));
    QVERIFY(!play("start\nmessages check within=1\n", &report));
    QVERIFY2(report.contains("came: agrees is false"), qPrintable(report));
    QVERIFY2(play("start\nmessages check within=2 => server=2 agrees=false\n", &report),
             qPrintable(report));
    QVERIFY2(play("start\nmessages check repair within=5\n", &report), qPrintable(report));
    QCOMPARE(m_done.mid(2).first(), QString("messages repair"));
    QCOMPARE(m_done.count("messages repair"), 1);
}

void ScenarioPlayerTest::book_isReadUntilItsChecksHold() {
    m_tape.reset();
    QString report;
    QVERIFY2(play("start\nbook T1 => cash=3 within=10\n", &report), qPrintable(report));
    QCOMPARE(m_done.mid(2), (QStringList{"book T1", "book T1", "book T1"}));
    QVERIFY(!play("start\nbook T1 => cash=3\n", &report));
    QVERIFY2(report.contains("cash is 1"), qPrintable(report));
    QVERIFY(!play("start\nbook none => cash=3 within=10\n", &report));
    QVERIFY2(report.contains("came: no book"), qPrintable(report));
    QVERIFY2(play("start\nbook reload\n", &report), qPrintable(report));
    QVERIFY(m_done.contains("book reload"));
}

void ScenarioPlayerTest::call_isRepeatedUntilItsChecksHold() {
    QString report;
    QVERIFY2(play("start\ncall F => 3 within=10\n", &report), qPrintable(report));
    QVERIFY(!play("start\ncall F => 3\n", &report));
    QVERIFY2(report.contains(QStringLiteral("result is 1")), qPrintable(report));
}

void ScenarioPlayerTest::push_waitsForASubscriberUpToItsLimit() {
    QString report;
    QVERIFY2(play("start\npush t {} within=3\n", &report, 3), qPrintable(report));
    QCOMPARE(m_done.filter("push t").size(), 1);
    QVERIFY(!play("start\npush t {} within=3\n", &report, 4));
    QVERIFY2(report.contains("nobody subscribed to it within 3 ms"), qPrintable(report));
}

void ScenarioPlayerTest::message_waitsForASubscriberUnlessTheUserMayBeAway() {
    QString report;
    QVERIFY2(play("start\nmessage {\"text\":\"a\"} within=3\n", &report, 3), qPrintable(report));
    QCOMPARE(m_done.last(), QString("message 'a' for ''"));
    QVERIFY(!play("start\nmessage {\"text\":\"a\"} within=3\n", &report, 4));
    QVERIFY2(report.contains("nobody subscribed to the messages within 3 ms"), qPrintable(report));
    QVERIFY(m_done.filter("message").isEmpty());
    QVERIFY(!play("start\nmessage {} user=away within=3\n", &report));
    QVERIFY2(play("start\nmessage {} user=away within=0\n", &report), qPrintable(report));
    QCOMPARE(m_done.last(), QString("message '' for 'away'"));
}

void ScenarioPlayerTest::message_refused_failsUnlessThatIsExpected() {
    QString report;
    QVERIFY(!play("start\nmessage {} user=nobody\n", &report));
    QVERIFY2(report.contains("came: no such user"), qPrintable(report));
    QVERIFY2(play("start\nmessage {} user=nobody error*=such\n", &report), qPrintable(report));
    QVERIFY(!play("start\nmessage {} user=nobody error=other\n", &report));
    QVERIFY2(report.contains("error is no such user"), qPrintable(report));
    QVERIFY(!play("start\nmessage {} error*=such\n", &report));
    QVERIFY2(report.contains("the record was accepted"), qPrintable(report));
}

void ScenarioPlayerTest::patch_waitsForASubscriberUnlessItNeedsNone() {
    QString report;
    QVERIFY2(play("start\npatch {\"id\":\"P1\"} within=3\n", &report, 3), qPrintable(report));
    QCOMPARE(m_done.last(), QString("patch 'P1'"));
    QVERIFY(!play("start\npatch {\"id\":\"P1\"} within=3\n", &report, 4));
    QVERIFY2(report.contains("nobody subscribed to patches within 3 ms"), qPrintable(report));
    QVERIFY(m_done.filter("patch").isEmpty());
    QVERIFY2(play("start\npatch {} within=0\n", &report, 4), qPrintable(report));
    QCOMPARE(m_done.last(), QString("patch ''"));
}

void ScenarioPlayerTest::patch_refused_failsUnlessThatIsExpected() {
    QString report;
    QVERIFY(!play("start\npatch {\"id\":\"bad\"}\n", &report));
    QVERIFY2(report.contains("came: no such patch"), qPrintable(report));
    QVERIFY2(play("start\npatch {\"id\":\"bad\"} error*=such\n", &report), qPrintable(report));
    QVERIFY(!play("start\npatch {} error*=such\n", &report));
    QVERIFY2(report.contains("the record was accepted"), qPrintable(report));
}

void ScenarioPlayerTest::check_seesPartsOfAValue_data() {
    QTest::addColumn<QString>("line");
    QTest::addColumn<bool>("holds");
    const auto row = [](const char* line, bool holds) {
        QTest::newRow(line) << QString::fromUtf8(line) << holds;
    };
    row("result.text=ab", true);
    row("result.text=a", false);
    row("result.text*=b", true);
    row("result.text~=^a.$", true);
    row("result.text#=2", true);
    row("result.list.0%=1.0000009", true);
    row("result.list.0%=1.000002", false);
    row("result.text%=1", false);
    row("result.list#=3", true);
    row("result.list*=2", true);
    row("result.list*=4", false);
    row("result.list.1=2", true);
    row("result.list.9=2", false);
    row("result.list=[1,2,\"x\"]", true);
    row("result.list=[1,2]", false);
    row("result.real=1.5", true);
    row("result.real=1.50", true);
    row("result.real=15e-1", true);
    row("result.real=1.51", false);
    row("result.real*=1.50", true);
    row("result.list*=2.0", true);
    row("result.list=[1.0,2,\"x\"]", true);
    row("result.list=[1,2.5,\"x\"]", false);
    row("result.list.1=2.00", true);
    row("result.digits=1.50", true);
    row("result.digits=1.5", false);
    row("result.long=9007199254740993", true);
    row("result.long=9007199254740992", false);
    row("result.longs=[9007199254740993]", true);
    row("result.longs=[9007199254740992]", false);
    row("result.flag=true", true);
    row("result.none=null", true);
    row("result.missing=\"\"", false);
    row("result.empty=\"\"", true);
    row("result.empty#=0", true);
    row("result={\"a\":1}", false);
    row("true", false);
}

void ScenarioPlayerTest::check_seesPartsOfAValue() {
    QFETCH(QString, line);
    QFETCH(bool, holds);
    const QJsonObject answer{{"result", QJsonObject{{"text", "ab"},
                                                    {"list", QJsonArray{1, 2, "x"}},
                                                    {"real", 1.5},
                                                    {"digits", "1.50"},
                                                    {"long", "9007199254740993"},
                                                    {"longs", QJsonArray{"9007199254740993"}},
                                                    {"flag", true},
                                                    {"none", QJsonValue::Null},
                                                    {"empty", ""}}}};
    Scenario scenario;
    QString error;
    QVERIFY2(
        parseScenario(QStringLiteral("f"), "start\ncall F => " + line.toUtf8(), &scenario, &error),
        qPrintable(error));
    QCOMPARE(checkHolds(scenario.sections.first().steps.last().checks.first(), answer), holds);
}

void ScenarioPlayerTest::failedStep_endsTheClientWithItsLine_data() {
    QTest::addColumn<QString>("place");
    QTest::addColumn<QString>("part");
    QTest::newRow("wrong_count") << "4"
                                 << "1 of them";
    QTest::newRow("wrong_answer") << "3"
                                  << "result.tradingAccount is T000001";
    QTest::newRow("event_that_came") << "5"
                                     << "1 of them";
    QTest::newRow("missing_log_line") << "3"
                                      << "all is lost";
    QTest::newRow("push_to_nobody") << "3"
                                    << "nobody subscribed";
    QTest::newRow("start_that_fails") << "3"
                                      << "not loaded within";
    QTest::newRow("start_that_works") << "2"
                                      << "the client started";
    QTest::newRow("second_section") << "6"
                                    << "result is {";
    QTest::newRow("unknown_function") << "3"
                                      << "GetEverything";
    QTest::newRow("unknown_account") << "4"
                                     << "no account is called 'T999999'";
    QTest::newRow("unknown_event") << "3:14"
                                   << "NoSuchEvent";
    QTest::newRow("wrong_field") << "3"
                                 << "header.10094 is 2";
}

void ScenarioPlayerTest::failedStep_endsTheClientWithItsLine() {
    QFETCH(QString, place);
    QFETCH(QString, part);
    const QString file = QStringLiteral(VELMAR_SOURCE_DIR "/tests/unit/scenario/data/%1.scn")
                             .arg(QString::fromLatin1(QTest::currentDataTag()));
    const ChildResult result = runChild(client(), {QStringLiteral("--scenario"), file});
    QVERIFY2(result.started && !result.crashed && result.exitCode == 1, qPrintable(result.output));
    QVERIFY2(result.output.contains(file + QStringLiteral(":%1: ").arg(place)),
             qPrintable(result.output));
    QVERIFY2(result.output.contains(part), qPrintable(result.output));
    QVERIFY2(result.output.trimmed().endsWith(QStringLiteral(".scn: failed")),
             qPrintable(result.output));
}

void ScenarioPlayerTest::unreadableFile_hasAnExitCodeOfItsOwn() {
    const QString file =
        QStringLiteral(VELMAR_SOURCE_DIR "/tests/unit/scenario/data/no_scenario.scn");
    ChildResult result = runChild(client(), {QStringLiteral("--scenario"), file});
    QCOMPARE(result.exitCode, 2);
    QVERIFY2(result.output.contains(file + QStringLiteral(":3:14: 'first'")),
             qPrintable(result.output));
    result = runChild(client(), {QStringLiteral("--scenario"), QStringLiteral("/no/such.scn")});
    QCOMPARE(result.exitCode, 2);
    QVERIFY2(result.output.contains(QStringLiteral("/no/such.scn")), qPrintable(result.output));
}

QTEST_GUILESS_MAIN(ScenarioPlayerTest)
#include "scenario_player_test.moc"

#include "scenario_parser.h"

#include <QtTest>

namespace {

const QString kFile = QStringLiteral("some.scn");

}  // namespace

class ScenarioParserTest : public QObject {
    Q_OBJECT

private slots:
    void everyDirective_isRead();
    void expectation_keepsItsWords();
    void quotedWords_andJson_areRead();
    void sections_areCutAtRestart();
    void wrongText_isReportedWithItsPlace_data();
    void wrongText_isReportedWithItsPlace();
    void failure_doesNotChangeTheResult();
    void cutAndTwistedText_neverDoesHarm();
    void limits_areEnforced();

private:
    static Scenario parsed(const QByteArray& text);
};

Scenario ScenarioParserTest::parsed(const QByteArray& text) {
    Scenario scenario;
    QString error;
    if (!parseScenario(kFile, text, &scenario, &error)) {
        QTest::qFail(qPrintable(error), __FILE__, __LINE__);
        scenario.sections = {ScenarioSection()};
    }
    return scenario;
}

namespace {

const QByteArray kWhole =
    "# what it is about\n"
    "market accounts=12 seed=7 symbols=60 ticks=0\r\n"
    "\n"
    "setting \"a/b\" \"x y\"\n"
    "fault 120006 1-2 refusal text=\"没有\" ms=5   # why\n"
    "fault clear\n"
    "clock set 2026-01-05T09:30:00\n"
    "start nowait user=demo02 within=500\n"
    "ready\n"
    "clock advance 1500\n"
    "push topic user=demo01 {\"a\": 1} {\"b\": [1, 2]}\n"
    "message {\"c\": \"d\"} user=demo02 within=0 error*=e\n"
    "tick 600000 {\"last\": 1.5} source=feed\n"
    "gate InfoGate down\n"
    "deal {\"a\": 1}\n"
    "order {\"b\": 1} error~=b\n"
    "position {}\n"
    "book T1 => cash=5 within=9\n"
    "call Get true \"a=b\" [1] => [\"x\"] result.0*=x within=20\n"
    "messages check within=8\n"
    "messages check repair => server=2\n"
    "patch {\"e\": \"f\"} within=6 error=g\n"
    "expect idle\n"
    "restart\n"
    "start fails error*=\"not loaded\"\n";

}  // namespace

void ScenarioParserTest::everyDirective_isRead() {
    using Kind = ScenarioStep::Kind;
    const Scenario scenario = parsed(kWhole);
    QCOMPARE(scenario.fileName, kFile);
    QCOMPARE(scenario.market.accounts, 12);
    QCOMPARE(scenario.market.seed, 7U);
    QCOMPARE(scenario.ticksPerSecond, 0);
    QCOMPARE(scenario.market.symbols, 60);
    QCOMPARE(scenario.market.historyOrders, kScenarioHistoryOrders);
    QCOMPARE(scenario.sections.size(), 2);
    const auto steps = scenario.sections.first().steps;
    const QVector<Kind> kinds{
        Kind::Setting, Kind::Fault,        Kind::ClearFaults,    Kind::ClockSet, Kind::Begin,
        Kind::Ready,   Kind::ClockAdvance, Kind::Push,           Kind::Message,  Kind::Tick,
        Kind::Gate,    Kind::Deal,         Kind::Order,          Kind::Position, Kind::Book,
        Kind::Call,    Kind::Messages,     Kind::MessagesRepair, Kind::Patch,    Kind::ExpectIdle};
    QCOMPARE(steps.size(), kinds.size());
    for (int i = 0; i < kinds.size(); ++i) {
        QVERIFY2(steps.at(i).kind == kinds.at(i), qPrintable(steps.at(i).text));
    }
    QCOMPARE(steps.at(0).name, QStringLiteral("a/b"));
    QCOMPARE(steps.at(0).value, QStringLiteral("x y"));
    QCOMPARE(steps.at(0).line, 4);
    QCOMPARE(faultText(steps.at(1).fault), QStringLiteral("120006 1-2 refusal ms=5 text=没有"));
    QCOMPARE(steps.at(3).time, QDateTime(QDate(2026, 1, 5), QTime(9, 30)));
    QCOMPARE(steps.at(4).user, QStringLiteral("demo02"));
    QCOMPARE(steps.at(4).limitMs, 500);
    QCOMPARE(steps.at(6).ms, 1500);
    QCOMPARE(steps.at(7).name, QStringLiteral("topic"));
    QCOMPARE(steps.at(7).rows, (QList<QVariantMap>{{{"a", 1.0}}, {{"b", QVariantList{1.0, 2.0}}}}));
    QCOMPARE(steps.at(8).rows, (QList<QVariantMap>{{{"c", "d"}}}));
    QCOMPARE(steps.at(8).user, QStringLiteral("demo02"));
    QCOMPARE(steps.at(8).limitMs, 0);
    QVERIFY(steps.at(8).checks.first().op == ScenarioCheck::Op::Contains);
    QCOMPARE(steps.at(9).value, QStringLiteral("feed"));
    QCOMPARE(steps.at(10).value, QStringLiteral("NOCONNECT"));
    QCOMPARE(steps.at(11).rows, (QList<QVariantMap>{{{"a", 1.0}}}));
    QVERIFY(steps.at(11).checks.isEmpty());
    QCOMPARE(steps.at(12).checks.first().path, QStringLiteral("error"));
    QVERIFY(steps.at(12).checks.first().op == ScenarioCheck::Op::Matches);
    QCOMPARE(steps.at(13).rows, QList<QVariantMap>{{}});
    QCOMPARE(steps.at(14).name, QStringLiteral("T1"));
    QCOMPARE(steps.at(14).checks.first().text, QStringLiteral("cash=5"));
    QCOMPARE(steps.at(14).limitMs, 9);
    QCOMPARE(steps.at(15).values, (QStringList{"true", "a=b", "[1]"}));
    QCOMPARE(steps.at(15).checks.size(), 2);
    QCOMPARE(steps.at(15).checks.at(0).value, QStringLiteral("[[\"x\"]]"));
    QVERIFY(steps.at(15).checks.at(1).op == ScenarioCheck::Op::Contains);
    QCOMPARE(steps.at(15).limitMs, 20);
    QCOMPARE(steps.at(16).limitMs, 8);
    QCOMPARE(steps.at(16).checks.first().text, QStringLiteral("agrees=true"));
    QCOMPARE(steps.at(17).checks.first().text, QStringLiteral("server=2"));
    QCOMPARE(steps.at(18).rows, (QList<QVariantMap>{{{"e", "f"}}}));
    QCOMPARE(steps.at(18).limitMs, 6);
    QCOMPARE(steps.at(18).checks.first().path, QStringLiteral("error"));
    QVERIFY(scenario.sections.at(1).steps.first().kind == Kind::StartFails);
}

void ScenarioParserTest::expectation_keepsItsWords() {
    const auto steps = parsed(
                           "start\n"
                           "expect request 120006 count=2 within=70 header.10094=2 rows#=3\n"
                           "expect no log level=warn text~=\"a.b\"\n"
                           "expect answer 120006 occurrence=2 rows.0={\"a\":1}\n")
                           .sections.first()
                           .steps;
    QCOMPARE(steps.size(), 4);
    QVERIFY(steps.at(1).record == RecordKind::Request && !steps.at(1).negative);
    QCOMPARE(steps.at(1).name, QStringLiteral("120006"));
    QCOMPARE(steps.at(1).count, 2);
    QCOMPARE(steps.at(1).limitMs, 70);
    QCOMPARE(steps.at(1).checks.at(0).path, QStringLiteral("header.10094"));
    QVERIFY(steps.at(1).checks.at(1).op == ScenarioCheck::Op::Count);
    QVERIFY(steps.at(2).record == RecordKind::Log && steps.at(2).negative);
    QVERIFY(steps.at(2).checks.at(1).op == ScenarioCheck::Op::Matches);
    QCOMPARE(steps.at(3).occurrence, 2);
    QVERIFY(steps.at(3).checks.at(0).op == ScenarioCheck::Op::Same);
}

void ScenarioParserTest::quotedWords_andJson_areRead() {
    const auto step =
        parsed("start\ncall F \"\\\"\\\\\\n\\t\\u4e2d # no comment\" {\"}\": \"\\\"]\"} => true")
            .sections.first()
            .steps.last();
    QCOMPARE(step.values.value(0), QStringLiteral("\"\\\n\t中 # no comment"));
    QCOMPARE(step.values.value(1), QStringLiteral("{\"}\": \"\\\"]\"}"));
    QCOMPARE(step.checks.first().value, QStringLiteral("[true]"));
}

void ScenarioParserTest::sections_areCutAtRestart() {
    const Scenario scenario = parsed("start\nrestart\nsetting a b\nstart\nrestart\nstart\n");
    QCOMPARE(scenario.sections.size(), 3);
    QCOMPARE(scenario.sections.at(0).line, 1);
    QCOMPARE(scenario.sections.at(1).line, 2);
    QCOMPARE(scenario.sections.at(1).steps.size(), 2);
    QCOMPARE(scenario.sections.at(2).line, 5);
}

void ScenarioParserTest::wrongText_isReportedWithItsPlace_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("place");
    QTest::addColumn<QString>("part");
    const auto row = [](const QByteArray& text, const char* place, const char* part) {
        QTest::newRow(text.left(40).constData())
            << text << QString::fromLatin1(place) << QString::fromUtf8(part);
    };
    row("", "1:1", "has no start");
    row("start\nrestart\n", "3:1", "in line 2 has no start");
    row("  begin\n", "1:3", "'begin' is not a directive");
    row("start\n\nstart", "3:1", "already started");
    row("gate TradeGate up", "1:1", "no client is running");
    row("expect log text*=x", "1:1", "nothing is started yet");
    row("start\nready", "2:1", "'start nowait'");
    row("start\nsetting a b", "2:1", "before the start");
    row("setting a", "1:10", "value is missing");
    row("market accounts=0", "1:17", "from 1 to");
    row("market size=3", "1:8", "accounts= seed= symbols= ticks=");
    row("market ticks=1001", "1:14", "ticks takes a number from 0 to 1000");
    row("start\nmarket seed=1", "2:1", "before the first start");
    row("fault 120006 1 boom", "1:16", "not a kind of fault");
    row("fault 120006 0 delay", "1:14", "occurrences");
    row("fault 120006 3-2 delay", "1:14", "occurrences");
    row("fault 120006 1", "1:15", "TYPE OCCURRENCES KIND");
    row("fault 120006 1 delay ms=-1", "1:25", "from 0 to");
    row("fault 120006 1 delay text=x", "1:22", "delay does not take 'text'");
    row("fault 120006 1 disconnect gate=X", "1:32", "'X' is not a gate");
    row("fault 999 1 timeout", "1:7", "answers no message type '999' (");
    row("fault 325005 1 timeout", "1:7", "answers no message type");
    row("fault 100090 1 timeout", "1:7", "answers no message type");
    row("fault 120006 1 delay", "1:21", "delay takes ms=");
    row("fault * every drip", "1:19", "drip takes ms=");
    row("fault 120006 1 extra ms=1", "1:26", "extra takes row=");
    row("start\npush topic {} within=0", "2:22", "from 1 to");
    row("clock set noon", "1:11", "not a time");
    row("clock turn 5", "1:7", "set or advance");
    row("start soon", "1:7", "does not belong");
    row("start within=x", "1:14", "within takes");
    row("start\npush topic", "2:11", "header");
    row("start\npush topic [1]", "2:12", "JSON object");
    row("start\npush topic {\"a\":}", "2:18", "not JSON");
    row("start\npush topic {\"a\":1", "2:12", "not closed");
    row("start\ntick 600000", "2:12", "fields");
    row("start\ndeal", "2:5", "the record of the deal is missing");
    row("start\nmessage", "2:8", "the record of the message is missing");
    row("start\nmessage {} within=-1", "2:19", "from 0 to");
    row("start\ndeal {} user=a", "2:9", "nothing more");
    row("start\npatch", "2:6", "the record of the patch is missing");
    row("start\npatch {} user=a", "2:10", "nothing more");
    row("start\npatch {} within=-1", "2:17", "from 0 to");
    row("patch {}", "1:1", "no client is running");
    row("message {}", "1:1", "no client is running");
    row("start\nbook T1", "2:8", "'=>'");
    row("start\nbook T1 cash=1", "2:9", "'=>' is expected");
    row("start\nbook => cash=1", "2:9", "'=>'");
    row("start\nmessages", "2:9", "check is missing");
    row("start\nmessages list", "2:10", "messages takes check");
    row("start\nmessages check all", "2:16", "nothing more");
    row("start\nmessages check =>", "2:18", "'=>'");
    row("messages check", "1:1", "no client is running");
    row("start\norder 5", "2:7", "JSON object");
    row("start\nposition {} count=1", "2:13", "nothing more");
    row("position {}", "1:1", "no client is running");
    row("start\ngate Nowhere up", "2:6", "not a gate");
    row("start\ngate InfoGate left", "2:15", "up, down or connecting");
    row("start\ncall F 1", "2:9", "'=>'");
    row("start\ncall F a=b => 1", "2:8", "in quotes");
    row("start\ncall F => a%=many", "2:14", "not a number");
    row("start\ncall F => nonsense", "2:11", "not a JSON value");
    row("start\nexpect", "2:7", "what is expected is missing");
    row("start\nexpect wonders x", "2:8", "cannot be expected");
    row("start\nexpect request", "2:15", "is missing");
    row("start\nexpect request 1 \"x", "2:18", "not closed");
    row("start\nexpect request 1 a~=\"x(\"", "2:23", "not a regular expression");
    row("start\nexpect request 1 rows#=many", "2:24", "rows takes");
    row("start\nexpect no request 1 count=2", "2:1", "count cannot be combined");
    row("start\nexpect log", "2:11", "level or text");
    row("start\ncall \"a\\q\" => 1", "2:8", "unknown escape");
    row("start\ncall \"\\u12g4\" => 1", "2:7", "hexadecimal");
    row("start\ncall \"a\"b => 1", "2:9", "space is missing");
    row("start\ncall a\"b => 1", "2:7", "quote inside a word");
    row("start\n中 \xff", "2:3", "UTF-8");
    row(QByteArray("start\na\0b", 9), "2:2", "control character");
}

void ScenarioParserTest::wrongText_isReportedWithItsPlace() {
    QFETCH(QByteArray, text);
    QFETCH(QString, place);
    QFETCH(QString, part);
    Scenario scenario;
    QString error;
    QVERIFY(!parseScenario(kFile, text, &scenario, &error));
    QVERIFY2(error.startsWith(kFile + QLatin1Char(':') + place + QStringLiteral(": ")),
             qPrintable(error));
    QVERIFY2(error.contains(part), qPrintable(error));
}

void ScenarioParserTest::failure_doesNotChangeTheResult() {
    Scenario scenario;
    scenario.market.accounts = 3;
    QString error;
    QVERIFY(!parseScenario(kFile, "market accounts=9\nnonsense", &scenario, &error));
    QCOMPARE(scenario.market.accounts, 3);
    QVERIFY(scenario.sections.isEmpty());
}

void ScenarioParserTest::cutAndTwistedText_neverDoesHarm() {
    int good = 0;
    for (int length = 0; length <= kWhole.size(); ++length) {
        for (const char byte : {'\0', '"', '{', '\\', '\xe4', '=', '\n', '9'}) {
            QByteArray text = kWhole.left(length);
            Scenario scenario;
            QString error;
            good += parseScenario(kFile, text, &scenario, &error) ? 1 : 0;
            QCOMPARE(error.isEmpty(), !scenario.sections.isEmpty());
            text = kWhole;
            text[qMin(length, text.size() - 1)] = byte;
            error.clear();
            Scenario twisted;
            const bool read = parseScenario(kFile, text, &twisted, &error);
            QCOMPARE(read, error.isEmpty());
        }
    }
    // A text cut between two steps after a start is a valid scenario.
    QVERIFY(good > 0);
}

void ScenarioParserTest::limits_areEnforced() {
    Scenario scenario;
    QString error;
    QVERIFY(!parseScenario(kFile, QByteArray(9000, 'x'), &scenario, &error));
    QVERIFY2(error.contains(QStringLiteral("longer than")), qPrintable(error));
    QVERIFY(!parseScenario(kFile, QByteArray(2000000, '\n'), &scenario, &error));
    QVERIFY2(error.contains(QStringLiteral("larger than")), qPrintable(error));
    QVERIFY(!parseScenario(kFile, "start\n" + QByteArray("expect idle\n").repeated(2001), &scenario,
                           &error));
    QVERIFY2(error.contains(QStringLiteral("more than 2000 steps")), qPrintable(error));
    QVERIFY(!parseScenario(kFile, QByteArray("start\nrestart\n").repeated(20), &scenario, &error));
    QVERIFY2(error.contains(QStringLiteral("more than 16 sections")), qPrintable(error));
    QVERIFY(
        !parseScenario(kFile, "start\npush t " + QByteArray("[").repeated(200), &scenario, &error));
    QVERIFY2(error.contains(QStringLiteral("nested deeper")), qPrintable(error));
    QVERIFY(!parseScenario(kFile, QByteArray("a ").repeated(100), &scenario, &error));
    QVERIFY2(error.contains(QStringLiteral("more than 64 words")), qPrintable(error));
}

QTEST_GUILESS_MAIN(ScenarioParserTest)
#include "scenario_parser_test.moc"

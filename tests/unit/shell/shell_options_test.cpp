#include "shell_options.h"

#include <QtTest>

namespace {

QStringList words(const char* line) {
    return QString::fromUtf8(line).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

}  // namespace

class ShellOptionsTest : public QObject {
    Q_OBJECT

private slots:
    void noArguments_meanTheMainJob();
    void options_standOnEitherSideOfTheCommand();
    void call_takesEverythingAfterTheFunction();
    void accounts_takesAQuestionAndItsForm();
    void rules_takesASymbol();
    void symbols_takesAText();
    void functions_takesANameAnywhere();
    void call_ownOptions_standBeforeTheFunction();
    void doctor_takesNothing();
    void ticksWatch_takesSymbolsWithOptionsBetweenThem();
    void clock_isATimeOfTheExchanges_data();
    void clock_isATimeOfTheExchanges();
    void wrongLine_isRefusedWithAText_data();
    void wrongLine_isRefusedWithAText();
    void faults_standOnBothSidesAndAddUp();
    void ticks_standOnBothSidesAndAddUp();
    void bodyLimit_isASizeWithOrWithoutUnit_data();
    void bodyLimit_isASizeWithOrWithoutUnit();
    void deals_takeARateAndASeed();
    void deals_standStillByDefault();
    void scenario_isACommandOfItsOwn();
    void crash_isACommandOfItsOwn();
    void staying_lastWordCounts();
    void helpAndVersion_goBeforeCommands();
};

void ShellOptionsTest::noArguments_meanTheMainJob() {
    ShellOptions options;
    QString error;
    QVERIFY(parseShellOptions({}, &options, &error));
    QCOMPARE(options.command, ShellOptions::Command::Run);
    QCOMPARE(options.staying, ShellOptions::Staying::ByTerminal);
    QCOMPARE(options.waitSeconds, 60);
    QCOMPARE(options.scale, 1);
    QCOMPARE(options.bodyLimit, qint64(64) * 1024 * 1024);
    QVERIFY(!options.rebuild && !options.verbose);
}

void ShellOptionsTest::options_standOnEitherSideOfTheCommand() {
    ShellOptions options;
    QString error;
    QVERIFY2(
        parseShellOptions(words("--home /a --verbose functions --plugins=/b --rebuild --scale 10"),
                          &options, &error),
        qPrintable(error));
    QCOMPARE(options.command, ShellOptions::Command::Functions);
    QCOMPARE(options.homeDir, QStringLiteral("/a"));
    QCOMPARE(options.pluginsDir, QStringLiteral("/b"));
    QVERIFY(options.rebuild && options.verbose);
    QCOMPARE(options.scale, 10);
}

void ShellOptionsTest::call_takesEverythingAfterTheFunction() {
    ShellOptions options;
    QString error;
    QVERIFY2(parseShellOptions(words("call --home /a GetIt -1 --rebuild [\"x\"] --nonsense"),
                               &options, &error),
             qPrintable(error));
    QCOMPARE(options.command, ShellOptions::Command::Call);
    QCOMPARE(options.homeDir, QStringLiteral("/a"));
    QCOMPARE(options.functionName, QStringLiteral("GetIt"));
    QCOMPARE(options.arguments, words("-1 --rebuild [\"x\"] --nonsense"));
    QVERIFY(!options.rebuild);
}

void ShellOptionsTest::accounts_takesAQuestionAndItsForm() {
    for (const char* line : {"accounts", "accounts list", "--home /a accounts --once list"}) {
        ShellOptions options;
        QString error;
        QVERIFY2(parseShellOptions(words(line), &options, &error), qPrintable(error));
        QCOMPARE(options.command, ShellOptions::Command::Accounts);
        QVERIFY(options.account.isEmpty() && !options.asJson);
    }
    for (const char* line :
         {"accounts why T1 --json", "accounts --json why T1", "accounts why --json T1"}) {
        ShellOptions options;
        QString error;
        QVERIFY2(parseShellOptions(words(line), &options, &error), qPrintable(error));
        QCOMPARE(options.account, QStringLiteral("T1"));
        QVERIFY(options.asJson);
    }
}

void ShellOptionsTest::rules_takesASymbol() {
    ShellOptions options;
    QString error;
    QVERIFY2(parseShellOptions(words("rules --tick-rate 0 explain 600000.SH"), &options, &error),
             qPrintable(error));
    QCOMPARE(options.command, ShellOptions::Command::Rules);
    QCOMPARE(options.symbol, QStringLiteral("600000.SH"));
    QCOMPARE(options.tickRate, 0);
}

void ShellOptionsTest::symbols_takesAText() {
    ShellOptions options;
    QString error;
    QVERIFY2(parseShellOptions({"symbols", "find", "虚岚 科"}, &options, &error),
             qPrintable(error));
    QCOMPARE(options.command, ShellOptions::Command::Symbols);
    QCOMPARE(options.symbol, QStringLiteral("虚岚 科"));
}

void ShellOptionsTest::functions_takesANameAnywhere() {
    for (const char* line :
         {"functions --verbose GetIt", "functions GetIt --verbose", "--verbose functions GetIt"}) {
        ShellOptions options;
        QString error;
        QVERIFY2(parseShellOptions(words(line), &options, &error), qPrintable(error));
        QCOMPARE(options.command, ShellOptions::Command::Functions);
        QCOMPARE(options.functionName, QStringLiteral("GetIt"));
        QVERIFY(options.verbose);
    }
}

void ShellOptionsTest::call_ownOptions_standBeforeTheFunction() {
    ShellOptions options;
    QString error;
    QVERIFY2(parseShellOptions(words("call --early --raw GetIt --early"), &options, &error),
             qPrintable(error));
    QVERIFY(options.early && options.raw);
    QCOMPARE(options.arguments, words("--early"));
    options = ShellOptions();
    QVERIFY(parseShellOptions(words("call GetIt --raw"), &options, &error));
    QVERIFY(!options.early && !options.raw);
}

void ShellOptionsTest::doctor_takesNothing() {
    ShellOptions options;
    QString error;
    QVERIFY2(parseShellOptions(words("doctor --home /h"), &options, &error), qPrintable(error));
    QCOMPARE(options.command, ShellOptions::Command::Doctor);
    QCOMPARE(options.homeDir, QStringLiteral("/h"));
}

void ShellOptionsTest::ticksWatch_takesSymbolsWithOptionsBetweenThem() {
    ShellOptions options;
    QString error;
    QVERIFY2(parseShellOptions(words("--home /a ticks watch 600000.SH --count 5 000001.SZ "
                                     "--market-hours --tick-rate 3"),
                               &options, &error),
             qPrintable(error));
    QCOMPARE(options.command, ShellOptions::Command::Ticks);
    QCOMPARE(options.watched, (QStringList{"600000.SH", "000001.SZ"}));
    QCOMPARE(options.count, 5);
    QCOMPARE(options.tickRate, 3);
    QVERIFY(options.marketHours);
    QCOMPARE(options.homeDir, QStringLiteral("/a"));
    ShellOptions standard;
    QVERIFY(parseShellOptions(words("ticks watch 600000.SH"), &standard, &error));
    QCOMPARE(standard.count, 0);
    QVERIFY(!standard.marketHours && !standard.clock.isValid());
}

void ShellOptionsTest::clock_isATimeOfTheExchanges_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("utc");
    QTest::newRow("moment") << "2026-01-05T09:30:00"
                            << "2026-01-05T01:30:00Z";
    QTest::newRow("space") << "2026-01-05 09:30"
                           << "2026-01-05T01:30:00Z";
    QTest::newRow("zone") << "2026-01-05T09:30:00Z"
                          << "2026-01-05T09:30:00Z";
}

void ShellOptionsTest::clock_isATimeOfTheExchanges() {
    QFETCH(QString, text);
    QFETCH(QString, utc);
    ShellOptions options;
    QString error;
    QVERIFY2(parseShellOptions({"--clock", text}, &options, &error), qPrintable(error));
    QCOMPARE(options.clock.toUTC().toString(Qt::ISODate), utc);
    QCOMPARE(options.clock.offsetFromUtc(), 8 * 3600);
    // A time of day is one of the exchanges' present day.
    QVERIFY(parseShellOptions({"--clock", "09:30"}, &options, &error));
    QCOMPARE(options.clock.time(), QTime(9, 30));
    QCOMPARE(options.clock.offsetFromUtc(), 8 * 3600);
    QVERIFY(std::abs(options.clock.secsTo(QDateTime::currentDateTimeUtc())) < 24 * 3600 + 60);
}

void ShellOptionsTest::wrongLine_isRefusedWithAText_data() {
    QTest::addColumn<QStringList>("line");
    QTest::addColumn<QString>("named");
    QTest::newRow("option") << words("--nonsense") << QStringLiteral("nonsense");
    QTest::newRow("late option") << words("functions --nonsense") << QStringLiteral("nonsense");
    QTest::newRow("no value") << words("--home") << QStringLiteral("home");
    QTest::newRow("command") << words("dance") << QStringLiteral("dance");
    QTest::newRow("call alone") << words("call") << QStringLiteral("call");
    QTest::newRow("too much") << words("functions x y") << QStringLiteral("functions");
    QTest::newRow("no account") << words("accounts why") << QStringLiteral("why ACCOUNT");
    QTest::newRow("two accounts") << words("accounts why a b") << QStringLiteral("why ACCOUNT");
    QTest::newRow("no question") << words("accounts what") << QStringLiteral("'list'");
    QTest::newRow("list of one") << words("accounts list a") << QStringLiteral("'list'");
    QTest::newRow("no rule") << words("rules explain") << QStringLiteral("explain SYMBOL");
    QTest::newRow("two rules") << words("rules explain A B") << QStringLiteral("explain SYMBOL");
    QTest::newRow("other rules") << words("rules tell A") << QStringLiteral("explain SYMBOL");
    QTest::newRow("empty user") << QStringList{"--user", ""} << QStringLiteral("--user takes");
    QTest::newRow("empty home") << QStringList{"--home="} << QStringLiteral("--home takes");
    QTest::newRow("empty plug-ins")
        << QStringList{"functions", "--plugins", ""} << QStringLiteral("--plugins takes");
    QTest::newRow("no text") << words("symbols find") << QStringLiteral("find TEXT");
    QTest::newRow("two texts") << words("symbols find a b") << QStringLiteral("find TEXT");
    QTest::newRow("other symbols") << words("symbols all") << QStringLiteral("find TEXT");
    QTest::newRow("doctor of one") << words("doctor x") << QStringLiteral("no arguments");
    QTest::newRow("crash kind") << words("--crash quietly")
                                << QStringLiteral("segv, abort, stack-overflow");
    QTest::newRow("crash of a command")
        << words("--crash segv doctor") << QStringLiteral("--crash cannot");
    QTest::newRow("crash behind a command")
        << words("accounts list --crash segv") << QStringLiteral("--crash cannot");
    QTest::newRow("crash of a scenario")
        << words("--scenario a.scn --crash segv") << QStringLiteral("--crash");
    QTest::newRow("early alone") << words("--early") << QStringLiteral("option of call");
    QTest::newRow("raw elsewhere") << words("functions --raw") << QStringLiteral("option of call");
    QTest::newRow("type of a fault")
        << QStringList{"--fault", "999 1 timeout"} << QStringLiteral("message type '999'");
    QTest::newRow("json alone") << words("--json") << QStringLiteral("json");
    QTest::newRow("json elsewhere") << words("functions --json") << QStringLiteral("json");
    QTest::newRow("wait") << words("--wait soon") << QStringLiteral("--wait");
    QTest::newRow("scale") << words("--scale big") << QStringLiteral("--scale");
    QTest::newRow("no scale") << words("--scale 0") << QStringLiteral("--scale");
    QTest::newRow("large scale") << words("--scale 21") << QStringLiteral("1 to 20");
    QTest::newRow("fault") << QStringList{"--fault", "120006 1 explode"}
                           << QStringLiteral("column 10: 'explode'");
    QTest::newRow("scenario and command")
        << words("--scenario a.scn functions") << QStringLiteral("combined with a command");
    QTest::newRow("scenario and fault")
        << QStringList{"--scenario", "a.scn", "--fault", "* 1 late"} << QStringLiteral("--fault");
    QTest::newRow("no symbols") << words("--ticks ,") << QStringLiteral("--ticks");
    QTest::newRow("ticks alone") << words("ticks") << QStringLiteral("watch SYMBOL");
    QTest::newRow("watch nothing") << words("ticks watch --count 3") << QStringLiteral("SYMBOL");
    QTest::newRow("count elsewhere") << words("--count 3 functions") << QStringLiteral("--count");
    QTest::newRow("count of nothing")
        << words("ticks watch A --count 0") << QStringLiteral("--count");
    QTest::newRow("watch without ticks")
        << words("--tick-rate 0 ticks watch A") << QStringLiteral("--tick-rate above 0");
    QTest::newRow("clock") << words("--clock noon") << QStringLiteral("09:30");
    QTest::newRow("scenario's clock")
        << words("--scenario a.scn --clock 09:30") << QStringLiteral("--clock");
    QTest::newRow("tick rate") << words("--tick-rate often") << QStringLiteral("--tick-rate");
    QTest::newRow("high tick rate") << words("--tick-rate 1001") << QStringLiteral("0 to 1000");
    QTest::newRow("no deals") << words("--deals 0") << QStringLiteral("--deals");
    QTest::newRow("negative deals") << words("--deals -1") << QStringLiteral("--deals");
    QTest::newRow("deals without a number") << words("--deals often") << QStringLiteral("--deals");
    QTest::newRow("deals that are no number") << words("--deals nan") << QStringLiteral("--deals");
    QTest::newRow("too many deals") << words("--deals 20001") << QStringLiteral("up to 20000");
    QTest::newRow("a seed without deals")
        << words("--seed 5") << QStringLiteral("--seed goes with --deals");
    QTest::newRow("a negative seed") << words("--deals 1 --seed -5") << QStringLiteral("--seed");
    QTest::newRow("a large seed") << words("--deals 1 --seed 4294967296")
                                  << QStringLiteral("4294967295");
    QTest::newRow("scenario and deals")
        << words("--scenario a.scn --deals 5") << QStringLiteral("with --deals");
    QTest::newRow("scenario and seed")
        << words("--scenario a.scn --seed 5") << QStringLiteral("with --seed");
    QTest::newRow("scenario and ticks")
        << words("--scenario a.scn --ticks 600000.SH") << QStringLiteral("with --ticks");
    QTest::newRow("scenario and body limit")
        << words("--scenario a.scn --body-limit 1MiB") << QStringLiteral("with --body-limit");
    for (const char* size : {"1023", "0", "0KiB", "1025MiB", "1048577KiB", "1073741825", "-4096",
                             "+4096", "64M", "64mib", "64 MiB", "1.5MiB", "MiB", "4096B",
                             "64MiBMiB", "64KiBMiB", "0x10000", "99999999999999999999"}) {
        QTest::addRow("body limit %s", size)
            << QStringList{QStringLiteral("--body-limit=") + QLatin1String(size)}
            << QStringLiteral("1KiB to 1024MiB");
    }
    QTest::newRow("empty body limit")
        << QStringList{"--body-limit", ""} << QStringLiteral("--body-limit");
    QTest::newRow("no body limit") << words("--body-limit") << QStringLiteral("body-limit");
    for (const char* option :
         {"--scale=2", "--rebuild", "--wait=9", "--stay", "--once", "--tick-rate=1"}) {
        const QString name = QString::fromLatin1(option).section('=', 0, 0);
        for (const QString& line :
             {QStringLiteral("--scenario a.scn %1"), QStringLiteral("%1 --scenario a.scn")}) {
            QTest::newRow(qPrintable(line.arg(option)))
                << words(qPrintable(line.arg(option)))
                << QStringLiteral("cannot be combined with ") + name;
        }
    }
    QTest::newRow("section") << words("--scenario a.scn --scenario-section 0")
                             << QStringLiteral("number");
    QTest::newRow("negative wait") << words("--wait=-1") << QStringLiteral("--wait");
}

void ShellOptionsTest::wrongLine_isRefusedWithAText() {
    QFETCH(QStringList, line);
    QFETCH(QString, named);
    ShellOptions options;
    QString error;
    QVERIFY(!parseShellOptions(line, &options, &error));
    QVERIFY2(error.contains(named), qPrintable(error));
}

void ShellOptionsTest::faults_standOnBothSidesAndAddUp() {
    ShellOptions options;
    QString error;
    QVERIFY2(parseShellOptions({"--fault", "120006 1 timeout", "--fault=* 2+ late ms=3", "call",
                                "--fault", "120006 every garbage", "F", "1"},
                               &options, &error),
             qPrintable(error));
    QCOMPARE(options.functionName, QStringLiteral("F"));
    QStringList lines;
    for (const Fault& fault : options.faults) {
        lines.append(faultText(fault));
    }
    QCOMPARE(lines, (QStringList{"120006 1 timeout", "* 2+ late ms=3", "120006 every garbage"}));
}

void ShellOptionsTest::ticks_standOnBothSidesAndAddUp() {
    ShellOptions options;
    QString error;
    QVERIFY(options.tickSymbols.isEmpty());
    QCOMPARE(options.tickRate, 1);
    QVERIFY2(
        parseShellOptions(words("--ticks A,B --tick-rate 0 functions --ticks C"), &options, &error),
        qPrintable(error));
    QCOMPARE(options.tickSymbols, words("A B C"));
    QCOMPARE(options.tickRate, 0);
}

void ShellOptionsTest::bodyLimit_isASizeWithOrWithoutUnit_data() {
    QTest::addColumn<QString>("size");
    QTest::addColumn<qint64>("bytes");
    QTest::newRow("bytes") << "65536" << qint64(65536);
    QTest::newRow("KiB") << "512KiB" << qint64(512) * 1024;
    QTest::newRow("MiB") << "8MiB" << qint64(8) * 1024 * 1024;
    QTest::newRow("least") << "1024" << qint64(1024);
    QTest::newRow("most") << "1024MiB" << qint64(1024) * 1024 * 1024;
    QTest::newRow("most in bytes") << "1073741824" << qint64(1024) * 1024 * 1024;
}

void ShellOptionsTest::bodyLimit_isASizeWithOrWithoutUnit() {
    QFETCH(QString, size);
    QFETCH(qint64, bytes);
    for (const QStringList& line :
         {QStringList{"--body-limit", size}, QStringList{"functions", "--body-limit=" + size}}) {
        ShellOptions options;
        QString error;
        QVERIFY2(parseShellOptions(line, &options, &error), qPrintable(error));
        QCOMPARE(options.bodyLimit, bytes);
    }
}

void ShellOptionsTest::deals_takeARateAndASeed() {
    ShellOptions options;
    QString error;
    QVERIFY2(parseShellOptions(words("--deals 0.25 --seed 4294967295"), &options, &error),
             qPrintable(error));
    QCOMPARE(options.dealRate, 0.25);
    QCOMPARE(options.dealSeed, 4294967295U);
    ShellOptions behind;
    QVERIFY2(parseShellOptions(words("accounts --seed 0 list --deals 20000"), &behind, &error),
             qPrintable(error));
    QCOMPARE(behind.dealRate, 20000.0);
    QCOMPARE(behind.dealSeed, 0U);
}

void ShellOptionsTest::deals_standStillByDefault() {
    ShellOptions options;
    QString error;
    QVERIFY(parseShellOptions({}, &options, &error));
    QCOMPARE(options.dealRate, 0.0);
}

void ShellOptionsTest::scenario_isACommandOfItsOwn() {
    ShellOptions options;
    QString error;
    QVERIFY2(parseShellOptions(words("--scenario a.scn --home /h"), &options, &error),
             qPrintable(error));
    QCOMPARE(options.command, ShellOptions::Command::Scenario);
    QCOMPARE(options.scenarioFile, QStringLiteral("a.scn"));
    QCOMPARE(options.homeDir, QStringLiteral("/h"));
    QCOMPARE(options.section, 0);
}

void ShellOptionsTest::crash_isACommandOfItsOwn() {
    for (const char* kind : {"segv", "abort", "stack-overflow"}) {
        ShellOptions options;
        QString error;
        QVERIFY2(parseShellOptions({"--home", "/a", "--crash", kind}, &options, &error),
                 qPrintable(error));
        QCOMPARE(options.command, ShellOptions::Command::Crash);
        QCOMPARE(options.crashKind, QString(kind));
        QVERIFY(options.crashStep.isEmpty());
        QVERIFY(parseShellOptions({"--crash", kind, "--crash-step", "a.dmp"}, &options, &error));
        QCOMPARE(options.crashStep, QString("a.dmp"));
    }
}

void ShellOptionsTest::staying_lastWordCounts() {
    ShellOptions options;
    QString error;
    QVERIFY(parseShellOptions(words("--stay"), &options, &error));
    QCOMPARE(options.staying, ShellOptions::Staying::Stay);
    QVERIFY(parseShellOptions(words("--once"), &options, &error));
    QCOMPARE(options.staying, ShellOptions::Staying::Once);
}

void ShellOptionsTest::helpAndVersion_goBeforeCommands() {
    for (const char* line : {"--help", "-h", "call --help", "functions --help"}) {
        ShellOptions options;
        QString error;
        QVERIFY2(parseShellOptions(words(line), &options, &error), line);
        QCOMPARE(options.command, ShellOptions::Command::Help);
    }
    ShellOptions options;
    QString error;
    QVERIFY(parseShellOptions(words("--version"), &options, &error));
    QCOMPARE(options.command, ShellOptions::Command::Version);
}

QTEST_GUILESS_MAIN(ShellOptionsTest)
#include "shell_options_test.moc"

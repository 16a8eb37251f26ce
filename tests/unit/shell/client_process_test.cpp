#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QtTest>
#include <csignal>

#include "client_run.h"
#include "home_mark.h"
#include "sample_market.h"
#include "text_table.h"
#include "vocabulary/values.h"

namespace {

/// Runs a statement on one of the market's files; returns the first column of its rows.
QStringList sql(const QString& file, const QString& statement) {
    QStringList column;
    {
        QSqlDatabase database =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("test"));
        database.setDatabaseName(file);
        QSqlQuery query(database);
        if (!database.open() || !query.exec(statement)) {
            qCritical() << file << database.lastError() << query.lastError();
        }
        while (query.next()) {
            column.append(query.value(0).toString());
        }
    }
    QSqlDatabase::removeDatabase(QStringLiteral("test"));
    return column;
}

QSet<QString> asSet(const QStringList& list) {
    return QSet<QString>(list.cbegin(), list.cend());
}

}  // namespace

/// Runs the real program in child processes, over homes of the test's own.
class ClientProcessTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void mainJob_withoutTerminal_printsStepsAndTableAndEnds();
    void mainJob_secondTime_opensTheMarket();
    void deals_areAnnouncedWithRateAndSeed();
    void table_allRows_areAlignedAndComplete();
    void stay_interrupted_exitsWithSuccess_data();
    void stay_interrupted_exitsWithSuccess();
    void call_lists_answersAsJson();
    void call_unknownFunction_namesCloseOnes();
    void call_argumentsThatDoNotFit_isWrongUsage();
    void functions_listsWithoutStarting();
    void unknownOption_isWrongUsage();
    void damagedFile_isNamedWithTheRemedy_data();
    void damagedFile_isNamedWithTheRemedy();
    void rebuild_overDamagedFiles_startsAgain();
    void missingPlugin_isNamed();
    void faults_reachTheRequestsOfStartAndCall();
    void bodyLimit_reachesThePlatform();
    void logInRefused_isReported();
    void accountsThatNeverLoad_endTheStart();
    void accountsThatNeverLoad_interrupted_endTheStart();
    void log_holdsDebugLinesOnRequest();

private:
    QProcessEnvironment environment() const;
    void begin(QProcess& process, const QStringList& arguments) const;
    Ended run(const QStringList& arguments) const;
    QString marketFile(const QString& name) const {
        return QDir(m_home).filePath(QStringLiteral("market/") + name);
    }
    QStringList expectedAccounts(const QString& condition) const;
    static QString holds(const QString& authority);
    static QString notFrozen();
    void makeCounterRefuse() const;

    QTemporaryDir m_dir;
    QString m_made;  ///< a home with a market, copied for each case
    QString m_home;
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
    int m_case = 0;
};

void ClientProcessTest::begin(QProcess& process, const QStringList& arguments) const {
    process.setProcessEnvironment(m_environment);
    process.start(kClientProgram, QStringList{QStringLiteral("--home"), m_home} + arguments);
}

Ended ClientProcessTest::run(const QStringList& arguments) const {
    QProcess process;
    begin(process, arguments);
    return waitForEnd(process);
}

void ClientProcessTest::initTestCase() {
    QVERIFY(m_dir.isValid());
    m_environment.remove(QStringLiteral("NEIGHBOUR_ROWS"));
    m_environment.remove(QStringLiteral("VELMAR_LOG_DEBUG"));
    m_environment.remove(QStringLiteral("QT_LOGGING_RULES"));
    m_made = m_dir.filePath(QStringLiteral("made"));
    QString error;
    QVERIFY2(makeSampleMarket(m_made, MarketOptions(), {}, &error), qPrintable(error));
}

void ClientProcessTest::init() {
    m_home = m_dir.filePath(QStringLiteral("home%1").arg(m_case++));
    QString error;
    QCOMPARE(HomeMark::take(m_home, HomeMark::Owner::Client, &error), HomeMark::Outcome::Taken);
    QVERIFY(QDir().mkpath(marketFile(QString())));
    for (const QString& name : {QStringLiteral("market.sqlite"), QStringLiteral("static.sqlite")}) {
        QVERIFY(QFile::copy(QDir(m_made).filePath(name), marketFile(name)));
    }
}

QString ClientProcessTest::holds(const QString& authority) {
    return QStringLiteral("(',' || authority_types || ',') LIKE '%,") + authority +
           QStringLiteral(",%'");
}

/// The accounts on which the login holds an authority that the client knows, read from the market's
/// file.
QStringList ClientProcessTest::expectedAccounts(const QString& condition) const {
    QStringList any;
    for (const QString& authority :
         {AuthorityType::AccountQuery, AuthorityType::AccountEdit, AuthorityType::AccountAuthority,
          AuthorityType::AccountSubscribe, AuthorityType::AccountTrade}) {
        any.append(holds(authority));
    }
    return sql(marketFile(QStringLiteral("market.sqlite")),
               QStringLiteral("SELECT trading_account FROM trading_account "
                              "JOIN account_authority USING(trading_account) "
                              "WHERE user_id = 'demo01' AND (") +
                   any.join(QStringLiteral(" OR ")) + QStringLiteral(") AND ") + condition);
}

QString ClientProcessTest::notFrozen() {
    return QStringLiteral("account_status <> '") + AccountStatus::freezing + QLatin1Char('\'');
}

void ClientProcessTest::mainJob_withoutTerminal_printsStepsAndTableAndEnds() {
    QVERIFY(QDir(marketFile(QString())).removeRecursively());
    const Ended ended = run({});
    QVERIFY2(ended.code == 0, ended.text());
    QVERIFY2(ended.err.isEmpty(), ended.text());
    const int all = expectedAccounts(QStringLiteral("1")).size();
    const int shown = expectedAccounts(notFrozen()).size();
    QVERIFY(all > shown && shown > 100);
    int place = 0;
    for (const QString& step :
         {QStringLiteral("sample market made (200 accounts, 12000 symbols)"),
          QStringLiteral("local platform started"), QStringLiteral("embedded gateway connected"),
          QStringLiteral("library loaded (VelmarBusinessDataManager)"),
          QStringLiteral("library loaded (NeighbourPlugin)"), QStringLiteral("logged in (demo01)"),
          QStringLiteral("object initialised (VelmarBusinessDataManager)"),
          QStringLiteral("account list received (%1 accounts)").arg(all),
          QStringLiteral("positions of the day loaded ("),
          QStringLiteral("accounts loaded (%1 of %1, %2 of them frozen)").arg(all).arg(all - shown),
          QStringLiteral("\nAccount "), QStringLiteral("... %1 more").arg(shown - 20),
          QStringLiteral("object initialised (Neighbour)"), QStringLiteral("in all, ready"),
          QStringLiteral("shut down")}) {
        place = ended.out.indexOf(step, place);
        QVERIFY2(place >= 0, step.toUtf8() + " is missing, or too early\n" + ended.text());
    }
    const QRegularExpression timed(QStringLiteral("^ *\\d+\\.\\d ms  (?:sample|local|logged|acc)"),
                                   QRegularExpression::MultilineOption);
    int timedLines = 0;
    for (auto found = timed.globalMatch(ended.out); found.hasNext(); found.next()) {
        ++timedLines;
    }
    QCOMPARE(timedLines, 5);
}

void ClientProcessTest::mainJob_secondTime_opensTheMarket() {
    const QByteArray before = QByteArray::number(
        QFileInfo(marketFile(QStringLiteral("market.sqlite"))).lastModified().toMSecsSinceEpoch());
    const Ended ended = run({QStringLiteral("--once")});
    QVERIFY2(ended.code == 0, ended.text());
    QVERIFY2(ended.out.contains(QStringLiteral("sample market opened (200 accounts")),
             ended.text());
    QCOMPARE(QByteArray::number(QFileInfo(marketFile(QStringLiteral("market.sqlite")))
                                    .lastModified()
                                    .toMSecsSinceEpoch()),
             before);
}

void ClientProcessTest::deals_areAnnouncedWithRateAndSeed() {
    const Ended ended = run({QStringLiteral("--once"), QStringLiteral("--deals"),
                             QStringLiteral("0.5"), QStringLiteral("--seed"), QStringLiteral("3")});
    QVERIFY2(ended.code == 0, ended.text());
    QVERIFY2(ended.out.contains(QStringLiteral(
                 "orders are dealt for the accounts that may trade (0.5 deals a second, seed 3)")),
             ended.text());
}

void ClientProcessTest::table_allRows_areAlignedAndComplete() {
    m_environment.insert(QStringLiteral("NEIGHBOUR_ROWS"), QStringLiteral("all"));
    const Ended ended = run({});
    m_environment.remove(QStringLiteral("NEIGHBOUR_ROWS"));
    QVERIFY2(ended.code == 0, ended.text());
    const QStringList lines = ended.out.split(QLatin1Char('\n'));
    const int title = lines.indexOf(QRegularExpression(QStringLiteral("^Account .*")));
    QVERIFY2(title >= 0, ended.text());
    const int column = lines.at(title).indexOf(QStringLiteral("Fund account"));
    QSet<QString> printed;
    int wideNames = 0;
    for (int i = title + 2; !lines.at(i).startsWith(QStringLiteral("May: ")); ++i) {
        const QString& line = lines.at(i);
        int prefix = 0;
        while (displayWidth(line.left(prefix)) < column) {
            ++prefix;
        }
        // Two spaces separate the columns, and every cell starts at its title's column.
        QCOMPARE(displayWidth(line.left(prefix)), column);
        QCOMPARE(line.mid(prefix - 2, 2), QStringLiteral("  "));
        QVERIFY(!line.at(prefix).isSpace());
        wideNames += displayWidth(line) > line.size() ? 1 : 0;
        printed.insert(line.section(QLatin1Char(' '), 0, 0));
    }
    QCOMPARE(printed, asSet(expectedAccounts(notFrozen())));
    QCOMPARE(wideNames, printed.size());
    QVERIFY2(ended.out.contains(
                 QStringLiteral("\nMay: Q query, E edit, A authority, S subscribe, T trade\n")),
             ended.text());
}

void ClientProcessTest::stay_interrupted_exitsWithSuccess_data() {
    QTest::addColumn<int>("number");
    QTest::newRow("SIGINT") << SIGINT;
    QTest::newRow("SIGTERM") << SIGTERM;
}

void ClientProcessTest::stay_interrupted_exitsWithSuccess() {
    QFETCH(int, number);
    QProcess process;
    begin(process, {QStringLiteral("--stay")});
    QByteArray out;
    QElapsedTimer limit;
    limit.start();
    while (!out.contains("running") && limit.elapsed() < kClientLimitMs &&
           process.waitForReadyRead()) {
        out += process.readAllStandardOutput();
    }
    QVERIFY2(out.contains("running"), out);
    QCOMPARE(process.state(), QProcess::Running);
    QCOMPARE(::kill(static_cast<pid_t>(process.processId()), number), 0);
    const Ended ended = waitForEnd(process, out);
    QVERIFY2(ended.code == 0, ended.text());
    QVERIFY2(ended.out.contains(QStringLiteral("shut down")), ended.text());
}

void ClientProcessTest::call_lists_answersAsJson() {
    const Ended ended = run({"call", "GetTradingAccountList", "true", "16", "true"});
    QVERIFY2(ended.code == 0, ended.text());
    QVERIFY2(ended.err.isEmpty(), ended.text());
    QJsonParseError error;
    const QJsonObject answer = QJsonDocument::fromJson(ended.out.toUtf8(), &error).object();
    QVERIFY2(error.error == QJsonParseError::NoError, ended.text());
    QCOMPARE(answer.value("function").toString(),
             QStringLiteral("QStringList GetTradingAccountList(bool, int, bool)"));
    QCOMPARE(answer.value("arguments").toArray(), (QJsonArray{true, 16, true}));
    const QStringList accounts = answer.value("result").toVariant().toStringList();
    const QStringList expected = expectedAccounts(notFrozen() + QStringLiteral(" AND ") +
                                                  holds(AuthorityType::AccountTrade));
    QVERIFY(!expected.isEmpty());
    QCOMPARE(asSet(accounts), asSet(expected));
    QCOMPARE(accounts.size(), expected.size());
    QVERIFY(QFile::exists(QDir(m_home).filePath(QStringLiteral("log/client.log"))));
}

void ClientProcessTest::call_unknownFunction_namesCloseOnes() {
    const Ended ended = run({"call", "GetTradingAcountList", "true", "16", "true"});
    QVERIFY2(ended.code == 2, ended.text());
    QVERIFY2(ended.out.isEmpty(), ended.text());
    QVERIFY2(ended.err.contains(QStringLiteral("GetTradingAccountList")), ended.text());
}

void ClientProcessTest::call_argumentsThatDoNotFit_isWrongUsage() {
    const Ended ended = run({"call", "GetTradingAccountList", "perhaps", "16", "true"});
    QVERIFY2(ended.code == 2, ended.text());
    QVERIFY2(ended.err.contains(QStringLiteral("argument 1, wait: 'perhaps' is not true or false")),
             ended.text());
}

void ClientProcessTest::functions_listsWithoutStarting() {
    const Ended ended = run({"functions"});
    QVERIFY2(ended.code == 0, ended.text());
    QVERIFY2(
        ended.out.contains(QStringLiteral("GetFundAccountList(bool wait, int authority, bool ")),
        ended.text());
    QVERIFY(!QFile::exists(QDir(m_home).filePath(QStringLiteral("log"))));
}

void ClientProcessTest::unknownOption_isWrongUsage() {
    const Ended ended = run({"--nonsense"});
    QVERIFY2(ended.code == 2, ended.text());
    QVERIFY2(ended.err.contains(QStringLiteral("nonsense")), ended.text());
    QVERIFY2(ended.out.isEmpty(), ended.text());
}

void ClientProcessTest::damagedFile_isNamedWithTheRemedy_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("truncated");
    for (const char* name : {"market.sqlite", "static.sqlite"}) {
        QTest::addRow("%s overwritten", name) << QString::fromLatin1(name) << false;
        QTest::addRow("%s cut short", name) << QString::fromLatin1(name) << true;
    }
}

void ClientProcessTest::damagedFile_isNamedWithTheRemedy() {
    QFETCH(QString, name);
    QFETCH(bool, truncated);
    QFile file(marketFile(name));
    QVERIFY(file.open(QFile::ReadWrite));
    if (truncated) {
        QVERIFY(file.resize(file.size() / 2));
    } else {
        QVERIFY(file.write(QByteArray(8192, 'x')) == 8192);
    }
    file.close();
    for (const QStringList& arguments :
         {QStringList(), QStringList{"call", "GetAllProductAccountMap"}}) {
        const Ended ended = run(arguments);
        QVERIFY2(ended.code == 1, ended.text());
        QVERIFY2(ended.err.contains(file.fileName()), ended.text());
        QVERIFY2(ended.err.contains(QStringLiteral("--rebuild")), ended.text());
        // No step was taken.
        QVERIFY2(ended.out.isEmpty(), ended.text());
    }
}

void ClientProcessTest::rebuild_overDamagedFiles_startsAgain() {
    QFile file(marketFile(QStringLiteral("market.sqlite")));
    QVERIFY(file.open(QFile::WriteOnly) && file.write("no database") > 0);
    file.close();
    const Ended ended = run({"--rebuild", "--once"});
    QVERIFY2(ended.code == 0, ended.text());
    QVERIFY2(ended.out.contains(QStringLiteral("sample market made")), ended.text());
}

void ClientProcessTest::missingPlugin_isNamed() {
    const QString folder = m_dir.filePath(QStringLiteral("no-plugins"));
    for (const QStringList& command : {QStringList(), QStringList{"functions"}}) {
        const Ended ended = run(QStringList{"--plugins", folder} + command);
        QVERIFY2(ended.code == 1, ended.text());
        QVERIFY2(ended.err.contains(folder), ended.text());
    }
}

void ClientProcessTest::faults_reachTheRequestsOfStartAndCall() {
    const QString refusal = QStringLiteral("100001 1 refusal text=\"系统维护中\"");
    Ended ended = run({"--fault", refusal, "--once"});
    QVERIFY2(ended.code == 1, ended.text());
    QVERIFY2(ended.err.contains(QStringLiteral("系统维护中")), ended.text());
    ended = run({"--fault", "100001 2 refusal", "--fault", "100002 1 failure text=cut", "call",
                 "GetAllProductAccountMap"});
    QVERIFY2(ended.code == 1, ended.text());
    QVERIFY2(ended.err.contains(QStringLiteral("cut")), ended.text());
    ended = run({"--fault", "120006 1 loss", "--once"});
    QVERIFY2(ended.code == 2, ended.text());
    QVERIFY2(ended.err.contains(QStringLiteral("column 10: 'loss'")), ended.text());
}

void ClientProcessTest::bodyLimit_reachesThePlatform() {
    const Ended small = run({"--body-limit", "4KiB"});
    QVERIFY2(small.code == 1, small.text());
    QVERIFY2(small.err.contains("more than 4096 bytes"), small.text());
    const Ended wrong = run({"--body-limit", "4kB"});
    QVERIFY2(wrong.code == 2, wrong.text());
    QVERIFY2(wrong.err.contains("--body-limit"), wrong.text());
}

void ClientProcessTest::logInRefused_isReported() {
    const Ended ended = run({"--user", "nobody"});
    QVERIFY2(ended.code == 1, ended.text());
    QVERIFY2(ended.err.contains(QStringLiteral("nobody")), ended.text());
    QVERIFY2(!ended.out.contains(QStringLiteral("logged in")), ended.text());
}

/// The account tree stays readable, while every question about the counter is refused.
void ClientProcessTest::makeCounterRefuse() const {
    sql(marketFile(QStringLiteral("market.sqlite")),
        QStringLiteral("ALTER TABLE trading_account RENAME COLUMN fund_account TO gone"));
}

void ClientProcessTest::accountsThatNeverLoad_endTheStart() {
    makeCounterRefuse();
    const Ended ended = run({"--wait", "1"});
    QVERIFY2(ended.code == 1, ended.text());
    QVERIFY2(ended.out.contains(QStringLiteral("account list received")), ended.text());
    QVERIFY2(ended.err.contains(QStringLiteral("not loaded within 1 s (requests without")),
             ended.text());
    QVERIFY2(ended.err.contains(QStringLiteral("--wait")), ended.text());
}

void ClientProcessTest::accountsThatNeverLoad_interrupted_endTheStart() {
    makeCounterRefuse();
    QProcess process;
    begin(process, {});
    QByteArray out;
    while (!out.contains("account list received") && process.waitForReadyRead(kClientLimitMs)) {
        out += process.readAllStandardOutput();
    }
    // The id of a process that has ended is 0, which would signal this test and its runner.
    QVERIFY2(process.state() == QProcess::Running, out + process.readAllStandardError());
    QCOMPARE(::kill(static_cast<pid_t>(process.processId()), SIGINT), 0);
    const Ended ended = waitForEnd(process, out);
    QVERIFY2(ended.code == 1, ended.text());
    QVERIFY2(ended.err.contains(QStringLiteral("interrupted")), ended.text());
}

void ClientProcessTest::log_holdsDebugLinesOnRequest() {
    const auto debugLines = [this] {
        QFile log(QDir(m_home).filePath(QStringLiteral("log/client.log")));
        return log.open(QFile::ReadOnly) ? log.readAll().count(" debug velmar.") : -1;
    };
    QCOMPARE(run({"call", "GetAllProductAccountMap"}).code, 0);
    QCOMPARE(debugLines(), 0);
    m_environment.insert(QStringLiteral("VELMAR_LOG_DEBUG"), QStringLiteral("1"));
    const Ended ended = run({"call", "GetAllProductAccountMap"});
    m_environment.remove(QStringLiteral("VELMAR_LOG_DEBUG"));
    QVERIFY2(ended.code == 0 && ended.err.isEmpty(), ended.text());
    QVERIFY(debugLines() > 100);
}

QTEST_GUILESS_MAIN(ClientProcessTest)
#include "client_process_test.moc"

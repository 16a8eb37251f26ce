#include <QJsonArray>
#include <QJsonObject>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QtTest>

#include "client_run.h"

namespace {

QJsonValue resultOf(const Ended& ended) {
    return ended.json().object().value("result");
}

void change(const QString& file, const QString& statement) {
    {
        QSqlDatabase database =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("test"));
        database.setDatabaseName(file);
        QSqlQuery query(database);
        if (!database.open() || !query.exec(statement) || query.numRowsAffected() < 1) {
            qCritical() << file << database.lastError() << query.lastError();
        }
    }
    QSqlDatabase::removeDatabase(QStringLiteral("test"));
}

}  // namespace

/// Commands of the real program, each in a process of its own, over one home.
class CommandProcessTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        // With the market it makes a home of an older version, which the client takes.
        QVERIFY(QDir().mkpath(home() + "/settings"));
        m_environment.insert(QStringLiteral("VELMAR_HOME"), home());
        m_environment.remove(QStringLiteral("QT_LOGGING_RULES"));
        QString error;
        QVERIFY2(makeSampleMarket(home() + "/market", MarketOptions(), {}, &error),
                 qPrintable(error));
        change(home() + "/market/market.sqlite",
               "UPDATE trading_account SET counter_account_name = 'red' || char(27) || '[31' || "
               "char(133) || 'm' "
               "WHERE trading_account = 'T000001'");
    }

    void call_slowPriceCage_waitsForIt() {
        const Ended ended =
            run({"--fault", "getSysConfigRequest 1 delay ms=1500", "call", "GetAllCageMap"});
        QVERIFY2(ended.code == 0 && ended.err.isEmpty(), ended.text());
        QVERIFY2(!resultOf(ended).toObject().isEmpty(), ended.text());
    }

    void call_early_doesNotWaitForThePriceCage() {
        const Ended ended = run({"--fault", "getSysConfigRequest 1 delay ms=60000", "call",
                                 "--early", "GetAllCageMap"});
        QVERIFY2(ended.code == 0, ended.text());
        QVERIFY2(resultOf(ended).isObject() && resultOf(ended).toObject().isEmpty(), ended.text());
    }

    void call_startUpBeyondTheLimit_namesTheStep() {
        const Ended ended = run({"--wait", "3", "--fault", "getSysConfigRequest 1 delay ms=60000",
                                 "call", "GetAllCageMap"});
        QVERIFY2(ended.code == 1 && ended.out.isEmpty(), ended.text());
        QVERIFY2(ended.err.contains("not over within 3 s, still loading: Hong Kong prices and the "
                                    "price cage"),
                 ended.text());
    }

    void call_unknownValueOfAnEnumeration_isRefusedUnlessRaw() {
        const QStringList call{"GetQtyByOddLotType", "600000.SH", "9", "9007199254740993", "true"};
        const Ended refused = run(QStringList{"call"} + call);
        QVERIFY2(refused.code == 2 && refused.out.isEmpty(), refused.text());
        QVERIFY2(refused.err.contains("argument 2, type: '9' is not a value of CustomOddLotType"),
                 refused.text());
        QVERIFY2(refused.err.contains("--raw passes it"), refused.text());
        const Ended passed = run(QStringList{"call", "--raw"} + call);
        QVERIFY2(passed.code == 0, passed.text());
        QCOMPARE(resultOf(passed).toString(), QString("9007199254740993"));
    }

    void call_optionBehindTheFunction_isNamed() {
        const QString hint = "; options such as --early go before the function";
        const Ended known = run({"call", "GetAllCageMap", "--early"});
        QVERIFY2(known.code == 2 && known.err.contains(hint), known.text());
        const Ended word = run({"call", "GetAllCageMap", "early"});
        QVERIFY2(word.code == 2 && !word.err.contains("options such as"), word.text());
        const Ended unknown = run({"call", "GetAllCages", "--early"});
        QVERIFY2(unknown.code == 2 && !unknown.err.contains(hint), unknown.text());
    }

    void error_withALineBreakInAName_isOneLine() {
        const Ended ended = run({"call", "A\nvelmar-client: forged"});
        QVERIFY2(ended.code == 2, ended.text());
        QCOMPARE(ended.err.count('\n'), 1);
        QVERIFY2(ended.err.contains(QStringLiteral("A\uFFFDvelmar-client: forged")), ended.text());
    }

    void output_thatCannotBeWritten_isAFailure_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::newRow("functions") << QStringList{"functions"};
        QTest::newRow("help") << QStringList{"--help"};
        QTest::newRow("call") << QStringList{"call", "GetAllProductAccountMap"};
        QTest::newRow("accounts") << QStringList{"accounts", "list"};
        QTest::newRow("doctor") << QStringList{"doctor"};
        QTest::newRow("main job") << QStringList{"--once"};
    }
    void output_thatCannotBeWritten_isAFailure() {
        QFETCH(QStringList, arguments);
        const Ended ended = run(arguments, "/dev/full");
        QCOMPARE(ended.code, 1);
        QVERIFY2(ended.err.contains("could not be written"), ended.text());
    }

    void names_withControlCharacters_neverReachTheTerminal_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("shown");
        QTest::newRow("accounts") << QStringList{"accounts", "list"} << "red\uFFFD[31\uFFFDm";
        QTest::newRow("why") << QStringList{"accounts", "why", "T000001"} << "red\uFFFD[31\uFFFDm";
        QTest::newRow("JSON") << QStringList{"accounts", "list", "--json"}
                              << "red\\u001b[31\\u0085m";
        QTest::newRow("call") << QStringList{"call", "GetAccountInfoByTradingAccount", "T000001",
                                             "true"}
                              << "red\\u001b[31\\u0085m";
        QTest::newRow("error") << QStringList{"call", "red\x1b[31m"} << "red\uFFFD[31m";
    }
    void names_withControlCharacters_neverReachTheTerminal() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, shown);
        const Ended ended = run(arguments);
        const QString all = ended.out + ended.err;
        QVERIFY2(all.contains(shown), ended.text());
        QVERIFY(!all.contains(QChar(0x1b)) && !all.contains(QChar(0x85)));
    }

    void accountsList_endsWithALegendOfItsLetters() {
        const Ended ended = run({"accounts", "list"});
        QVERIFY2(
            ended.out.trimmed().endsWith("May: Q query, E edit, A authority, S subscribe, T trade"),
            ended.text());
    }

    void symbolsFind_codeOrChineseName_listsTheSecurities() {
        const Ended byCode = run({"symbols", "find", "600000"});
        QVERIFY2(byCode.code == 0 && byCode.err.isEmpty(), byCode.text());
        const QStringList lines = byCode.out.split('\n');
        QVERIFY2(lines.value(2).startsWith("600000.SH  "), byCode.text());
        const QString name = lines.value(2).split(' ', Qt::SkipEmptyParts).value(1);
        QVERIFY(!name.isEmpty());
        const Ended byName = run({"symbols", "find", name});
        QVERIFY2(byName.out.contains("600000.SH"), byName.text());
        const Ended none = run({"symbols", "find", "no such name"});
        QVERIFY2(none.code == 2 && none.out.isEmpty(), none.text());
        QVERIFY2(none.err.contains("'no such name'"), none.text());
    }

    void doctor_everythingReady_namesHomeMarketAndPlugins() {
        const Ended ended = run({"doctor"});
        QVERIFY2(ended.code == 0 && ended.err.isEmpty(), ended.text());
        for (const QString& part :
             {home() + ", ready", QString("200 accounts, 12000 symbols"),
              QString("libVelmarBusinessDataManager.so: version"), QString("exported functions"),
              QString("Qt 5."), QString("no problems found")}) {
            QVERIFY2(ended.out.contains(part), ended.text());
        }
    }

    void doctor_damagedMarketAndStrangeLibrary_areProblems() {
        const QString other = m_dir.filePath("other");
        QVERIFY(QDir().mkpath(other + "/market") && QDir().mkpath(other + "/plugins"));
        for (const char* name : {"/market/market.sqlite", "/plugins/libStrange.so"}) {
            QFile file(other + name);
            QVERIFY(file.open(QFile::WriteOnly) && file.write(QByteArray(8192, 'x')) == 8192);
        }
        const Ended ended = run({"doctor", "--home", other, "--plugins", other + "/plugins"});
        QVERIFY2(ended.code == 1 && ended.err.isEmpty(), ended.text());
        for (const QString& part :
             {"problem: " + other + "/market/market.sqlite",
              "problem: " + other + "/plugins/libStrange.so: not a plug-in",
              "problem: " + other + "/plugins/libVelmarBusinessDataManager.so is missing"}) {
            QVERIFY2(ended.out.contains(part), ended.text());
        }
        QVERIFY(!QFile::exists(other + "/settings"));
    }

    void doctor_damagedServerState_isNamedAsTheStartDoes_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("garbage") << QByteArray(8192, 'x');
        QTest::newRow("folder") << QByteArray();
    }
    void doctor_damagedServerState_isNamedAsTheStartDoes() {
        QFETCH(QByteArray, content);
        const QString state = home() + "/server_state.sqlite";
        const QString kept = m_dir.filePath("kept.sqlite");
        const bool hadOne = QFile::rename(state, kept);
        if (content.isEmpty()) {
            QVERIFY(QDir().mkpath(state));
        } else {
            QFile file(state);
            QVERIFY(file.open(QFile::WriteOnly) && file.write(content) == content.size());
        }
        const Ended doctor = run({"doctor"});
        const Ended start = run({"--once"});
        QFile file(state);
        const QByteArray after = file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
        QDir().rmdir(state);
        QFile::remove(state);
        QVERIFY(!hadOne || QFile::rename(kept, state));
        QVERIFY2(doctor.code == 1 && doctor.err.isEmpty(), doctor.text());
        const QString problem = doctor.out.section("problem: ", 1).trimmed();
        QVERIFY2(problem.startsWith(state), doctor.text());
        QVERIFY2(start.code == 1 && start.err.contains(problem), start.text());
        QCOMPARE(after, content);
    }

    void doctor_soundServerState_isLeftAsItIs() {
        QVERIFY(run({"accounts", "list"}).code == 0);
        const QString state = home() + "/server_state.sqlite";
        const auto files = [this] { return QDir(home()).entryList(QDir::Files | QDir::Hidden); };
        const auto bytes = [&state] {
            QFile file(state);
            return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
        };
        const QStringList filesBefore = files();
        const QByteArray bytesBefore = bytes();
        QVERIFY(!bytesBefore.isEmpty());
        const Ended ended = run({"doctor"});
        QVERIFY2(ended.code == 0 && ended.out.contains("readable, " + state), ended.text());
        QCOMPARE(files(), filesBefore);
        QCOMPARE(bytes(), bytesBefore);
    }

    void doctor_folderOfSomebodyElse_isAProblemAndStaysAsItIs() {
        const QString foreign = m_dir.filePath("foreign");
        QVERIFY(QDir().mkpath(foreign + "/photos"));
        const Ended ended = run({"doctor", "--home", foreign});
        QVERIFY2(ended.code == 1, ended.text());
        QVERIFY2(ended.out.contains(foreign + " is not empty and is not a home"), ended.text());
        QCOMPARE(QDir(foreign).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList("photos"));
    }
    void doctor_homeThatIsAFile_isAProblem() {
        const QString file = m_dir.filePath("file");
        QFile made(file);
        QVERIFY(made.open(QFile::WriteOnly));
        const Ended ended = run({"doctor", "--home", file});
        QVERIFY2(ended.code == 1 && ended.out.contains(file + " is not a folder"), ended.text());
        const Ended below = run({"doctor", "--home", file + "/home"});
        QVERIFY2(below.code == 1 && below.out.contains("cannot be made: " + file), below.text());
    }

private:
    QString home() const { return m_dir.filePath(QStringLiteral("home")); }

    Ended run(const QStringList& arguments, const QString& outFile = {}) const {
        return runClient(arguments, outFile, m_environment);
    }

    QTemporaryDir m_dir;
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
};

QTEST_GUILESS_MAIN(CommandProcessTest)
#include "command_process_test.moc"

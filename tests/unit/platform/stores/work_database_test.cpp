#include "work_database.h"

#include <signal.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QtTest>
#include <thread>

#include "log_capture.h"
#include "log_hook.h"
#include "read_only_folder.h"
#include "sqlite_connection.h"
#include "wait_for.h"

namespace {

inline const QString kTable =
    QStringLiteral("CREATE TABLE IF NOT EXISTS t(a PRIMARY KEY ON CONFLICT REPLACE, b INTEGER)");

WorkDatabase::Options optionsIn(const QString& folder, const QString& login = "u1") {
    WorkDatabase::Options options;
    options.folder = folder;
    options.login = [login] { return login; };
    return options;
}

QString insertOf(const QString& key, int value = 1) {
    return QStringLiteral("INSERT INTO t VALUES('%1',%2);").arg(key).arg(value);
}

/// The first field of the first row, as text.
QString textOf(WorkDatabase& database, const QString& query) {
    const QList<QVariant> rows = database.rows(query);
    const QVariantMap row = rows.isEmpty() ? QVariantMap() : rows.first().toMap();
    return row.isEmpty() ? QString() : row.first().toString();
}

}  // namespace

class WorkDatabaseTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_dir = std::make_unique<QTemporaryDir>();
        m_database = std::make_unique<WorkDatabase>();
        m_database->open(optionsIn(m_dir->path()));
    }

    void cleanup() {
        m_database.reset();
        m_dir.reset();
    }

    void statement_returnsTheRowsChanged() {
        QCOMPARE(m_database->update(kTable), 0);
        QCOMPARE(m_database->update(insertOf("x")), 1);
        QCOMPARE(m_database->update("INSERT INTO t VALUES('y',2),('z',3),('y',4)"), 3);
        QCOMPARE(m_database->update("UPDATE t SET b = 9"), 3);
        // Neither of the two changes a row, whatever the statement before changed.
        QCOMPARE(m_database->update(kTable), 0);
        QCOMPARE(m_database->update("SELECT * FROM t"), 0);
        QCOMPARE(m_database->update("DELETE FROM t"), 3);
    }

    void statementThatFails_returnsMinusOne_withALogLine_data() {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QString>("why");
        QTest::newRow("syntax") << "INSERT INTO t VALUES('it's',1)"
                                << "near \"s\": syntax error";
        QTest::newRow("no table") << "DELETE FROM nowhere"
                                  << "no such table: nowhere";
        QTest::newRow("two") << "DELETE FROM t; DELETE FROM t"
                             << "more than one statement";
        QTest::newRow("empty") << ""
                               << "no statement";
        QTest::newRow("transaction") << "BEGIN"
                                     << "begins or ends a transaction";
        QTest::newRow("two behind a trigger")
            << "CREATE TRIGGER x AFTER INSERT ON t BEGIN DELETE FROM t; END; DROP TABLE t"
            << "multiple statements";
    }

    void statementThatFails_returnsMinusOne_withALogLine() {
        QFETCH(QString, statement);
        QFETCH(QString, why);
        m_database->update(kTable);
        m_database->update(insertOf("kept"));
        const LogCapture log;
        QCOMPARE(m_database->update(statement), -1);
        QVERIFY2(log.contains(QtWarningMsg, why), qPrintable(log.texts().join('\n')));
        QCOMPARE(textOf(*m_database, "SELECT count(*) FROM t"), QString("1"));
    }

    void query_returnsTheRowsByColumnName() {
        m_database->update(kTable);
        m_database->update("INSERT INTO t VALUES('文',20260105093000),(NULL,NULL)");
        const QList<QVariant> rows = m_database->rows("SELECT * FROM t ORDER BY b DESC;");
        QCOMPARE(rows.size(), 2);
        QCOMPARE(rows.at(0).toMap(), (QVariantMap{{"a", "文"}, {"b", qlonglong(20260105093000)}}));
        QVERIFY(rows.at(1).toMap().contains("b") && rows.at(1).toMap().value("b").isNull());
    }

    void queryThatFails_returnsNoRow_withALogLine() {
        const LogCapture log;
        QVERIFY(m_database->rows("SELECT * FROM nowhere").isEmpty());
        QVERIFY(m_database->rows("SELECT 1; SELECT 2").isEmpty());
        QVERIFY(log.contains(QtWarningMsg, "no such table: nowhere"));
        QVERIFY(log.contains(QtWarningMsg, "more than one statement"));
    }

    void list_returnsTheRowsChanged_ofAllStatements() {
        QCOMPARE(
            m_database->updateAll({kTable, insertOf("x"), "INSERT INTO t VALUES('y',1),('z',1)",
                                   "DELETE FROM t WHERE a = 'x'"}),
            4);
        QCOMPARE(m_database->updateAll({}), 0);
    }

    void failingStatementOfAList_losesOnlyItself() {
        m_database->update(kTable);
        const LogCapture log;
        const int changed = m_database->updateAll(
            {insertOf("a"), "INSERT INTO t VALUES('b',1),('it's',1);", insertOf("c"),
             "INSERT INTO t VALUES('d',1); DELETE FROM t", "COMMIT", insertOf("e")});
        QCOMPARE(changed, 3);
        QCOMPARE(keys(), QString("a,c,e"));
        QCOMPARE(log.texts(QtWarningMsg).size(), 3);
        QVERIFY(log.contains("did not execute statement 2 of 6"));
        QVERIFY(log.contains("did not execute statement 4 of 6"));
        QVERIFY(log.contains("did not execute statement 5 of 6"));
    }

    void statementThatFailsAtItsLastRow_leavesNoneOfItsRows() {
        m_database->updateAll({"CREATE TABLE t(a PRIMARY KEY, b INTEGER)", insertOf("taken")});
        QCOMPARE(m_database->updateAll({"INSERT INTO t VALUES('x',1),('taken',1)", insertOf("y")}),
                 1);
        QCOMPARE(keys(), QString("taken,y"));
    }

    void transactionThatTheDatabaseTakesBack_isExecutedOneByOne() {
        m_database->updateAll({"CREATE TABLE t(a PRIMARY KEY, b INTEGER)", insertOf("taken")});
        const LogCapture log;
        const int changed = m_database->updateAll(
            {insertOf("before"), "INSERT OR ROLLBACK INTO t VALUES('taken',1)", insertOf("after"),
             insertOf("taken"), insertOf("last")});
        QCOMPARE(changed, 3);
        QCOMPARE(keys(), QString("after,before,last,taken"));
        QVERIFY(log.contains("took a transaction back; 4 other statements"));
    }

    void fileThatIsHeldWhileStatementsRunOneByOne_logsTheirNumber() {
        WorkDatabase::Options options = optionsIn(m_dir->path());
        options.busyLimit = std::chrono::milliseconds(1);
        m_database->open(options);
        m_database->updateAll({"CREATE TABLE t(a PRIMARY KEY, b INTEGER)", insertOf("taken")});
        const SqliteConnection holder(m_database->file());
        const LogCapture log;
        const LogHook hold("took a transaction back",
                           [&holder] { QVERIFY(!holder.run("BEGIN IMMEDIATE", {}, {})); });
        QCOMPARE(m_database->updateAll({insertOf("a"), insertOf("b"), insertOf("c"),
                                        "INSERT OR ROLLBACK INTO t VALUES('taken',1)"}),
                 0);
        QVERIFY2(log.contains(QtWarningMsg, "is busy: 2 further statements not executed"),
                 qPrintable(log.texts().join('\n')));
        QVERIFY(!holder.run("ROLLBACK", {}, {}));
        QCOMPARE(keys(), QString("taken"));
    }

    void longListOfFailures_isLoggedInParts() {
        const LogCapture log;
        QStringList statements;
        for (int i = 0; i < 1000; ++i) {
            statements.append(insertOf(QString::number(i)));
        }
        QCOMPARE(m_database->updateAll(statements), 0);
        QCOMPARE(log.texts(QtWarningMsg).size(), 21);
        QVERIFY(log.contains("did not execute 1000 of 1000 statements"));
    }

    void twoThreadsThatWriteAtOnce_bothSucceed() {
        m_database->update(kTable);
        const auto write = [this](const QString& name) {
            for (int i = 0; i < 50; ++i) {
                QStringList statements;
                for (int row = 0; row < 20; ++row) {
                    statements.append(
                        insertOf(QStringLiteral("%1-%2-%3").arg(name).arg(i).arg(row)));
                }
                m_database->updateAll(statements);
            }
        };
        const LogCapture log;
        std::thread first([&write] { write("first"); });
        std::thread second([&write] { write("second"); });
        for (int i = 0; i < 50; ++i) {
            m_database->rows("SELECT * FROM t");
        }
        first.join();
        second.join();
        QCOMPARE(log.texts(QtWarningMsg), QStringList());
        QCOMPARE(textOf(*m_database, "SELECT count(*) FROM t"), QString("2000"));
    }

    void connectionOfAThread_isClosedWhenTheThreadEnds() {
        m_database->update(kTable);
        QCOMPARE(m_database->connectionCount(), 1);
        std::thread([this] {
            m_database->update(insertOf("x"));
            QCOMPARE(m_database->connectionCount(), 2);
        }).join();
        QCOMPARE(m_database->connectionCount(), 1);
        m_database->close();
        QCOMPARE(m_database->connectionCount(), 0);
    }

    void closedDatabase_failsEveryOperation_withALogLine() {
        m_database->update(kTable);
        const QString file = m_database->file();
        m_database->close();
        // Its journal is in the file.
        QVERIFY(QFile::exists(file) && !QFile::exists(file + "-wal"));
        const LogCapture log;
        QCOMPARE(m_database->update(insertOf("x")), -1);
        QCOMPARE(m_database->updateAll({insertOf("x")}), 0);
        QVERIFY(m_database->rows("SELECT * FROM t").isEmpty());
        QCOMPARE(log.texts(QtWarningMsg).size(), 3);
        QVERIFY(log.contains("is not open; an update of 1 statement is not executed"));
    }

    void file_usesAWriteAheadJournal_andKeepsItsRows() {
        m_database->update(kTable);
        m_database->update(insertOf("x"));
        QCOMPARE(textOf(*m_database, "PRAGMA journal_mode"), QString("wal"));
        QCOMPARE(textOf(*m_database, "PRAGMA synchronous"), QString("1"));
        m_database->open(optionsIn(m_dir->path()));
        QCOMPARE(keys(), QString("x"));
    }

    void file_isDecidedByTheLoginAtTheFirstUse() {
        QString login = "early";
        WorkDatabase::Options options = optionsIn(m_dir->path());
        options.login = [&login] { return login; };
        m_database->open(options);
        QCOMPARE(m_database->file(), QString());
        login = "first";
        m_database->update(kTable);
        login = "later";
        m_database->update(insertOf("x"));
        QCOMPARE(m_database->file(), m_dir->path() + "/user_first.sqlite");
        QVERIFY(!QFile::exists(m_dir->path() + "/user_later.sqlite"));
        m_database->open(options);
        QVERIFY(m_database->rows("SELECT * FROM t").isEmpty());
        QCOMPARE(m_database->file(), m_dir->path() + "/user_later.sqlite");
    }

    void withoutALogin_aNamedFileIsUsed_withAWarning() {
        m_database->open(optionsIn(m_dir->path(), QString()));
        const LogCapture log;
        m_database->update(kTable);
        m_database->update(kTable);
        QCOMPARE(m_database->file(), m_dir->path() + "/no_login.sqlite");
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
        QVERIFY(
            log.contains(QtWarningMsg, "used before a log-in; its file is " + m_database->file()));
        m_database->open(optionsIn(m_dir->path(), "no_login"));
        m_database->update(kTable);
        QCOMPARE(m_database->file(), m_dir->path() + "/user_no_login.sqlite");
    }

    void login_neverLeadsOutOfTheFolder_data() {
        QTest::addColumn<QString>("login");
        QTest::newRow("slash") << "a/b";
        QTest::newRow("parent") << "..";
        QTest::newRow("path") << "../../etc/x";
        QTest::newRow("absolute") << "/tmp/x";
        QTest::newRow("blank and quote") << "a 'b\" ?#%";
        QTest::newRow("control") << QString("a\n\tb") + QChar::Null + "c";
        QTest::newRow("Chinese") << "王小明";
        QTest::newRow("long") << QString(3000, u'长');
    }

    void login_neverLeadsOutOfTheFolder() {
        QFETCH(QString, login);
        const QString folder = m_dir->path() + "/work";
        m_database->open(optionsIn(folder, login));
        QCOMPARE(m_database->update(kTable), 0);
        QCOMPARE(QFileInfo(m_database->file()).absolutePath(), folder);
        QVERIFY(QFileInfo(m_database->file()).isFile());
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList("work"));
    }

    void differentLogins_haveDifferentFiles() {
        QStringList files;
        const QStringList logins{
            "a",        "A", "a/b", "a_b", "a%2Fb", "a+b", QString(3000, 'x'), QString(3001, 'x'),
            "no_login", ""};
        for (const QString& login : logins) {
            m_database->open(optionsIn(m_dir->path(), login));
            m_database->update(kTable);
            files.append(m_database->file());
        }
        QCOMPARE(files.removeDuplicates(), 0);
    }

    void damagedFile_isMovedAside_withItsJournal_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("garbage") << QByteArray(5000, '\x5a');
        QTest::newRow("a text") << QByteArray("not a database");
        QTest::newRow("cut") << QByteArray();
    }

    void damagedFile_isMovedAside_withItsJournal() {
        QFETCH(QByteArray, content);
        m_database->update(kTable);
        m_database->updateAll({insertOf("x"), insertOf(QString(20000, 'y'))});
        const QString file = m_database->file();
        m_database->close();
        if (content.isEmpty()) {
            QFile sound(file);
            QVERIFY(sound.resize(sound.size() / 2));
        } else {
            write(file, content);
            write(file + "-wal", "journal");
            write(file + "-shm", "index");
        }
        m_database->open(optionsIn(m_dir->path()));
        const LogCapture log;
        QCOMPARE(m_database->update(kTable), 0);
        QCOMPARE(m_database->update(insertOf("new")), 1);
        QCOMPARE(keys(), QString("new"));
        const QStringList lines = log.texts(QtCriticalMsg);
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.first().contains("the work database " + file + " is damaged"),
                 qPrintable(lines.first()));
        const QRegularExpression named("it was moved to (\\S+\\.damaged-\\d{8}-\\d{6}) and a new");
        const QString aside = named.match(lines.first()).captured(1);
        QVERIFY2(QFile::exists(aside), qPrintable(lines.first()));
        if (!content.isEmpty()) {
            QCOMPARE(read(aside), content);
            QCOMPARE(read(aside + "-wal"), QByteArray("journal"));
            QCOMPARE(read(aside + "-shm"), QByteArray("index"));
        }
    }

    void damagedFile_isMovedAfterItsJournal_soThatAKillLeavesIt() {
        const QString file = m_dir->path() + "/user_u1.sqlite";
        for (const char* suffix : {"", "-wal", "-shm"}) {
            write(file + suffix, "not a database");
        }
        const int events = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
        const auto close = qScopeGuard([events] { ::close(events); });
        QVERIFY(::inotify_add_watch(events, QFile::encodeName(m_dir->path()).constData(),
                                    IN_MOVED_FROM) >= 0);
        QCOMPARE(m_database->update(kTable), 0);
        alignas(inotify_event) char buffer[4096];
        const ssize_t size = ::read(events, buffer, sizeof buffer);
        QVERIFY(size > 0);
        QStringList moved;
        for (const char* at = buffer; at < buffer + size;) {
            const auto* event = reinterpret_cast<const inotify_event*>(at);
            moved.append(QFile::decodeName(event->name));
            at += sizeof(inotify_event) + event->len;
        }
        const QString name = "user_u1.sqlite";
        QCOMPARE(moved, QStringList({name + "-wal", name + "-shm", name}));
    }

    void damagedFile_thatCannotBeMoved_staysWithItsJournal() {
        const QString file = m_dir->path() + "/user_u1.sqlite";
        write(file, "not a database");
        write(file + "-wal", "journal");
        {
            const ReadOnlyFolder folder(m_dir->path());
            const LogCapture log;
            QCOMPARE(m_database->update(kTable), -1);
            QVERIFY2(log.contains(QtWarningMsg, "cannot be moved to"),
                     qPrintable(log.texts().join('\n')));
        }
        QCOMPARE(read(file), QByteArray("not a database"));
        QCOMPARE(read(file + "-wal"), QByteArray("journal"));
    }

    void indexThatDiffersFromItsTable_isDamage() {
        m_database->update(kTable);
        m_database->updateAll({insertOf("first"), insertOf("second"), insertOf("third")});
        const QString file = m_database->file();
        m_database->close();
        // The pages of the index follow those of the table.
        QByteArray content = read(file);
        const int inIndex = content.lastIndexOf("third");
        QVERIFY(inIndex > content.indexOf("third"));
        content.replace(inIndex, 5, "thirt");
        write(file, content);
        m_database->open(optionsIn(m_dir->path()));
        const LogCapture log;
        QCOMPARE(m_database->update(kTable), 0);
        QVERIFY2(log.contains(QtCriticalMsg, file + " is damaged"),
                 qPrintable(log.texts().join('\n')));
        QCOMPARE(QDir(m_dir->path()).entryList({"*.damaged-*"}).size(), 1);
    }

    void journalWithoutItsFile_isNoReasonForANewFile() {
        const QString file = m_dir->path() + "/user_u1.sqlite";
        write(file + "-wal", "the last commits");
        const LogCapture log;
        QCOMPARE(m_database->update(kTable), -1);
        QVERIFY2(log.contains(QtWarningMsg,
                              file + " is missing, but its journal " + file + "-wal is there"),
                 qPrintable(log.texts().join('\n')));
        QCOMPARE(read(file + "-wal"), QByteArray("the last commits"));
        QVERIFY(QFile::remove(file + "-wal"));
        QCOMPARE(m_database->update(kTable), 0);
    }

    void filesDamagedInTheSameSecond_keepBothTheirContents() {
        for (const char* content : {"first damage", "second damage"}) {
            write(m_dir->path() + "/user_u1.sqlite", content);
            m_database->open(optionsIn(m_dir->path()));
            m_database->update(kTable);
            m_database->close();
        }
        QCOMPARE(QDir(m_dir->path()).entryList({"*.damaged-*"}).size(), 2);
    }

    void emptyFile_isUsedAsItIs() {
        write(m_dir->path() + "/user_u1.sqlite", "");
        const LogCapture log;
        QCOMPARE(m_database->update(kTable), 0);
        QCOMPARE(log.texts(QtCriticalMsg), QStringList());
    }

    void folderInPlaceOfTheFile_failsEveryOperation_andIsLeft() {
        const QString file = m_dir->path() + "/user_u1.sqlite";
        QVERIFY(QDir().mkpath(file));
        const LogCapture log;
        QCOMPARE(m_database->update(kTable), -1);
        QCOMPARE(m_database->updateAll({kTable}), 0);
        QVERIFY(log.contains(QtWarningMsg, file + " is not a file"));
        QVERIFY(QFileInfo(file).isDir());
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
        // The next operation finds it repaired.
        QVERIFY(QDir().rmdir(file));
        QCOMPARE(m_database->update(kTable), 0);
    }

    void fileInPlaceOfTheFolder_failsEveryOperation() {
        write(m_dir->path() + "/work", "");
        m_database->open(optionsIn(m_dir->path() + "/work"));
        const LogCapture log;
        QCOMPARE(m_database->update(kTable), -1);
        QVERIFY2(log.contains(QtWarningMsg, "/work/user_u1.sqlite has no folder"),
                 qPrintable(log.texts().join('\n')));
        QCOMPARE(read(m_dir->path() + "/work"), QByteArray());
    }

    void folderThatIsReadOnly_failsEveryOperation_andMovesNothing_data() {
        QTest::addColumn<bool>("isMade");
        QTest::newRow("without the file") << false;
        QTest::newRow("with the file") << true;
    }
    void folderThatIsReadOnly_failsEveryOperation_andMovesNothing() {
        QFETCH(bool, isMade);
        if (isMade) {
            m_database->updateAll({kTable, insertOf("kept")});
            m_database->close();
            m_database->open(optionsIn(m_dir->path()));
        }
        const QStringList before = QDir(m_dir->path()).entryList(QDir::Files);
        const LogCapture log;
        {
            const ReadOnlyFolder folder(m_dir->path());
            QCOMPARE(m_database->update(kTable), -1);
            QCOMPARE(m_database->updateAll({insertOf("x")}), 0);
        }
        QVERIFY2(log.contains(QtWarningMsg, "check the permissions of the file and of its folder"),
                 qPrintable(log.texts().join('\n')));
        QCOMPARE(log.texts(QtCriticalMsg), QStringList());
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files), before);
        m_database->updateAll({kTable, insertOf("new")});
        QCOMPARE(keys(), QString(isMade ? "kept,new" : "new"));
    }

    void fileThatAnotherHolds_isBusy_andIsLeft() {
        const QString file = m_dir->path() + "/user_u1.sqlite";
        WorkDatabase::Options options = optionsIn(m_dir->path());
        options.busyLimit = std::chrono::milliseconds(1);
        m_database->open(options);
        m_database->update(kTable);
        const SqliteConnection holder(file);
        QVERIFY(!holder.run("BEGIN IMMEDIATE", {}, {}));
        const LogCapture log;
        QCOMPARE(m_database->update(insertOf("x")), -1);
        QCOMPARE(m_database->updateAll({insertOf("x"), insertOf("y")}), 0);
        QVERIFY(log.contains(QtWarningMsg, "is in use by another process"));
        QVERIFY(log.contains(QtWarningMsg, "2 statements are lost"));
        QVERIFY(!holder.run("ROLLBACK", {}, {}));
        QCOMPARE(m_database->updateAll({insertOf("x"), insertOf("y")}), 2);
        QVERIFY(QDir(m_dir->path()).entryList({"*.damaged-*"}).isEmpty());
    }

    void fileThatAnotherHoldsAtTheOpening_isBusy_andIsLeft() {
        const QString file = m_dir->path() + "/user_u1.sqlite";
        const SqliteConnection holder(file);
        QVERIFY(!holder.run(kTable, {}, {}));
        QVERIFY(!holder.run("BEGIN EXCLUSIVE", {}, {}));
        WorkDatabase::Options options = optionsIn(m_dir->path());
        options.busyLimit = std::chrono::milliseconds(1);
        m_database->open(options);
        const LogCapture log;
        QCOMPARE(m_database->update(insertOf("x")), -1);
        QVERIFY(log.contains(QtWarningMsg, file + " is in use by another process"));
        QVERIFY(!holder.run("ROLLBACK", {}, {}));
        QCOMPARE(m_database->update(insertOf("x")), 1);
        QVERIFY(QDir(m_dir->path()).entryList({"*.damaged-*"}).isEmpty());
    }

    void killedProcess_leavesWhatItCommitted_andAFileThatOpens() {
        m_database.reset();
        for (int round = 0; round < 3; ++round) {
            const pid_t child = fork();
            if (child == 0) {
                writeUntilKilled(round);
            }
            QVERIFY(child > 0);
            const QString mark = m_dir->path() + QStringLiteral("/mark%1").arg(round);
            QVERIFY(waitFor([&mark] { return QFile::exists(mark); }, 20000));
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
            WorkDatabase after;
            after.open(optionsIn(m_dir->path()));
            const LogCapture log;
            QCOMPARE(textOf(after, "PRAGMA integrity_check"), QString("ok"));
            QCOMPARE(textOf(after,
                            QStringLiteral("SELECT count(*) >= 10 FROM t WHERE b = %1").arg(round)),
                     QString("1"));
            // A pass is there as a whole or not at all.
            QCOMPARE(textOf(after, "SELECT count(*) % 10 FROM t"), QString("0"));
            QCOMPARE(log.texts(QtCriticalMsg), QStringList());
        }
    }

private:
    QString keys() {
        return textOf(*m_database, "SELECT group_concat(a) FROM (SELECT a FROM t ORDER BY a)");
    }

    static void write(const QString& name, const QByteArray& content) {
        QFile file(name);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        QCOMPARE(file.write(content), qint64(content.size()));
    }

    static QByteArray read(const QString& name) {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : "unreadable";
    }

    /// Ten rows with each call; the mark is written after the first.
    [[noreturn]] void writeUntilKilled(int round) {
        WorkDatabase database;
        database.open(optionsIn(m_dir->path()));
        database.update(kTable);
        for (int pass = 0;; ++pass) {
            QStringList statements;
            for (int row = 0; row < 10; ++row) {
                statements.append(
                    insertOf(QStringLiteral("%1-%2-%3").arg(round).arg(pass).arg(row), round));
            }
            database.updateAll(statements);
            if (pass == 0) {
                QFile mark(m_dir->path() + QStringLiteral("/mark%1").arg(round));
                mark.open(QIODevice::WriteOnly);
            }
        }
    }

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<WorkDatabase> m_database;
};

QTEST_GUILESS_MAIN(WorkDatabaseTest)
#include "work_database_test.moc"

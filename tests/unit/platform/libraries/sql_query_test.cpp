#include "zndatabase/zn_sql_query.h"

#include <QtTest>

#include "log_capture.h"

class SqlQueryTest : public QObject {
    Q_OBJECT

private slots:
    void textOfOneStatement_isTaken_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("statement");
        const auto same = [](const char* text) { QTest::newRow(text) << text << text; };
        same("SELECT 1");
        same("SELECT 1;");
        same("DELETE FROM t WHERE a = 'x;y'");
        same("DELETE FROM t WHERE a = 'it''s; fine'");
        same("SELECT \"a;b\", `c;d`, [e;f] FROM t");
        same("SELECT \"a\"\";b\" FROM t");
        same("SELECT 1 -- one; two");
        same("SELECT /* one; two */ 1");
        same("SELECT '/*', 1, '*/'");
        same("SELECT '-- ;'");
        same("INSERT INTO t VALUES('不是;两条')");
        same("CREATE TRIGGER x AFTER INSERT ON t BEGIN DELETE FROM u; DELETE FROM v; END");
        same("create temp trigger x AFTER INSERT ON t BEGIN DELETE FROM u; END;");
        // Not valid SQL, which is found when it is executed.
        same("INSERT INTO t VALUES('it's')");
        QTest::newRow("blanks behind") << "SELECT 1 ; \n\t"
                                       << "SELECT 1 ";
        QTest::newRow("comment behind") << "SELECT 1; -- done; really"
                                        << "SELECT 1";
        QTest::newRow("open comment behind") << "SELECT 1; /* done; really"
                                             << "SELECT 1";
        QTest::newRow("semicolons behind") << "SELECT 1;;;"
                                           << "SELECT 1";
        QTest::newRow("semicolon before") << " ; SELECT 1"
                                          << "SELECT 1";
        QTest::newRow("comment before") << "/* a; b */ SELECT 1;"
                                        << "SELECT 1";
    }

    void textOfOneStatement_isTaken() {
        QFETCH(QString, text);
        QFETCH(QString, statement);
        ZnSqlQuery query;
        QVERIFY(query.prepare(text));
        QCOMPARE(query.text(), statement);
    }

    void anyOtherText_isRefused_withALogLine_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("why");
        const QString several = "it has more than one statement";
        const QString none = "it has no statement";
        QTest::newRow("empty") << "" << none;
        QTest::newRow("blank") << " \n;" << none;
        QTest::newRow("comment") << "-- SELECT 1" << none;
        QTest::newRow("open comment") << "/* SELECT 1;" << none;
        QTest::newRow("two") << "SELECT 1; SELECT 2" << several;
        QTest::newRow("two without a blank") << "SELECT 1;SELECT 2;" << several;
        QTest::newRow("second behind a comment") << "SELECT 1; /* a */ DELETE FROM t" << several;
        QTest::newRow("second behind a line") << "SELECT 1; -- a\nDELETE FROM t" << several;
        QTest::newRow("second by a quote")
            << "INSERT INTO t VALUES('a'); DELETE FROM t; --')" << several;
        QTest::newRow("doubled quote, then two") << "SELECT 'a''b'; SELECT 2" << several;
        QTest::newRow("brackets, then two") << "SELECT [a'b]; SELECT 'x'" << several;
        QTest::newRow("begin") << "begin"
                               << "it begins or ends a transaction (BEGIN)";
        QTest::newRow("commit") << "/**/ COMMIT;"
                                << "it begins or ends a transaction (COMMIT)";
        QTest::newRow("savepoint") << "Savepoint a"
                                   << "it begins or ends a transaction (SAVEPOINT)";
        QTest::newRow("NUL") << QString("SELECT 1") + QChar::Null + "; SELECT 2"
                             << "it contains a NUL character";
    }

    void anyOtherText_isRefused_withALogLine() {
        QFETCH(QString, text);
        QFETCH(QString, why);
        ZnSqlQuery query;
        QVERIFY(query.prepare("SELECT 1"));
        const LogCapture log;
        QVERIFY(!query.prepare(text));
        QVERIFY(query.text().isEmpty());
        QVERIFY2(log.contains(QtWarningMsg, why), qPrintable(log.texts().join('\n')));
    }

    void refusedText_isNamedByItsBeginning() {
        const LogCapture log;
        QVERIFY(!ZnSqlQuery().prepare("SELECT 1;" + QString(1000000, 'x')));
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
        const QString line = log.texts(QtWarningMsg).first();
        QVERIFY2(line.size() < 400 && line.contains("(1000009 characters)"),
                 qPrintable(line.left(500)));
    }
};

QTEST_GUILESS_MAIN(SqlQueryTest)
#include "sql_query_test.moc"

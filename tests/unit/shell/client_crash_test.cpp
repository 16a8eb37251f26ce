#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include "child_process.h"
#include "crash_handler.h"
#include "test_paths.h"

namespace {

constexpr int kLimitMs = 240000;
inline const QString kProgram = QStringLiteral(VELMAR_BINARY_DIR "/bin/velmar-client");

}  // namespace

/// The real program crashes and reports it; all rounds have one home, as with a user.
class ClientCrashTest : public QObject {
    Q_OBJECT

private slots:
    void round_ofAnyKind_isSeenFromCrashToLogRequest_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("signal");
        QTest::newRow("segv") << "segv"
                              << "SIGSEGV";
        QTest::newRow("abort") << "abort"
                               << "SIGABRT";
        QTest::newRow("stack overflow") << "stack-overflow"
                                        << "SIGSEGV";
    }

    void round_ofAnyKind_isSeenFromCrashToLogRequest() {
        if (!CrashHandler::isAvailable()) {
            QSKIP("this build does not report crashes");
        }
        QFETCH(QString, kind);
        QFETCH(QString, signal);
        const QStringList before = dumps();
        const ChildResult round = run(kind);
        QVERIFY2(round.succeeded(), qPrintable(round.output));
        QStringList left = dumps();
        for (const QString& dump : before) {
            left.removeAll(dump);
        }
        QCOMPARE(left.size(), 1);
        int place = 0;
        for (const QString& step :
             {"crashes on purpose: " + kind, "the client has ended by " + signal,
              "it has left " + left.first(), QString("it has left dmpLog_"), QString("is up again"),
              "at the gateway: DmpInfoError, " + left.first() + " of 0MB, class 1",
              QString("at the gateway: ExceptionExitError"),
              QString("on the event bus: the logs are requested as dmp_1_demo01_")}) {
            place = round.output.indexOf(step, place);
            QVERIFY2(place >= 0, qPrintable(step + " is missing, or too early\n" + round.output));
        }
        QFile record(m_home + "/config/default/dmpRecord.txt");
        QVERIFY(record.open(QFile::ReadOnly));
        QVERIFY(QString::fromUtf8(record.readAll()).contains(left.first() + '|'));
        QCOMPARE(QDir(m_home + "/log").entryList({"dmpLog_*"}), QStringList());
    }

    void round_whereCrashesAreNotReported_saysSo() {
        if (CrashHandler::isAvailable()) {
            QSKIP("this build reports crashes");
        }
        const ChildResult round = run("segv");
        QVERIFY2(!round.crashed && round.exitCode == 1, qPrintable(round.output));
        QVERIFY2(round.output.contains("does not report crashes"), qPrintable(round.output));
        QVERIFY(!QFile::exists(m_home));
    }

private:
    QStringList dumps() const { return QDir(m_home + "/config/user").entryList({"*.dmp"}); }
    ChildResult run(const QString& kind) const {
        return runChild(kProgram, {"--home", m_home, "--crash", kind}, {}, kLimitMs);
    }

    QTemporaryDir m_dir;
    const QString m_home = m_dir.filePath("home");
};

QTEST_GUILESS_MAIN(ClientCrashTest)
#include "client_crash_test.moc"

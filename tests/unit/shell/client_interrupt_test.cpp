#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <csignal>

#include "home_mark.h"
#include "sample_market.h"
#include "test_paths.h"

namespace {

constexpr int kLimitMs = 100000;
/// What a user waits for the prompt after Ctrl-C.
// The sanitizers slow every step of the end down, the thread sanitizer most.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int kEndMs = 5000;
#else
constexpr int kEndMs = 1000;
#endif

inline const QString kProgram = QStringLiteral(VELMAR_BINARY_DIR "/bin/velmar-client");

struct Ended {
    bool inTime = false;
    int code = -1;
    QByteArray out;
    QByteArray err;

    QByteArray text() const {
        return QByteArray::number(code) + (inTime ? "" : ", too late") + '\n' + err + out;
    }
};

}  // namespace

/// Ctrl-C while the real program waits for a server that never answers.
class ClientInterruptTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void waitForTheServer_interrupted_endsWithinASecond_data();
    void waitForTheServer_interrupted_endsWithinASecond();
    void scenarioThatWaits_interrupted_endsWithinASecond();
    void ticksWatch_interrupted_endsWithSuccess();

private:
    static Ended interrupt(QProcess& process);
    bool waitForOutput(QProcess& process, const QByteArray& part, QByteArray* out) const;

    QTemporaryDir m_dir;
    QString m_home;
};

void ClientInterruptTest::initTestCase() {
    QVERIFY(m_dir.isValid());
    m_home = m_dir.filePath("home");
    QString error;
    QCOMPARE(HomeMark::take(m_home, HomeMark::Owner::Client, &error), HomeMark::Outcome::Taken);
    QVERIFY2(makeSampleMarket(m_home + "/market", MarketOptions(), {}, &error), qPrintable(error));
}

bool ClientInterruptTest::waitForOutput(QProcess& process, const QByteArray& part,
                                        QByteArray* out) const {
    while (!out->contains(part)) {
        if (!process.waitForReadyRead(kLimitMs)) {
            return false;
        }
        *out += process.readAllStandardOutput();
    }
    return process.state() == QProcess::Running;
}

Ended ClientInterruptTest::interrupt(QProcess& process) {
    Ended ended;
    QElapsedTimer timer;
    timer.start();
    // The id of a process that has ended is 0, which would signal this test and its runner.
    if (process.processId() <= 0 || ::kill(static_cast<pid_t>(process.processId()), SIGINT) != 0 ||
        !process.waitForFinished(kLimitMs)) {
        process.kill();
        process.waitForFinished();
        return ended;
    }
    ended.inTime = timer.elapsed() < kEndMs;
    ended.code = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    ended.out = process.readAllStandardOutput();
    ended.err = process.readAllStandardError();
    return ended;
}

void ClientInterruptTest::waitForTheServer_interrupted_endsWithinASecond_data() {
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QByteArray>("lastStep");
    QTest::newRow("log-in") << "100001 every timeout silent=true"
                            << QByteArray("plug-in object initialised");
    QTest::newRow("account list") << "100002 every timeout silent=true" << QByteArray("logged in");
    QTest::newRow("accounts") << "120006 every timeout silent=true"
                              << QByteArray("account list received");
}

void ClientInterruptTest::waitForTheServer_interrupted_endsWithinASecond() {
    QFETCH(QString, fault);
    QFETCH(QByteArray, lastStep);
    QProcess process;
    process.start(kProgram, {"--home", m_home, "--fault", fault});
    QByteArray out;
    QVERIFY2(waitForOutput(process, lastStep, &out), out + process.readAllStandardError());
    const Ended ended = interrupt(process);
    QVERIFY2(ended.inTime, ended.text());
    QVERIFY2(ended.code == 1, ended.text());
    QVERIFY2(ended.err.contains("velmar-client: interrupted"), ended.text());
}

void ClientInterruptTest::scenarioThatWaits_interrupted_endsWithinASecond() {
    const QString file = m_dir.filePath("silent.scn");
    QFile scenario(file);
    QVERIFY(scenario.open(QFile::WriteOnly));
    scenario.write("market accounts=5 symbols=20\nfault 100001 every timeout silent=true\nstart\n");
    scenario.close();
    const QString home = m_dir.filePath("scenario-home");
    QProcess process;
    process.start(kProgram, {"--scenario", file, "--home", home});
    // The child's main thread is in the log-in once its plug-in waits for the accounts.
    const auto waits = [&home] {
        QFile log(home + "/log/client.log");
        return log.open(QFile::ReadOnly) && log.readAll().contains("check not ready");
    };
    QTRY_VERIFY_WITH_TIMEOUT(waits(), kLimitMs);
    const Ended ended = interrupt(process);
    QVERIFY2(ended.inTime, ended.text());
    QVERIFY2(ended.code == 1, ended.text());
    QVERIFY2(ended.out.contains("silent.scn: interrupted"), ended.text());
    QVERIFY2(!ended.out.contains("failed"), ended.text());
    QVERIFY2(ended.err.isEmpty(), ended.text());
}

void ClientInterruptTest::ticksWatch_interrupted_endsWithSuccess() {
    QProcess process;
    process.start(kProgram, {"--home", m_home, "--tick-rate", "50", "ticks", "watch", "600000.SH"});
    QByteArray out;
    QVERIFY2(waitForOutput(process, "continuous", &out), out + process.readAllStandardError());
    const Ended ended = interrupt(process);
    QVERIFY2(ended.inTime, ended.text());
    QVERIFY2(ended.code == 0, ended.text());
}

QTEST_GUILESS_MAIN(ClientInterruptTest)
#include "client_interrupt_test.moc"

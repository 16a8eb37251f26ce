#include <QTemporaryDir>
#include <QtTest>

#include "client_run.h"

namespace {

/// Less than the 10 s that a request waits for its answer, and enough for a busy machine.
constexpr int kEndMs = 8000;

/// How a client ended, and whether that was soon after the interrupt.
struct Interrupted : Ended {
    bool inTime = false;
    QByteArray text() const { return (inTime ? "" : "too late, ") + Ended::text(); }
};

Interrupted interrupt(RunningClient& client) {
    QElapsedTimer timer;
    timer.start();
    Interrupted result{client.interrupt()};
    result.inTime = timer.elapsed() < kEndMs;
    return result;
}

}  // namespace

/// Ctrl-C while the real program waits for a server that never answers.
class ClientInterruptTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void waitForTheServer_interrupted_endsBeforeARequestTimesOut_data();
    void waitForTheServer_interrupted_endsBeforeARequestTimesOut();
    void scenarioThatWaits_interrupted_endsBeforeARequestTimesOut();
    void ticksWatch_interrupted_endsWithSuccess();

private:
    QTemporaryDir m_dir;
    QString m_home;
};

void ClientInterruptTest::initTestCase() {
    QVERIFY(m_dir.isValid());
    m_home = m_dir.filePath("home");
    const QString error = makeSampleHome(m_home);
    QVERIFY2(error.isEmpty(), qPrintable(error));
}

void ClientInterruptTest::waitForTheServer_interrupted_endsBeforeARequestTimesOut_data() {
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QByteArray>("lastStep");
    QTest::newRow("log-in") << "100001 every timeout silent=true"
                            << QByteArray("plug-in library loaded");
    QTest::newRow("account list") << "100002 every timeout silent=true"
                                  << QByteArray("plug-in object initialised");
    QTest::newRow("accounts") << "120006 every timeout silent=true"
                              << QByteArray("account list received");
}

void ClientInterruptTest::waitForTheServer_interrupted_endsBeforeARequestTimesOut() {
    QFETCH(QString, fault);
    QFETCH(QByteArray, lastStep);
    RunningClient client({"--home", m_home, "--fault", fault});
    QVERIFY2(client.readUntil(lastStep), client.text());
    const Interrupted ended = interrupt(client);
    QVERIFY2(ended.inTime, ended.text());
    QVERIFY2(ended.code == 1, ended.text());
    QVERIFY2(ended.err.contains("velmar-client: interrupted"), ended.text());
}

void ClientInterruptTest::scenarioThatWaits_interrupted_endsBeforeARequestTimesOut() {
    const QString file = m_dir.filePath("silent.scn");
    QFile scenario(file);
    QVERIFY(scenario.open(QFile::WriteOnly));
    scenario.write("market accounts=5 symbols=20\nfault 100002 every timeout silent=true\nstart\n");
    scenario.close();
    const QString home = m_dir.filePath("scenario-home");
    RunningClient client({"--scenario", file, "--home", home});
    // The child's main thread waits for the account list once its plug-in does.
    const auto waits = [&home] {
        QFile log(home + "/log/client.log");
        return log.open(QFile::ReadOnly) && log.readAll().contains("check not ready");
    };
    QTRY_VERIFY_WITH_TIMEOUT(waits(), kClientLimitMs);
    const Interrupted ended = interrupt(client);
    QVERIFY2(ended.inTime, ended.text());
    QVERIFY2(ended.code == 1, ended.text());
    QVERIFY2(ended.out.contains("silent.scn: interrupted"), ended.text());
    QVERIFY2(!ended.out.contains("failed"), ended.text());
    QVERIFY2(ended.err.isEmpty(), ended.text());
}

void ClientInterruptTest::ticksWatch_interrupted_endsWithSuccess() {
    RunningClient client({"--home", m_home, "--tick-rate", "50", "ticks", "watch", "600000.SH"});
    QVERIFY2(client.readUntil("continuous"), client.text());
    const Interrupted ended = interrupt(client);
    QVERIFY2(ended.inTime, ended.text());
    QVERIFY2(ended.code == 0, ended.text());
}

QTEST_GUILESS_MAIN(ClientInterruptTest)
#include "client_interrupt_test.moc"

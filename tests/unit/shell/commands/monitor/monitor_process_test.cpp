#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QtTest>

#include "client_run.h"
#include "prometheus_lines.h"
#include "status_file.h"
#include "wait_for.h"

/// monitor and skin of the real program, over one home.
class MonitorProcessTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QVERIFY(m_dir.isValid());
        QCOMPARE(makeSampleHome(home()), QString());
    }

    void export_ofAnOwnClient_hasAnAnswerOfEachGate() {
        const Ended ended = run({"monitor", "export"});
        QVERIFY2(ended.code == 0 && ended.err.isEmpty(), ended.text());
        PrometheusLines lines;
        QVERIFY2(lines.read(ended.out.toUtf8()), qPrintable(lines.error()));
        for (const char* gate : {"TradeGate", "InfoGate", "MarketTcpGate"}) {
            const QString label = QString("{gate=\"%1\"}").arg(gate);
            QVERIFY2(lines.samples.value("velmar_gate_samples" + label) >= 1, ended.text());
            QCOMPARE(lines.samples.value("velmar_gate_up" + label), 1.0);
            QVERIFY2(lines.samples.contains("velmar_gate_delay_seconds" + label), ended.text());
        }
        QVERIFY2(lines.samples.value("velmar_memory_bytes{of=\"client\"}") > 1000000, ended.text());
    }

    void monitor_withoutTerminal_printsOnce() {
        const Ended table = run({"monitor"});
        QVERIFY2(table.code == 0 && table.out.startsWith("Gate "), table.text());
        QVERIFY2(table.out.contains("\nheartbeats on their way: "), table.text());
        QVERIFY2(!table.out.contains('\x1b'), table.text());
        const Ended json = run({"monitor", "--json"});
        QVERIFY2(json.code == 0, json.text());
        QVERIFY2(json.json().object().value("gates").toObject().contains("TradeGate"), json.text());
    }

    void record_writesALineASecond() {
        const QString file = m_dir.filePath("figures.csv");
        const Ended ended = run({"monitor", "record", file, "--count", "2"});
        QVERIFY2(ended.code == 0 && ended.out.isEmpty(), ended.text());
        QFile written(file);
        QVERIFY(written.open(QFile::ReadOnly));
        const QList<QByteArray> lines = written.readAll().split('\n');
        QCOMPARE(lines.size(), 4);
        QVERIFY(lines.first().startsWith("time,"));
        QCOMPARE(lines.at(1).count(','), lines.first().count(','));
        QVERIFY(lines.last().isEmpty());
        const auto timeOf = [&](int line) {
            return QDateTime::fromString(QString(lines.at(line).left(24)), Qt::ISODateWithMs);
        };
        QVERIFY2(timeOf(1).isValid() && timeOf(1) < timeOf(2), lines.at(1));
    }

    void record_fileThatCannotBeWritten_isAFault() {
        const Ended ended = run({"monitor", "record", m_dir.filePath("none/figures.csv")});
        QVERIFY2(ended.code == 1 && ended.err.contains("none/figures.csv cannot be written"),
                 ended.text());
    }

    void gateThatNeverAnswers_isNamed() {
        const Ended ended = run({"--fault", "BusiHeartBeatRequest every timeout silent=true",
                                 "--wait", "20", "monitor", "export"});
        QVERIFY2(ended.code == 1 && ended.out.isEmpty(), ended.text());
        QVERIFY2(ended.err.contains("no answer within 20 s from InfoGate"), ended.text());
        QVERIFY2(ended.err.contains("TradeGate; --wait sets the limit"), ended.text());
    }

    void runningClient_isMonitoredFromAnotherProcess() {
        RunningClient client({"--home", home(), "--stay"});
        QVERIFY2(waitFor([&] { return QFile::exists(StatusFile::pathIn(home())); }, kClientLimitMs),
                 client.text());
        const Ended exported = runThere({"monitor", "export"});
        QVERIFY2(exported.code == 0, exported.text());
        PrometheusLines lines;
        QVERIFY2(lines.read(exported.out.toUtf8()), qPrintable(lines.error()));
        QVERIFY(lines.samples.value("velmar_gate_samples{gate=\"TradeGate\"}") >= 1);
        const Ended table = runThere({"monitor"});
        QVERIFY2(table.code == 0 && table.out.contains("TradeGate"), table.text());
        // Without a terminal the client itself shows nothing of this.
        const Ended own = client.interrupt();
        QCOMPARE(own.code, 0);
        QVERIFY2(!own.out.contains('\x1b') && !own.out.contains("market value"), own.text());
        QVERIFY2(own.out.endsWith("shut down\n"), own.text());
        const Ended later = runThere({"monitor"});
        QVERIFY2(later.code == 1 && later.err.contains("no client is running in "), later.text());
    }

    void homeThatDoesNotExist_isWrongUsage() {
        Ended ended = run({"--home", m_dir.filePath("none"), "monitor"});
        QVERIFY2(ended.code == 2 && ended.err.contains("none is not a folder"), ended.text());
        QVERIFY(!QFile::exists(m_dir.filePath("none")));
    }

    void skin_isKeptForTheNextProcess() {
        qputenv("VELMAR_LOG_DEBUG", "1");
        const Ended first = run({"skin", "dark"});
        qunsetenv("VELMAR_LOG_DEBUG");
        QVERIFY2(first.code == 0 && first.err.isEmpty(), first.text());
        QVERIFY2(first.out.startsWith("skin: dark (before: "), first.text());
        // The plug-in has got the signal: at the start the skin was another one.
        QCOMPARE(logLines().filter("uploadSkinChangeInfo").filter("\"dark\"").size(), 1);
        const Ended second = run({"skin", "White", "--json"});
        QVERIFY2(second.code == 0, second.text());
        QCOMPARE(second.json().object(), (QJsonObject{{"skin", "White"}, {"before", "dark"}}));
    }

private:
    QString home() const { return m_dir.filePath("home"); }
    /// Of every file below the home's log folder.
    QStringList logLines() const {
        QStringList lines;
        QDirIterator files(home() + "/log", QDir::Files | QDir::NoSymLinks,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile file(files.next());
            if (file.open(QFile::ReadOnly)) {
                lines += QString::fromUtf8(file.readAll()).split('\n');
            }
        }
        return lines;
    }
    /// A client of the command's own, over the home of the test.
    Ended run(const QStringList& arguments) const {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("VELMAR_HOME", home());
        return runClient(QStringList{"--tick-rate", "0"} + arguments, {}, environment);
    }
    /// The client that runs in the home of the test.
    Ended runThere(const QStringList& arguments) const {
        return runClient(QStringList{"--home", home()} + arguments);
    }

    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(MonitorProcessTest)
#include "monitor_process_test.moc"

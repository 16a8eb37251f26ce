#include "status_file.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QtTest>
#include <atomic>
#include <memory>
#include <thread>

#include "monitor_figures.h"
#include "wait_for.h"

namespace {

void write(const QString& name, const QByteArray& bytes) {
    QFile file(name);
    QVERIFY(file.open(QFile::WriteOnly | QFile::Truncate));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
}

QVariantMap someFigures(int beats) {
    return {{"beatsOnTheirWay", beats},
            {"clientInfo", QVariantMap{{"waiting", 2}, {"sent", 30}, {"batches", 4}}},
            {"gates", QVariantMap{{"TradeGate", QVariantMap{{"state", "CONNECTED"},
                                                            {"last", 3},
                                                            {"lastTime", "09:30:00.000"},
                                                            {"mean", 2.5},
                                                            {"largest", 4},
                                                            {"count", 2}}}}},
            {"resources", QVariantMap{{"ThreadNum", 21}}}};
}

QByteArray record(qint64 pid) {
    return QJsonDocument(QJsonObject{{"pid", pid},
                                     {"started", 1},
                                     {"written", "2026-01-05T01:30:00.000Z"},
                                     {"figures", QJsonObject()}})
        .toJson();
}

}  // namespace

class StatusFileTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void notedFigures_areReadBack() {
        StatusFile file(m_dir->path());
        QVERIFY2(file.note(someFigures(1), 0), qPrintable(file.error()));
        const ClientStatusRecord read = readGood();
        QCOMPARE(read.pid, QCoreApplication::applicationPid());
        QVERIFY(qAbs(read.written.secsTo(QDateTime::currentDateTimeUtc())) < 3600);
        const MonitorFigures figures = MonitorFigures::of(read.figures);
        QCOMPARE(figures.beatsOnTheirWay, 1);
        QCOMPARE(figures.infoWaiting, 2);
        QCOMPARE(figures.infoSent, 30);
        QCOMPARE(figures.infoBatches, 4);
        const GateFigures gate = figures.gates.value("TradeGate");
        QVERIFY(gate.isUp());
        QCOMPARE(gate.last, 3);
        QCOMPARE(gate.mean, 2.5);
        QCOMPARE(gate.largest, 4);
        QCOMPARE(gate.count, 2);
        QCOMPARE(gate.lastTime, QString("09:30:00.000"));
        QCOMPARE(figures.resources.value("ThreadNum"), 21.0);
    }

    void changeWithinASecond_isWrittenWhenTheSecondIsOver() {
        StatusFile file(m_dir->path());
        QVERIFY(file.note(someFigures(1), 5000));
        QVERIFY(file.note(someFigures(2), 5999));
        QCOMPARE(readGood().figures.value("beatsOnTheirWay").toInt(), 1);
        QVERIFY(file.note(someFigures(2), 6000));
        QCOMPARE(readGood().figures.value("beatsOnTheirWay").toInt(), 2);
    }

    void sameFigures_areNotWrittenAgain() {
        StatusFile file(m_dir->path());
        QVERIFY(file.note(someFigures(1), 0));
        // Would be replaced by a write.
        write(StatusFile::pathIn(m_dir->path()), "mark");
        QVERIFY(file.note(someFigures(1), 10000));
        QCOMPARE(contentOf(), QByteArray("mark"));
        QVERIFY(file.note(someFigures(2), 10000));
        QVERIFY(contentOf() != "mark");
    }

    void readerDuringWrites_neverSeesABrokenFile() {
        constexpr int kWrites = 50;
        StatusFile file(m_dir->path());
        QVERIFY(file.note(someFigures(0), 0));
        std::atomic<bool> isOver{false};
        std::atomic<int> reads{0};
        QStringList errors;
        std::thread reader([&] {
            int last = 0;
            while (!isOver) {
                ClientStatusRecord read;
                QString error;
                if (!StatusFile::read(m_dir->path(), &read, &error)) {
                    errors.append(error);
                }
                const int beats = read.figures.value("beatsOnTheirWay").toInt();
                if (beats < last) {
                    errors.append(QString("%1 after %2").arg(beats).arg(last));
                }
                last = beats;
                ++reads;
            }
        });
        for (int i = 1; i <= kWrites; ++i) {
            file.note(someFigures(i), i * StatusFile::leastMs);
            const int before = reads;
            waitFor([&] { return reads > before; });
        }
        isOver = true;
        reader.join();
        QCOMPARE(errors, QStringList());
        QVERIFY(reads >= kWrites);
        QCOMPARE(readGood().figures.value("beatsOnTheirWay").toInt(), kWrites);
    }

    void end_removesTheFile() {
        {
            StatusFile file(m_dir->path());
            QVERIFY(file.note(someFigures(1), 0));
            QVERIFY(QFile::exists(StatusFile::pathIn(m_dir->path())));
        }
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files), QStringList());
        QVERIFY2(readBad().startsWith("no client is running in "), qPrintable(readBad()));
    }

    void end_leavesTheFileOfAnotherProcess() {
        {
            StatusFile file(m_dir->path());
            QVERIFY(file.note(someFigures(1), 0));
            write(StatusFile::pathIn(m_dir->path()), record(1));
        }
        QVERIFY(QFile::exists(StatusFile::pathIn(m_dir->path())));
    }

    void folderThatIsGone_isAnErrorUntilItIsBack() {
        const QString home = m_dir->filePath("home");
        StatusFile file(home);
        QVERIFY(!file.note(someFigures(1), 0));
        QVERIFY2(file.error().contains("monitor.json cannot be written: "),
                 qPrintable(file.error()));
        QVERIFY(QDir().mkpath(home));
        QVERIFY(!file.note(someFigures(1), 999));
        QVERIFY2(file.note(someFigures(1), 1000), qPrintable(file.error()));
        QVERIFY(file.error().isEmpty());
    }

    void brokenFile_isNamed_data() {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("half") << record(QCoreApplication::applicationPid()).left(20);
        QTest::newRow("list") << QByteArray("[1, 2]");
        QTest::newRow("no figures")
            << QByteArray(R"({"pid": 1, "started": 1, "written": "2026-01-05T01:30:00.000Z"})");
        QTest::newRow("figures of another kind") << QByteArray(
            R"({"pid": 1, "started": 1, "written": "2026-01-05T01:30:00.000Z", "figures": 5})");
        QTest::newRow("no start of the process")
            << QByteArray(R"({"pid": 1, "written": "2026-01-05T01:30:00.000Z", "figures": {}})");
        QTest::newRow("no process") << record(0);
        QTest::newRow("negative process") << record(-1);
        QTest::newRow("huge process") << record(qint64(1) << 40);
        QTest::newRow("no time") << QByteArray(
            R"({"pid": 1, "started": 1, "written": "yesterday", "figures": {}})");
        QTest::newRow("too large") << QByteArray(2 * 1024 * 1024, ' ') + record(1);
    }
    void brokenFile_isNamed() {
        QFETCH(QByteArray, bytes);
        write(StatusFile::pathIn(m_dir->path()), bytes);
        QVERIFY2(readBad().endsWith("monitor.json is not the status of a client"),
                 qPrintable(readBad()));
    }

    void folderInPlaceOfTheFile_isNamed() {
        QVERIFY(QDir().mkpath(StatusFile::pathIn(m_dir->path())));
        QVERIFY2(readBad().contains("monitor.json cannot be read: "), qPrintable(readBad()));
    }

    void clientThatHasEnded_isReported() {
        // A process that has ended and was waited for; its number is not given again at once.
        QProcess process;
        process.start("true", QStringList());
        QVERIFY(process.waitForStarted());
        const qint64 pid = process.processId();
        QVERIFY(process.waitForFinished());
        write(StatusFile::pathIn(m_dir->path()), record(pid));
        QVERIFY2(readBad().contains(" has ended unexpectedly; its last figures are of "),
                 qPrintable(readBad()));
    }

    void processIdGivenToAnotherProcess_isReported() {
        StatusFile file(m_dir->path());
        QVERIFY(file.note(someFigures(1), 0));
        QJsonObject json = QJsonDocument::fromJson(contentOf()).object();
        QVERIFY(json.value("started").toDouble() > 0);
        json.insert("started", json.value("started").toDouble() - 1);
        write(StatusFile::pathIn(m_dir->path()), QJsonDocument(json).toJson());
        QVERIFY2(readBad().contains(" has ended unexpectedly; its last figures are of "),
                 qPrintable(readBad()));
    }

    void homeThatIsNoFolder_isNamed() {
        ClientStatusRecord read;
        QString error;
        QVERIFY(!StatusFile::read(m_dir->filePath("none"), &read, &error));
        QVERIFY2(error.endsWith("none is not a folder"), qPrintable(error));
    }

private:
    ClientStatusRecord readGood() const {
        ClientStatusRecord read;
        QString error;
        if (!StatusFile::read(m_dir->path(), &read, &error)) {
            QTest::qFail(qPrintable(error), __FILE__, __LINE__);
        }
        return read;
    }
    /// The reason of a refusal; empty when the file is read.
    QString readBad() const {
        ClientStatusRecord read;
        QString error;
        return StatusFile::read(m_dir->path(), &read, &error) ? QString() : error;
    }
    QByteArray contentOf() const {
        QFile file(StatusFile::pathIn(m_dir->path()));
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }

    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(StatusFileTest)
#include "status_file_test.moc"

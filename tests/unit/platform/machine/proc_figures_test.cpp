#include "proc_figures.h"

#include <QFile>
#include <QtTest>

namespace {

QByteArray contentOf(const char* path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline const QByteArray kStat =
    "cpu  100 10 50 800 20 3 5 12 7 1\ncpu0 1 1 1 1 1 1 1 1 1 1\nintr 5\n";
inline const QByteArray kStatus =
    "Name:\tvelmar\nVmRSS:\t   51200 kB\nThreads:\t17\nSwapped:\t12\n";

}  // namespace

class ProcFiguresTest : public QObject {
    Q_OBJECT

private slots:
    void cpuTicks_sumUpTheFirstLine() {
        const ProcFigures::CpuTicks ticks = ProcFigures::cpuTicks(kStat);
        QCOMPARE(ticks.all, qint64(1000));
        // Without idle and waiting for a disk; those of guests are in the others.
        QCOMPARE(ticks.busy, qint64(180));
    }

    void cpuTicks_ofOtherContent_areUnknown_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("too few fields") << QByteArray("cpu 1 2 3 4 5 6 7\n");
        QTest::newRow("another line") << QByteArray("cpu0 1 2 3 4 5 6 7 8 9\n");
        QTest::newRow("a word") << QByteArray("cpu 1 2 x 4 5 6 7 8 9\n");
        QTest::newRow("a negative number") << QByteArray("cpu 1 2 -3 4 5 6 7 8 9\n");
        QTest::newRow("too large a number")
            << QByteArray("cpu 1 2 99999999999999999999 4 5 6 7 8 9\n");
    }
    void cpuTicks_ofOtherContent_areUnknown() {
        QFETCH(QByteArray, content);
        const ProcFigures::CpuTicks ticks = ProcFigures::cpuTicks(content);
        QCOMPARE(ticks.all, qint64(-1));
        QCOMPARE(ticks.busy, qint64(-1));
    }

    void processTicks_areUserAndSystemTime_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<qint64>("expected");
        QTest::newRow("plain") << QByteArray("42 (a) S 1 1 1 0 -1 0 0 0 0 0 30 20 7 8\n")
                               << qint64(50);
        QTest::newRow("name with blanks and brackets")
            << QByteArray("42 (a) b ) S 1 1 1 0 -1 0 0 0 0 0 30 21 7 8\n") << qint64(51);
        QTest::newRow("no name") << QByteArray("42 S 1 1 1 0 -1 0 0 0 0 0 30 20 7 8 9 1\n")
                                 << qint64(-1);
        QTest::newRow("cut off") << QByteArray("42 (a) S 1 1 1 0 -1 0 0 0 0 0 30") << qint64(-1);
        QTest::newRow("a word") << QByteArray("42 (a) S 1 1 1 0 -1 0 0 0 0 0 x 20 7 8\n")
                                << qint64(-1);
        QTest::newRow("empty") << QByteArray() << qint64(-1);
    }
    void processTicks_areUserAndSystemTime() {
        QFETCH(QByteArray, content);
        QFETCH(qint64, expected);
        QCOMPARE(ProcFigures::processTicks(content), expected);
    }

    void kilobytes_needTheWholeKeyAndTheUnit_data() {
        QTest::addColumn<QByteArray>("key");
        QTest::addColumn<qint64>("expected");
        QTest::newRow("present") << QByteArray("VmRSS") << qint64(51200);
        QTest::newRow("part of a key") << QByteArray("Vm") << qint64(-1);
        QTest::newRow("without a unit") << QByteArray("Threads") << qint64(-1);
        QTest::newRow("a word") << QByteArray("Name") << qint64(-1);
        QTest::newRow("missing") << QByteArray("VmPeak") << qint64(-1);
        QTest::newRow("empty") << QByteArray("") << qint64(-1);
    }
    void kilobytes_needTheWholeKeyAndTheUnit() {
        QFETCH(QByteArray, key);
        QFETCH(qint64, expected);
        QCOMPARE(ProcFigures::kilobytes(kStatus, key), expected);
    }

    void kilobytes_thatAreNoNumber_areUnknown() {
        QCOMPARE(ProcFigures::kilobytes("MemTotal: many kB\n", "MemTotal"), qint64(-1));
        QCOMPARE(ProcFigures::kilobytes("MemTotal: -1 kB\n", "MemTotal"), qint64(-1));
        QCOMPARE(ProcFigures::kilobytes("MemTotal:\n", "MemTotal"), qint64(-1));
    }

    void number_isThatOfItsKey() {
        QCOMPARE(ProcFigures::number(kStatus, "Threads"), qint64(17));
        QCOMPARE(ProcFigures::number(kStatus, "VmRSS"), qint64(-1));
        QCOMPARE(ProcFigures::number(kStatus, "Name"), qint64(-1));
        QCOMPARE(ProcFigures::number({}, "Threads"), qint64(-1));
    }

    void cpuInfo_isThatOfTheFirstProcessor() {
        const QByteArray content =
            "processor\t: 0\nmodel name\t: First: 2 GHz\n\nprocessor\t: 1\nmodel name\t: Second\n";
        QCOMPARE(ProcFigures::cpuInfo(content, "model name"), QString("First: 2 GHz"));
        QCOMPARE(ProcFigures::cpuInfo(content, "vendor_id"), QString());
    }

    void megahertz_areTheHighestOrThePresentOnes_data() {
        QTest::addColumn<QByteArray>("highest");
        QTest::addColumn<QByteArray>("cpuInfo");
        QTest::addColumn<double>("expected");
        const QByteArray present = "cpu MHz\t\t: 2194.842\n";
        QTest::newRow("highest") << QByteArray("3600000\n") << present << 3600.0;
        QTest::newRow("present") << QByteArray() << present << 2194.842;
        QTest::newRow("highest that is no number") << QByteArray("fast\n") << present << 2194.842;
        QTest::newRow("highest of 0") << QByteArray("0\n") << present << 2194.842;
        QTest::newRow("none") << QByteArray() << QByteArray("processor\t: 0\n") << -1.0;
        QTest::newRow("no number") << QByteArray() << QByteArray("cpu MHz\t: fast\n") << -1.0;
    }
    void megahertz_areTheHighestOrThePresentOnes() {
        QFETCH(QByteArray, highest);
        QFETCH(QByteArray, cpuInfo);
        QFETCH(double, expected);
        QCOMPARE(ProcFigures::megahertz(highest, cpuInfo), expected);
    }

    void thisMachine_hasEveryFigure() {
        const ProcFigures::CpuTicks ticks = ProcFigures::cpuTicks(contentOf("/proc/stat"));
        QVERIFY(ticks.busy > 0);
        QVERIFY(ticks.all >= ticks.busy);
        QVERIFY(ProcFigures::processTicks(contentOf("/proc/self/stat")) >= 0);
        QVERIFY(ProcFigures::kilobytes(contentOf("/proc/meminfo"), "MemTotal") > 0);
        QVERIFY(ProcFigures::kilobytes(contentOf("/proc/meminfo"), "MemAvailable") > 0);
        QVERIFY(ProcFigures::kilobytes(contentOf("/proc/self/status"), "VmRSS") > 0);
        QVERIFY(ProcFigures::number(contentOf("/proc/self/status"), "Threads") >= 1);
    }
};

QTEST_GUILESS_MAIN(ProcFiguresTest)
#include "proc_figures_test.moc"

#include "resource_sampler.h"

#include <QHash>
#include <QtTest>
#include <atomic>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;

constexpr int kFilesOfASample = 4;

/// A machine of a thousand ticks, of which 200 were busy and 50 this process's.
class FakeMachine {
public:
    void setTicks(qint64 busy, qint64 all, qint64 process) {
        files["/proc/stat"] = "cpu " + QByteArray::number(busy) + " 0 0 " +
                              QByteArray::number(all - busy) + " 0 0 0 0 0 0\n";
        files["/proc/self/stat"] =
            "42 (a) S 1 1 1 0 -1 0 0 0 0 0 " + QByteArray::number(process) + " 0 0 0\n";
    }

    FakeMachine() {
        setTicks(200, 1000, 50);
        files["/proc/meminfo"] = "MemTotal: 2048000 kB\nMemAvailable: 512000 kB\n";
        files["/proc/self/status"] = "VmRSS: 51200 kB\n";
    }

    /// Fails the test when there is no sample.
    SysAndProcRCInfo sample() {
        SysAndProcRCInfo info;
        if (!sampler.sample(&info)) {
            QTest::qFail("no sample", __FILE__, __LINE__);
        }
        return info;
    }
    /// The sample of other ticks a second after a first one.
    SysAndProcRCInfo sampleAfterTicks(qint64 busy, qint64 all, qint64 process) {
        sample();
        setTicks(busy, all, process);
        now += 1s;
        return sample();
    }

    QHash<QByteArray, QByteArray> files;
    std::atomic<int> reads{0};
    ResourceSampler::Clock::time_point now;
    ResourceSampler sampler{[this](const char* path) {
                                ++reads;
                                return files.value(path);
                            },
                            [this] { return now; }};
};

}  // namespace

class ResourceSamplerTest : public QObject {
    Q_OBJECT

private slots:
    void firstSample_isSinceTheStartOfTheMachine() {
        const SysAndProcRCInfo info = FakeMachine().sample();
        QCOMPARE(info.sysCpuUsage, 20.0);
        QCOMPARE(info.procCpuUsage, 5.0);
    }

    void firstSampleAfterBegin_isSinceThen() {
        FakeMachine machine;
        machine.sampler.begin();
        machine.setTicks(300, 1200, 90);
        const SysAndProcRCInfo info = machine.sample();
        QCOMPARE(info.sysCpuUsage, 50.0);
        QCOMPARE(info.procCpuUsage, 20.0);
    }

    void beginWithoutFigures_changesNothing() {
        FakeMachine machine;
        machine.sample();
        machine.files.remove("/proc/stat");
        machine.sampler.begin();
        QCOMPARE(machine.sample().sysCpuUsage, 20.0);
    }

    void memory_isInMegabytes() {
        const SysAndProcRCInfo info = FakeMachine().sample();
        QCOMPARE(info.sysMemUsage, 1500.0);
        QCOMPARE(info.remainMem, 500.0);
        QCOMPARE(info.procMemUsage, 50.0);
    }

    void laterSample_isSinceTheLastOne() {
        const SysAndProcRCInfo info = FakeMachine().sampleAfterTicks(300, 1200, 90);
        QCOMPARE(info.sysCpuUsage, 50.0);
        QCOMPARE(info.procCpuUsage, 20.0);
    }

    void sampleWithinASecond_isTheLastOne() {
        FakeMachine machine;
        const SysAndProcRCInfo first = machine.sample();
        machine.setTicks(300, 1200, 90);
        machine.now += 999ms;
        const SysAndProcRCInfo second = machine.sample();
        QCOMPARE(second.sysCpuUsage, first.sysCpuUsage);
        QCOMPARE(second.procMemUsage, first.procMemUsage);
        QCOMPARE(machine.reads.load(), kFilesOfASample);
    }

    void ticksThatDoNotGoOn_areNoUse_data() {
        QTest::addColumn<qint64>("busy");
        QTest::addColumn<qint64>("all");
        QTest::newRow("the same") << qint64(200) << qint64(1000);
        QTest::newRow("backwards") << qint64(100) << qint64(900);
        QTest::newRow("busy ones backwards") << qint64(190) << qint64(1100);
    }
    void ticksThatDoNotGoOn_areNoUse() {
        QFETCH(qint64, busy);
        QFETCH(qint64, all);
        const SysAndProcRCInfo info = FakeMachine().sampleAfterTicks(busy, all, 50);
        QCOMPARE(info.sysCpuUsage, 0.0);
        QCOMPARE(info.procCpuUsage, 0.0);
    }

    void moreTicksThanTheMachineHad_areTheWholeMachine() {
        QCOMPARE(FakeMachine().sampleAfterTicks(210, 1010, 5000).procCpuUsage, 100.0);
    }

    void fileThatIsMissingOrBroken_givesNoSample_data() {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QByteArray>("content");
        for (const char* file :
             {"/proc/stat", "/proc/self/stat", "/proc/meminfo", "/proc/self/status"}) {
            QTest::newRow(file) << QByteArray(file) << QByteArray();
        }
        QTest::newRow("no available memory")
            << QByteArray("/proc/meminfo") << QByteArray("MemTotal: 1 kB\n");
        QTest::newRow("memory that is no number")
            << QByteArray("/proc/self/status") << QByteArray("VmRSS: some kB\n");
    }
    void fileThatIsMissingOrBroken_givesNoSample() {
        QFETCH(QByteArray, file);
        QFETCH(QByteArray, content);
        FakeMachine machine;
        const QByteArray sound = machine.files.value(file);
        machine.files[file] = content;
        SysAndProcRCInfo info;
        info.sysCpuUsage = 7;
        QVERIFY(!machine.sampler.sample(&info));
        QCOMPARE(info.sysCpuUsage, 7.0);
        // The next call reads again.
        machine.files[file] = sound;
        QVERIFY(machine.sampler.sample(&info));
        QCOMPARE(info.sysCpuUsage, 20.0);
    }

    void manyThreads_shareOneSample() {
        FakeMachine machine;
        std::atomic<int> right{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < 8; ++i) {
            threads.emplace_back([&] {
                SysAndProcRCInfo info;
                right += machine.sampler.sample(&info) && info.sysCpuUsage == 20.0 ? 1 : 0;
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(right.load(), 8);
        QCOMPARE(machine.reads.load(), kFilesOfASample);
    }

    void thisMachine_hasFigures() {
        SysAndProcRCInfo info;
        QVERIFY(ResourceSampler::instance().sample(&info));
        QVERIFY(info.sysCpuUsage >= 0 && info.sysCpuUsage <= 100);
        QVERIFY(info.procCpuUsage >= 0 && info.procCpuUsage <= 100);
        QVERIFY(info.procMemUsage > 0);
        QVERIFY(info.sysMemUsage > 0);
        QVERIFY(info.remainMem > 0);
    }
};

QTEST_GUILESS_MAIN(ResourceSamplerTest)
#include "resource_sampler_test.moc"

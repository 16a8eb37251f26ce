#include "static_information.h"

#include <QThread>
#include <QtTest>

#include "performance_fixture.h"
#include "resource_figures.h"
#include "resource_history.h"
#include "screen_snapshot.h"

namespace {

using namespace ClientPerformItem;

constexpr qint64 kMegabyte = 1 << 20;

void publish() {
    publishStaticInformation(NoonClock(), [] { return false; });
}

QVariant current(int slot) {
    return ResourceHistory::instance().current(slot);
}

}  // namespace

class StaticInformationTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_world = std::make_unique<ClientWorld>(); }
    void cleanup() {
        ScreenSnapshot::set({});
        m_world.reset();
    }

    void processor_isOnTheBoard() {
        SysCpuInfo cpu;
        QVERIFY(VelmarUtils::GetSystemCpuStaticInfo(cpu));
        publish();
        QCOMPARE(onBoard(CpuName), QVariant(cpu.cpuName));
        QCOMPARE(onBoard(CpuLogicCount), QVariant(QThread::idealThreadCount()));
        QCOMPARE(onBoard(CpuFreq).userType(), int(QMetaType::Double));
    }

    void system_isOnTheBoardAndAtTheMonitor() {
        QString name;
        QString version;
        QVERIFY(VelmarUtils::GetOSVersion(name, version));
        publish();
        QCOMPARE(onBoard(OSName), QVariant(name));
        QCOMPARE(onBoard(OSVersion), QVariant(version));
        QCOMPARE(current(1).toString(), version + "|" + name);
    }

    void screens_withoutAGui_areAbsent() {
        publish();
        QVERIFY(onBoard(ScreenInfo).isNull());
        QVERIFY(!current(0).isValid());
    }

    void screens_areCompactJson_andTheFirstIsAtTheMonitor() {
        ScreenSnapshot::set({{1920, 1080, 0, 3840, 2160, 1920, 1040}, {1280, 1024, 1, 1, 2, 3, 4}});
        publish();
        QCOMPARE(onBoard(ScreenInfo).toString(),
                 QString(R"([{"PHeight":2160,"PWidth":3840,"RHeight":1040,"RWidth":1920,)"
                         R"("SHeight":1080,"SIndex":0,"SWidth":1920},)"
                         R"({"PHeight":2,"PWidth":1,"RHeight":4,"RWidth":3,)"
                         R"("SHeight":1024,"SIndex":1,"SWidth":1280}])"));
        QCOMPARE(current(0).toString(), QString("1920*1080"));
    }

    void skin_isThatOfTheSettings() {
        ZnCore::instance()->saveSetting("skin", "dark");
        publish();
        QCOMPARE(onBoard(ClientSkin).toString(), QString("dark"));
    }

    void zoom_isThatOfTheSettings_data() {
        QTest::addColumn<QVariant>("setting");
        QTest::addColumn<int>("expected");
        QTest::newRow("never saved") << QVariant() << 100;
        QTest::newRow("100") << QVariant(100) << 100;
        QTest::newRow("125") << QVariant(125) << 125;
        QTest::newRow("150, a text") << QVariant("150") << 150;
        QTest::newRow("200") << QVariant(200) << 200;
        QTest::newRow("another number") << QVariant(133) << 100;
        QTest::newRow("no number") << QVariant("large") << 100;
    }
    void zoom_isThatOfTheSettings() {
        QFETCH(QVariant, setting);
        QFETCH(int, expected);
        if (setting.isValid()) {
            ZnCore::instance()->saveSetting("zoom", setting);
        }
        publish();
        QCOMPARE(onBoard(ClientScaleFactor), QVariant(expected));
    }

    void disk_isOnTheBoard() {
        publish();
        QCOMPARE(onBoard(TotalDisk).toDouble(), VelmarUtils::GetDiskSizeOnTorviDisk());
        QVERIFY(onBoard(RemainDisk).toDouble() > 0);
        QVERIFY(onBoard(RemainDisk).toDouble() <= onBoard(TotalDisk).toDouble());
        QCOMPARE(current(MonitorSlot::remainDisk), onBoard(RemainDisk));
    }

    void disk_ofAHomeThatIsGone_leavesTheValuesBefore() {
        setOnBoard(TotalDisk, 100.0);
        setOnBoard(RemainDisk, 50.0);
        QVERIFY(QDir(m_world->homeDir()).removeRecursively());
        publish();
        QCOMPARE(onBoard(TotalDisk), QVariant(100.0));
        QCOMPARE(onBoard(RemainDisk), QVariant(50.0));
        QVERIFY(!current(MonitorSlot::remainDisk).isValid());
        QVERIFY(ResourceHistory::instance().samples(MonitorSlot::remainDisk).isEmpty());
    }

    void usageAndFreeDisk_areSamplesOfTheCurrentTime() {
        publish();
        for (const QString& key :
             {TotalCpuUsage, ClientCpuUsage, TotalMemUsage, ClientMemUsage, RemainMem}) {
            QVERIFY2(onBoard(key).isValid(), qPrintable(key));
        }
        QVERIFY(onBoard(ClientMemUsage).toDouble() > 0);
        for (const int slot : {2, 3, 4, 5, 6}) {
            const auto samples = ResourceHistory::instance().samples(slot);
            QCOMPARE(samples.size(), 1);
            QCOMPARE(samples.first().time, NoonClock().now());
            QCOMPARE(current(slot), QVariant(samples.first().value));
        }
        // Texts have no history.
        QVERIFY(ResourceHistory::instance().samples(0).isEmpty());
        QVERIFY(ResourceHistory::instance().samples(1).isEmpty());
    }

    void dumps_countEachInWholeMegabytes() {
        QVERIFY(makeFile(inHome("a.dmp"), kMegabyte + 1));
        QVERIFY(makeFile(inHome("b.dmp"), 2 * kMegabyte - 1));
        QVERIFY(makeFile(inHome("c.dmp"), kMegabyte - 1));
        publish();
        QCOMPARE(onBoard(DumpFileCount), QVariant(3));
        QCOMPARE(onBoard(DumpFileSize).toDouble(), 2 * 0.0009765625);
    }

    void dumps_areFilesOfTheApplicationFolderOnly() {
        QVERIFY(makeFile(inHome("dump.txt"), kMegabyte));
        QVERIFY(makeFile(inHome("below/a.dmp"), kMegabyte));
        QVERIFY(QDir().mkpath(inHome("folder.dmp")));
        QVERIFY(QFile::link(inHome("loop.dmp"), inHome("loop.dmp")));
        QVERIFY(QFile::link(inHome("nothing"), inHome("broken.dmp")));
        publish();
        QCOMPARE(onBoard(DumpFileCount), QVariant(0));
        QCOMPARE(onBoard(DumpFileSize), QVariant(0.0));
    }

    void brokenOff_leavesTheDumpsOut() {
        QVERIFY(makeFile(inHome("a.dmp"), 1));
        QVERIFY(makeFile(inHome("b.dmp"), 1));
        int asked = 0;
        publishStaticInformation(NoonClock(), [&asked] { return ++asked == 2; });
        QCOMPARE(asked, 2);
        QVERIFY(onBoard(DumpFileCount).isNull());
        QVERIFY(onBoard(RemainDisk).isNull());
        QVERIFY(onBoard(TotalDisk).isValid());
    }

private:
    QString inHome(const QString& name) const { return m_world->homeDir() + "/" + name; }

    std::unique_ptr<ClientWorld> m_world;
};

QTEST_GUILESS_MAIN(StaticInformationTest)
#include "static_information_test.moc"

#include <QStorageInfo>
#include <QThread>
#include <QtTest>
#include <thread>

#include "log_capture.h"
#include "platform_at_home.h"
#include "screen_snapshot.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "zncore/zn_core.h"

namespace {

double gigabytes(qint64 bytes) {
    return double(bytes) / (1024.0 * 1024 * 1024);
}

}  // namespace

/// What VelmarUtils reads of the machine, of this process and of the user's settings.
class MachineFiguresTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_platform = std::make_unique<PlatformAtHome>(); }
    void cleanup() { m_platform.reset(); }

    void operatingSystem_isNamed() {
        QString name;
        QString version;
        QVERIFY(VelmarUtils::GetOSVersion(name, version));
        QCOMPARE(name, QSysInfo::prettyProductName());
        QCOMPARE(version, QSysInfo::productVersion());
    }

    void processor_hasCountAndClock() {
        SysCpuInfo info;
        QVERIFY(VelmarUtils::GetSystemCpuStaticInfo(info));
        QCOMPARE(info.logicCount, QThread::idealThreadCount());
        QVERIFY(info.frequency == -1 || info.frequency > 1);
    }

    void threads_areThoseOfThisProcess() {
        // The thread is counted while it runs.
        int more = 0;
        const int before = VelmarUtils::GetProcThreadCount();
        std::thread([&more] { more = VelmarUtils::GetProcThreadCount(); }).join();
        QVERIFY(before >= 1);
        QVERIFY(more >= 2);
    }

    void usage_isInPercentAndMegabytes() {
        SysAndProcRCInfo info;
        QVERIFY(VelmarUtils::GetSysAndProcResourseInfo(info));
        QVERIFY(info.sysCpuUsage >= 0 && info.sysCpuUsage <= 100);
        QVERIFY(info.procMemUsage > 1 && info.procMemUsage < 100000);
        QVERIFY(info.sysMemUsage > info.procMemUsage / 2);
    }

    void disk_isThatOfTheHome_inGigabytes() {
        const QStorageInfo disk(m_platform->path());
        QCOMPARE(VelmarUtils::GetDiskSizeOnTorviDisk(), gigabytes(disk.bytesTotal()));
        const double free = VelmarUtils::GetFreeSpaceOnTorviDisk();
        QVERIFY(free >= 0);
        QVERIFY(free <= gigabytes(disk.bytesTotal()));
    }

    void disk_homeThatIsGone_isUnknown() {
        m_platform->removeHome();
        QCOMPARE(VelmarUtils::GetDiskSizeOnTorviDisk(), -1.0);
        QCOMPARE(VelmarUtils::GetFreeSpaceOnTorviDisk(), -1.0);
    }

    void screens_areThoseThatTheHostSetLast() {
        QVERIFY(VelmarUtils::GetAllScreenInfo().isEmpty());
        ScreenSnapshot::set({{1920, 1080, 0, 1920, 1080, 1920, 1040}});
        QList<SysScreenInfo> seen;
        std::thread([&seen] { seen = VelmarUtils::GetAllScreenInfo(); }).join();
        QCOMPARE(seen.size(), 1);
        QCOMPARE(seen.first().SWidth, 1920);
        QCOMPARE(seen.first().RHeight, 1040);
        ScreenSnapshot::set({});
        QVERIFY(VelmarUtils::GetAllScreenInfo().isEmpty());
    }

    void zoom_isThatOfTheSettings() {
        const LogCapture log;
        QVERIFY(VelmarUtils::GetCurrentClientZoomType() == ClientZoomType::Zoom100);
        ZnCore::instance()->saveSetting("zoom", 150);
        QVERIFY(VelmarUtils::GetCurrentClientZoomType() == ClientZoomType::Zoom150);
        QVERIFY(!log.contains("zoom"));
    }

    void zoom_thatIsNone_isLoggedAnd100() {
        ZnCore::instance()->saveSetting("zoom", -7);
        const LogCapture log;
        QVERIFY(VelmarUtils::GetCurrentClientZoomType() == ClientZoomType::Zoom100);
        QVERIFY(log.contains(QtWarningMsg, "the setting zoom is not 100, 125, 150 or 200: -7"));
    }

    void autoLogin_isTheChoiceOfTheUser() {
        QVERIFY(!VelmarUtils::GetAutoLoginSetting(AutoLoginSetting::AutoLogin).isValid());
        ZnCore::instance()->saveSetting(AutoLoginSetting::AutoLogin, true, "AutoLoginSetting");
        QCOMPARE(VelmarUtils::GetAutoLoginSetting(AutoLoginSetting::AutoLogin).toBool(), true);
        // Another setting of the same name has nothing to do with it.
        QVERIFY(!ZnCore::instance()->settings(AutoLoginSetting::AutoLogin).isValid());
    }

    void version_hasThreeNumbers() {
        QVERIFY(QRegularExpression("^[0-9]+\\.[0-9]+\\.[0-9]+$")
                    .match(VelmarUtils::GetAppVersion())
                    .hasMatch());
    }

private:
    std::unique_ptr<PlatformAtHome> m_platform;
};

QTEST_GUILESS_MAIN(MachineFiguresTest)
#include "machine_figures_test.moc"

#include <QFile>
#include <QStorageInfo>
#include <QSysInfo>
#include <QThread>

#include "data_log.h"
#include "home_folder.h"
#include "proc_figures.h"
#include "resource_sampler.h"
#include "screen_snapshot.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "zncore/zn_core.h"

namespace {

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

double gigabytes(qint64 bytes) {
    constexpr double kBytesOfGigabyte = 1024.0 * 1024 * 1024;
    return bytes < 0 ? -1 : double(bytes) / kBytesOfGigabyte;
}

}  // namespace

bool VelmarUtils::GetOSVersion(QString& name, QString& version) {
    name = QSysInfo::prettyProductName();
    version = QSysInfo::productVersion();
    return !name.isEmpty();
}

QList<SysScreenInfo> VelmarUtils::GetAllScreenInfo() {
    return ScreenSnapshot::screens();
}

ClientZoomType VelmarUtils::GetCurrentClientZoomType() {
    const QVariant zoom = ZnCore::instance()->settings(QStringLiteral("zoom"));
    for (const ClientZoomType type : {ClientZoomType::Zoom100, ClientZoomType::Zoom125,
                                      ClientZoomType::Zoom150, ClientZoomType::Zoom200}) {
        if (zoom.toString() == QString::number(static_cast<int>(type))) {
            return type;
        }
    }
    if (zoom.isValid()) {
        qCWarning(lcPlatformSettings).noquote()
            << "the setting zoom is not 100, 125, 150 or 200:" << zoom.toString();
    }
    return ClientZoomType::Zoom100;
}

bool VelmarUtils::GetSystemCpuStaticInfo(SysCpuInfo& info) {
    const QByteArray cpus = contentOf(QStringLiteral("/proc/cpuinfo"));
    const QByteArray maxFrequency =
        contentOf(QStringLiteral("/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq"));
    info.cpuName = ProcFigures::cpuInfo(cpus, "model name");
    info.logicCount = QThread::idealThreadCount();
    info.frequency = ProcFigures::megahertz(maxFrequency, cpus);
    return !cpus.isEmpty();
}

bool VelmarUtils::GetSysAndProcResourseInfo(SysAndProcRCInfo& info) {
    return ResourceSampler::instance().sample(&info);
}

int VelmarUtils::GetProcThreadCount() {
    return static_cast<int>(
        ProcFigures::number(contentOf(QStringLiteral("/proc/self/status")), "Threads"));
}

double VelmarUtils::GetFreeSpaceOnTorviDisk() {
    return gigabytes(QStorageInfo(HomeFolder::path()).bytesAvailable());
}

double VelmarUtils::GetDiskSizeOnTorviDisk() {
    return gigabytes(QStorageInfo(HomeFolder::path()).bytesTotal());
}

QVariant VelmarUtils::GetAutoLoginSetting(const QString& key) {
    return ZnCore::instance()->settings(key, QStringLiteral("AutoLoginSetting"));
}

QString VelmarUtils::GetAppVersion() {
    return QStringLiteral(VELMAR_VERSION);
}

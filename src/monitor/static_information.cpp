#include "static_information.h"

#include <QDirIterator>
#include <QJsonDocument>
#include <QVariantList>
#include <QVariantMap>

#include "application_folder.h"
#include "resource_figures.h"
#include "velmarutils/velmar_system_monitor.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/values.h"
#include "zncore/zn_core.h"

namespace {

void set(const QString& key, const QVariant& value) {
    ZnCore::instance()->setCommonInfo(key, value);
}

QString screensText(const QList<SysScreenInfo>& screens) {
    QVariantList list;
    for (const SysScreenInfo& screen : screens) {
        list.append(QVariantMap{{QStringLiteral("SWidth"), screen.SWidth},
                                {QStringLiteral("SHeight"), screen.SHeight},
                                {QStringLiteral("SIndex"), screen.SIndex},
                                {QStringLiteral("PWidth"), screen.PWidth},
                                {QStringLiteral("PHeight"), screen.PHeight},
                                {QStringLiteral("RWidth"), screen.RWidth},
                                {QStringLiteral("RHeight"), screen.RHeight}});
    }
    return QString::fromUtf8(QJsonDocument::fromVariant(list).toJson(QJsonDocument::Compact));
}

void publishCpu() {
    SysCpuInfo cpu;
    if (VelmarUtils::GetSystemCpuStaticInfo(cpu)) {
        set(ClientPerformItem::CpuName, cpu.cpuName);
        set(ClientPerformItem::CpuLogicCount, cpu.logicCount);
        set(ClientPerformItem::CpuFreq, cpu.frequency);
    }
}

void publishScreens() {
    const QList<SysScreenInfo> screens = VelmarUtils::GetAllScreenInfo();
    if (screens.isEmpty()) {
        return;
    }
    set(ClientPerformItem::ScreenInfo, screensText(screens));
    VelmarSystemMonitor::GetInstance()->UpdateCurrentResourceData(
        MonitorSlot::screenSize,
        QStringLiteral("%1*%2").arg(screens.first().SWidth).arg(screens.first().SHeight));
}

void publishSystem() {
    QString name;
    QString version;
    if (!VelmarUtils::GetOSVersion(name, version)) {
        return;
    }
    set(ClientPerformItem::OSName, name);
    set(ClientPerformItem::OSVersion, version);
    VelmarSystemMonitor::GetInstance()->UpdateCurrentResourceData(
        MonitorSlot::operatingSystem, QStringLiteral("%1|%2").arg(version, name));
}

/// False when it was broken off.
bool publishDumps(const std::function<bool()>& isBrokenOff) {
    int count = 0;
    double gigabytes = 0;
    QDirIterator dumps(applicationFolder(), {QStringLiteral("*.dmp")}, QDir::Files);
    while (dumps.hasNext()) {
        if (isBrokenOff()) {
            return false;
        }
        dumps.next();
        ++count;
        // Each file in whole megabytes.
        gigabytes += gigabytesOf(dumps.fileInfo().size());
    }
    set(ClientPerformItem::DumpFileCount, count);
    set(ClientPerformItem::DumpFileSize, gigabytes);
    return true;
}

}  // namespace

void publishStaticInformation(const Clock& clock, const std::function<bool()>& isBrokenOff) {
    publishCpu();
    publishScreens();
    publishSystem();
    set(ClientPerformItem::ClientSkin, ZnCore::instance()->getCurrentSkinId());
    set(ClientPerformItem::ClientScaleFactor,
        static_cast<int>(VelmarUtils::GetCurrentClientZoomType()));
    const double disk = VelmarUtils::GetDiskSizeOnTorviDisk();
    if (disk > 0) {
        set(ClientPerformItem::TotalDisk, disk);
    }
    if (!publishDumps(isBrokenOff)) {
        return;
    }
    SysAndProcRCInfo usage;
    if (VelmarUtils::GetSysAndProcResourseInfo(usage)) {
        publishUsage(usage, clock.now());
    }
    publishFreeDisk(VelmarUtils::GetFreeSpaceOnTorviDisk(), clock.now());
}

#include "resource_figures.h"

#include "velmarutils/velmar_system_monitor.h"
#include "vocabulary/values.h"
#include "zncore/zn_core.h"

namespace {

constexpr double kPercent = 100;

}  // namespace

void publishToMonitor(int slot, double value, const QDateTime& time) {
    VelmarSystemMonitor* const monitor = VelmarSystemMonitor::GetInstance();
    monitor->UpdateCurrentResourceData(slot, value);
    monitor->AppendSysResourceUseStat(slot, value, time);
}

void publishUsage(const SysAndProcRCInfo& usage, const QDateTime& time) {
    ZnCore* const board = ZnCore::instance();
    board->setCommonInfo(ClientPerformItem::TotalCpuUsage, usage.sysCpuUsage);
    board->setCommonInfo(ClientPerformItem::ClientCpuUsage, usage.procCpuUsage);
    board->setCommonInfo(ClientPerformItem::TotalMemUsage, usage.sysMemUsage);
    board->setCommonInfo(ClientPerformItem::ClientMemUsage, usage.procMemUsage);
    board->setCommonInfo(ClientPerformItem::RemainMem, usage.remainMem);
    publishToMonitor(MonitorSlot::totalCpu, usage.sysCpuUsage / kPercent, time);
    publishToMonitor(MonitorSlot::clientCpu, usage.procCpuUsage / kPercent, time);
    publishToMonitor(MonitorSlot::clientMem, usage.procMemUsage, time);
    publishToMonitor(MonitorSlot::remainMem, usage.remainMem, time);
}

void publishFreeDisk(double gigabytes, const QDateTime& time) {
    if (gigabytes < 0) {
        return;
    }
    ZnCore::instance()->setCommonInfo(ClientPerformItem::RemainDisk, gigabytes);
    publishToMonitor(MonitorSlot::remainDisk, gigabytes, time);
}

double gigabytesOf(qint64 bytes) {
    constexpr int kMegabyteBits = 20;
    constexpr double kGigabytesOfMegabyte = 0.0009765625;
    return static_cast<double>(bytes >> kMegabyteBits) * kGigabytesOfMegabyte;
}

#include "velmarutils/velmar_system_monitor.h"

#include "data_log.h"
#include "never_destroyed.h"
#include "resource_history.h"

VelmarSystemMonitor* VelmarSystemMonitor::GetInstance() {
    return &neverDestroyed([] { return new VelmarSystemMonitor; });
}

QString VelmarSystemMonitor::UpdateCurrentResourceData(int slot, QVariant value) {
    return ResourceHistory::instance().update(slot, value)
               ? QString()
               : QStringLiteral("the system monitor has no slot %1").arg(slot);
}

void VelmarSystemMonitor::AppendSysResourceUseStat(int slot, double value, const QDateTime& time) {
    if (!ResourceHistory::instance().append(slot, {time, value})) {
        qCWarning(lcPlatformData) << "a sample for the unknown slot" << slot << "is dropped";
    }
}

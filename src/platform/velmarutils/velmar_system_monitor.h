#pragma once

#include <QDateTime>
#include <QString>
#include <QVariant>

#include "platform_export.h"

/// The host's record of the resources that the client uses, by slot. Any thread; does not block.
///
/// 0 size of the screens, 1 operating system, 2 CPU of the machine and 3 of the process (0 to 1), 4
/// memory that is available and 5 memory of the process (MB), 6 free disk (GB), 7 delay of the
/// trade gate and 8 of the information gate (milliseconds).
class PLATFORM_API VelmarSystemMonitor {
public:
    static VelmarSystemMonitor* GetInstance();

    /// Replaces the current value of a slot. Returns an empty text, or why it was refused: an
    /// unknown slot.
    QString UpdateCurrentResourceData(int slot, QVariant value);
    /// Adds a sample to the history of a slot, which keeps the latest 5,760 (a day of a sample each
    /// 15 seconds). A sample for an unknown slot is dropped with a log line.
    void AppendSysResourceUseStat(int slot, double value, const QDateTime& time);

private:
    VelmarSystemMonitor() = default;
};

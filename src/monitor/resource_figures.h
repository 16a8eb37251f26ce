#pragma once

#include <QDateTime>

#include "velmarutils/sys_info.h"

/// The slots of the host's system monitor.
namespace MonitorSlot {
constexpr int screenSize = 0;
constexpr int operatingSystem = 1;
constexpr int totalCpu = 2;
constexpr int clientCpu = 3;
constexpr int remainMem = 4;
constexpr int clientMem = 5;
constexpr int remainDisk = 6;
constexpr int tradeDelay = 7;
constexpr int infoDelay = 8;
}  // namespace MonitorSlot

// What the client uses of the machine, on the board and at the system monitor. Any thread.

/// Writes a sample's five usage figures to the board, and four of them to the monitor.
void publishUsage(const SysAndProcRCInfo& usage, const QDateTime& time);
/// Writes the free disk space in GB to the board and to the monitor; a negative one is left out.
void publishFreeDisk(double gigabytes, const QDateTime& time);
/// Writes one value to a slot's current data and to its history.
void publishToMonitor(int slot, double value, const QDateTime& time);
/// Whole megabytes of a size in bytes, as gigabytes.
double gigabytesOf(qint64 bytes);

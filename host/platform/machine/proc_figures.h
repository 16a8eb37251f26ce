#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include "platform_export.h"

// Readers of the files under /proc, as pure functions over their contents. They return -1, or an
// empty text, for what a content does not have or has in another form.

namespace ProcFigures {

/// The ticks of the machine's processors since its start.
struct CpuTicks {
    qint64 busy = -1;
    qint64 all = -1;
};
/// From /proc/stat.
PLATFORM_API CpuTicks cpuTicks(const QByteArray& stat);
/// The ticks that this process used, from /proc/self/stat; its name may contain blanks and
/// brackets.
PLATFORM_API qint64 processTicks(const QByteArray& selfStat);
/// A value of /proc/meminfo or /proc/self/status in kB.
PLATFORM_API qint64 kilobytes(const QByteArray& text, const QByteArray& key);
/// A whole number of /proc/self/status.
PLATFORM_API qint64 number(const QByteArray& text, const QByteArray& key);
/// The first value of a key of /proc/cpuinfo.
PLATFORM_API QString cpuInfo(const QByteArray& text, const QByteArray& key);
/// The first processor's clock in MHz: the highest one, from the kHz of
/// /sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq, or where that is empty the present one,
/// from /proc/cpuinfo.
PLATFORM_API double megahertz(const QByteArray& maxFrequency, const QByteArray& cpuInfo);

}  // namespace ProcFigures

#pragma once

#include <QMetaType>
#include <QString>

/// Facts about the processor that do not change.
struct SysCpuInfo {
    QString cpuName;       ///< the model's name
    int logicCount = 0;    ///< logical processors
    double frequency = 0;  ///< highest clock in MHz, or the present one; -1 when unknown
};

/// What the machine and this process use at the moment.
struct SysAndProcRCInfo {
    double sysCpuUsage = 0;   ///< percentage of the whole machine, 0 to 100
    double procCpuUsage = 0;  ///< this process's percentage of the whole machine, 0 to 100
    double sysMemUsage = 0;   ///< memory in use, in MB
    double procMemUsage = 0;  ///< resident memory of this process, in MB
    double remainMem = 0;     ///< memory that is available, in MB
};

/// One screen.
struct SysScreenInfo {
    int SWidth = 0;  ///< size as the windows see it, in pixels of the scaled desktop
    int SHeight = 0;
    int SIndex = 0;  ///< number of the screen; the default one has 0
    int PWidth = 0;  ///< size in physical pixels
    int PHeight = 0;
    int RWidth = 0;  ///< size without task bars and the like, in pixels of the scaled desktop
    int RHeight = 0;
};

/// The scale of the client's windows, in percent of the normal size.
enum class ClientZoomType { Zoom100 = 100, Zoom125 = 125, Zoom150 = 150, Zoom200 = 200 };

Q_DECLARE_METATYPE(SysScreenInfo)

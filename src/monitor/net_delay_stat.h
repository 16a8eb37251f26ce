#pragma once

#include <QTime>

/// The measured round trips of one gate since the last reset; elapsed times in milliseconds.
struct NetDelayStat {
    double avgElapse = 0;  ///< running mean
    QTime lastTime;        ///< of the last sample
    int lastElapse = 0;
    QTime maxTime;  ///< of the largest sample
    int maxElapse = 0;
    int count = 0;
};

#pragma once

#include <QString>
#include <QStringList>

#include "sample_market.h"

/// Where the client looks for what it needs.
struct DoctorPlaces {
    QString homeDir;
    QString pluginsDir;
    MarketOptions market;
};

struct DoctorReport {
    QStringList lines;     ///< what was found
    QStringList problems;  ///< what keeps the client from starting or working; empty if nothing
};

/// Looks at home, market, plug-ins and versions without starting or changing anything. Reads files;
/// main thread only.
DoctorReport examine(const DoctorPlaces& places);

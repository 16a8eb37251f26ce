#pragma once

#include <QString>
#include <QStringList>
#include <QTime>
#include <QVariantMap>
#include <QVector>

#include "client_watcher.h"
#include "monitor_figures.h"
#include "status_line.h"

// What a terminal shows of a client. Pure functions; no line takes more than `columns`.

/// What `monitor` shows: the gates as a table, the other figures below.
QStringList monitorLines(const MonitorFigures& figures, int columns);

/// What the running client shows about itself.
struct LiveFacts {
    ClientStatus status;
    MonitorFigures figures;
    bool hasMoney = false;  ///< the next three are known
    double marketValue = 0;
    double realizedProfit = 0;
    int unreadMessages = 0;
    QVector<SeenDeal> deals;  ///< the latest one last
};

/// The gates with their delays, the money, the last deals; the status line is the last line and
/// always there. Of more than `rows` lines, deals go first, the earliest ones before the others,
/// then the lines from the top. At least one line.
QStringList liveLines(const LiveFacts& facts, int columns, int rows);

/// "10:00:01  T000001  600000.SH  buy   100 at 10.23": symbol and side are filled up, so that deals
/// stand in columns.
QString dealText(const SeenDeal& deal);

#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>

/// What a gate's heartbeats say; delays in milliseconds.
struct GateFigures {
    QString state;  ///< NET_STATE; empty when unknown
    int last = 0;
    QString lastTime;  ///< "hh:mm:ss.zzz", empty without a sample
    double mean = 0;
    int largest = 0;
    int count = 0;  ///< samples; the delays mean nothing while it is 0

    bool isUp() const;
    /// "up", "connecting", "down", or "-" when unknown.
    QString stateText() const;
};

/// The plug-in's monitoring figures, read from the map under MonitorKey::board. An entry that is
/// missing or has another type than expected counts as 0 or is left out.
struct MonitorFigures {
    QMap<QString, GateFigures> gates;
    int beatsOnTheirWay = 0;
    int infoWaiting = 0;
    int infoSent = 0;
    int infoBatches = 0;
    QMap<QString, double> resources;  ///< by ClientPerformItem key; only what is known and finite

    static MonitorFigures of(const QVariantMap& board);

    /// The gates with heartbeats that have no sample yet, in the order of their names.
    QStringList gatesWithoutAnswer() const;
};

/// The board's map with the states of the gates as the host knows them: the plug-in learns a gate's
/// state only from its next event.
QVariantMap withGateStates(QVariantMap board, const QMap<QString, QString>& states);

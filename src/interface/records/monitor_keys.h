#pragma once

#include <QString>

/// The plug-in's monitoring figures on the board of ZnCore: one QVariantMap under MonitorKey::board
/// with the entries below (docs/monitoring.md). It is replaced as a whole whenever a figure
/// changes, so a reader gets figures of one moment. Nothing is there before the first change.
namespace MonitorKey {

inline const QString board = QStringLiteral("VelmarBusinessDataMonitor");

/// A map from gate (a NetGateType value) to a map with the entries of MonitorKey::Gate.
inline const QString gates = QStringLiteral("gates");
/// An int: heartbeats that were sent and have no answer yet.
inline const QString beatsOnTheirWay = QStringLiteral("beatsOnTheirWay");
/// A map with the entries of MonitorKey::ClientInfo.
inline const QString clientInfo = QStringLiteral("clientInfo");
/// A map from ClientPerformItem key to the value that the board had under it; without those that
/// the board had no value for.
inline const QString resources = QStringLiteral("resources");

/// What is known of a gate. Delays are those of its heartbeats since the gate connected last, in
/// milliseconds; of market data, the delay that the host writes to the board.
namespace Gate {
inline const QString state =
    QStringLiteral("state");                         ///< NET_STATE; missing before its first event
inline const QString last = QStringLiteral("last");  ///< int
inline const QString lastTime = QStringLiteral("lastTime");  ///< "hh:mm:ss.zzz", empty without one
inline const QString mean = QStringLiteral("mean");          ///< double
inline const QString largest = QStringLiteral("largest");    ///< int
inline const QString largestTime = QStringLiteral("largestTime");  ///< as lastTime
inline const QString count = QStringLiteral("count");              ///< int: samples
}  // namespace Gate

/// Client information items, since the process began; ints.
namespace ClientInfo {
inline const QString waiting = QStringLiteral("waiting");  ///< collected, not handed over yet
inline const QString sent = QStringLiteral("sent");        ///< items in messages to the server
inline const QString batches = QStringLiteral("batches");  ///< messages, also those without items
}  // namespace ClientInfo

}  // namespace MonitorKey

#pragma once

#include <QMutex>
#include <QString>
#include <QVariantMap>

#include "guarded.h"
#include "net_delay_stat.h"

/// Keeps the plug-in's monitoring figures on the host's board, in the form of MonitorKey. Each
/// function notes one change; it costs a few microseconds and sends nothing. Any thread. Lock:
/// m_monitorLock, held while the board is written, so that a later change is never replaced by an
/// earlier one.
class MonitorBoard {
public:
    MonitorBoard() = default;
    Q_DISABLE_COPY(MonitorBoard)

    /// A gate's new state, a NET_STATE value.
    void gateState(const QString& gate, const QString& netState);
    /// A gate's statistic after a sample or a reset.
    void gateDelay(const QString& gate, const NetDelayStat& stat);
    /// How many heartbeats have no answer at present.
    void beatsOnTheirWay(int count);
    /// A client information item was collected; it waits until clientInfoTaken().
    void clientInfoCollected();
    /// So many of the collected items were handed over to be sent, possibly none.
    void clientInfoTaken(int items);
    /// A message with so many items went to the server. Each presenter sends one of its own.
    void clientInfoSent(int items);
    /// Copies the resource figures that the board has at present.
    void resources();

private:
    struct Figures {
        QVariantMap all;
        int waiting = 0;
        int sent = 0;
        int batches = 0;
    };

    static void publish(Figures& figures);
    static void publishClientInfo(Figures& figures);
    /// Sets some entries of a gate and keeps its others.
    void setGate(const QString& gate, const QVariantMap& entries);

    Guarded<Figures, QMutex> m_monitorLock{"m_monitorLock", LockRank::Leaf};
};

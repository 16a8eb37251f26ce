#pragma once

#include <QMap>
#include <QMutex>
#include <QReadWriteLock>
#include <QString>
#include <QTime>
#include <QVariant>
#include <QVariantMap>
#include <functional>

#include "clock.h"
#include "guarded.h"
#include "net_delay_stat.h"

struct ServerRequest;

/// What heartbeats do to the outside.
class HeartBeatSink {
public:
    virtual ~HeartBeatSink() = default;

    /// Sends a beat without waiting for its answer; calls the request's `identified` before it is
    /// sent. Whether it was sent makes no difference: it has no answer then, like a lost one.
    virtual void sendHeartBeat(const ServerRequest& request) = 0;
    /// A gate's statistic after a sample. Called with m_heartBeatLock held for writing.
    virtual void publishHeartBeatStatistic(const QString& gate, const NetDelayStat& stat) = 0;
    /// A gate's delay in milliseconds, negative across midnight, and when it was sampled. Called
    /// without m_heartBeatLock, for an answer with m_heartBeatMutex held.
    virtual void netElapseUpdated(const QString& gate, const QTime& time, int elapse) = 0;
};

/// The business heartbeats of a presenter and what their round trips say about each gate. Does
/// nothing by itself: timers call it. Any thread. Locks: m_heartBeatMutex for the beats on their
/// way, held through an answer; m_heartBeatLock for the statistics, taken within it.
class HeartBeat {
public:
    HeartBeat(const Clock& clock, HeartBeatSink& sink);
    Q_DISABLE_COPY(HeartBeat)

    /// Sends a beat through the trade or the information gate. The one of the trade gate also
    /// samples the machine and writes its figures to the board and to the system monitor. A beat
    /// that is never answered stays on its way until the computer has slept.
    void sendHeartBeat(const QString& netType);
    /// The packed answer to a beat, a refusal too. One that is not on its way is ignored. The first
    /// answer after the computer has slept does not count, and every beat on its way is forgotten
    /// with it. An answer that came on another day than its beat changes no statistic.
    void takeAnswer(const QVariant& body);
    /// Takes the delay of market data in milliseconds from the board, where other plug-ins write
    /// it. A negative one changes no statistic.
    void sampleMarketData();
    /// Puts a gate's statistic back to its start.
    void reset(const QString& gate);

    /// The statistics by gate, without the gates that were never used.
    QMap<QString, NetDelayStat> heartBeatInfo() const;
    /// The beats that have no answer yet.
    int pendingCount() const;

private:
    struct PendingTables {
        QMap<QString, QVariantMap> m_heartBeatPending;
    };
    struct HeartBeatTables {
        QMap<QString, NetDelayStat> m_heartBeatInfo;
    };

    const Clock& m_clock;
    HeartBeatSink& m_sink;
    mutable Guarded<PendingTables, QMutex> m_heartBeatMutex{"m_heartBeatMutex",
                                                            LockRank::HeartBeatPending};
    Guarded<HeartBeatTables> m_heartBeatLock{"m_heartBeatLock", LockRank::HeartBeat};
};

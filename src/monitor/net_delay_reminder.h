#pragma once

#include <QMap>
#include <QString>

#include "guarded.h"
#include "velmarutils/velmar_statistic_assist.h"

/// What a sustained delay leads to.
class NetDelayAlarm {
public:
    virtual ~NetDelayAlarm() = default;

    /// The notice for the user.
    virtual void remindOfDelay(const QString& text) = 0;
    /// Has the host connect a gate again, by the gate's own name in the host.
    virtual void reconnectGate(const QString& gatewayName) = 0;
};

/// The sliding averages of the gates' delays, which warn the user when a gate stays slow for the
/// minutes of SystemSetting::SysMultiTimeOutCount. Any thread; a leaf lock for the windows, which
/// is not held while the alarm is called.
class NetDelayReminder {
public:
    /// Reads the setting.
    explicit NetDelayReminder(NetDelayAlarm& alarm);
    Q_DISABLE_COPY(NetDelayReminder)

    /// Adds a sample in milliseconds; a negative one is left out. A full window whose average is
    /// above the gate's limit (60 s for market data, 8 s for the others) raises the notice, and the
    /// window starts anew.
    void recordNetElapseToRemind(const QString& netType, int elapse);
    /// Empties every window and gives it the length of the current setting.
    void slotMultiDelaySettingChanged();
    /// Empties a gate's window: what came before a reconnect does not count.
    void clear(const QString& netType);

    /// The windows by gate, as copies.
    QMap<QString, VelmarStatisticAssist> netElapseStat() const;

private:
    struct Windows {
        QMap<QString, VelmarStatisticAssist> m_netElapseStat;
    };

    NetDelayAlarm& m_alarm;
    Guarded<Windows> m_netElapseLock{"m_netElapseLock", LockRank::Leaf};
};

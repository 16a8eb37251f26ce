#pragma once

#include <QMap>
#include <QString>
#include <QTime>
#include <memory>

#include "znwidget/zn_presenter_class.h"

/// The delays of a gate as the plug-in published them last, in milliseconds. A time is invalid
/// before the first sample since the gate was connected; the delays are 0 then.
struct GateDelay {
    int lastMs = 0;
    QTime lastTime;
    int largestMs = 0;
    QTime largestTime;
};

/// The published delays by gate (NetGateType). Any thread.
class GateDelays {
public:
    GateDelays();
    ~GateDelays();
    Q_DISABLE_COPY(GateDelays)

    QMap<QString, GateDelay> all() const;
    void set(const QString& gate, const GateDelay& delay);

private:
    struct Kept;
    const std::unique_ptr<Kept> m_kept;
};

/// The presenter of the client's bottom bar, to which the plug-in addresses the delays of the
/// gates. Created with new; disposed of by deleteLater() or by the platform's close().
class BottomBar : public ZnPresenterClass {
    Q_OBJECT

public:
    explicit BottomBar(std::shared_ptr<GateDelays> delays);

    /// Keeps the delays of BUSI_HEART_BEAT_STATISTIC. A body without a gate or with fewer than two
    /// rows is dropped with a log line.
    void ProcEventMsg(QString srcId, QVariant eventId, QVariant body) override;

private:
    const std::shared_ptr<GateDelays> m_delays;
    const int m_statisticEvent;
};

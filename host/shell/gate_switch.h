#pragma once

#include <QString>
#include <functional>

#include "znwidget/zn_presenter_class.h"

/// The presenter of the client's network plug-in: reconnects a gate when another plug-in requests
/// it by event 0x10011, whose body is the gateway's name. Created with new; disposed of by
/// deleteLater() or by the platform's close().
class GateSwitch : public ZnPresenterClass {
    Q_OBJECT

public:
    /// Makes the link report a gate's state, NetGateType and NET_STATE values.
    using SetGate = std::function<void(const QString& gate, const QString& netState)>;

    /// The id of the event.
    static constexpr int kReconnectEvent = 0x10011;

    /// `setGate` is called on the message thread, and not after the presenter is deleted.
    explicit GateSwitch(SetGate setGate);

    /// Takes the gate down and up again. A name other than ZGATE_GATEWAY, ZINFO_GATEWAY and
    /// MDC_TCP_GATEWAY changes nothing and is logged.
    void ProcEventMsg(QString srcId, QVariant eventId, QVariant body) override;

private:
    const SetGate m_setGate;
};

#include <QTimer>

#include "log.h"
#include "resource_figures.h"
#include "server_request.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/plugin_id.h"
#include "vocabulary/values.h"
#include "zn_business_data_manager.h"
#include "znevent/c_event_message_common.h"
#include "znmsg/c_pack_message_common.h"

using Presenter = VelmarBusinessDataManagerPresenterClass;

namespace {

constexpr int kBeatMs = 15000;
constexpr int kReconnectEvent = 0x10011;

}  // namespace

void Presenter::startHeartBeats() {
    for (const QString& gate : {NetGateType::TradeGate, NetGateType::InfoGate}) {
        addHeartBeatTimer(gate, [this, gate] {
            m_heartBeats.sendHeartBeat(gate);
            noteBeatsOnTheirWay();
            m_dataManager->monitorBoard().resources();
        });
    }
    addHeartBeatTimer(NetGateType::MarketTcpGate, [this] { m_heartBeats.sampleMarketData(); });
    for (QTimer* const timer : qAsConst(m_heartBeatTimers)) {
        timer->start();
    }
    // Queued to this object's thread, the timers' own: gates report on the message thread.
    connect(this, &Presenter::signalRestartTimer, this, &Presenter::restartHeartBeatTimer,
            Qt::UniqueConnection);
}

/// Enters a gate's timer, unless an earlier start-up did, and beats once.
void Presenter::addHeartBeatTimer(const QString& gate, const std::function<void()>& beat) {
    if (!m_heartBeatTimers.contains(gate)) {
        auto* const timer = new QTimer(this);
        timer->setInterval(kBeatMs);
        connect(timer, &QTimer::timeout, this, beat);
        m_heartBeatTimers.insert(gate, timer);
    }
    beat();
}

void Presenter::restartHeartBeatTimer(const QString& gate) {
    QTimer* const timer = m_heartBeatTimers.value(gate);
    if (!timer) {
        return;
    }
    if (timer->isActive()) {
        timer->stop();
    }
    timer->start();
}

void Presenter::sendHeartBeat(const ServerRequest& request) {
    postToServer(this, request);
}

/// Repeats while another thread changes the number, so that the last one noted is the right one.
void Presenter::noteBeatsOnTheirWay() {
    int noted = -1;
    for (int count = m_heartBeats.pendingCount(); count != noted;
         count = m_heartBeats.pendingCount()) {
        m_dataManager->monitorBoard().beatsOnTheirWay(count);
        noted = count;
    }
}

void Presenter::publishHeartBeatStatistic(const QString& gate, const NetDelayStat& stat) {
    m_dataManager->monitorBoard().gateDelay(gate, stat);
    CPackMessageCommon packer;
    packer.AddVaule(System::GatewayType, gate);
    packer.AddVaule(System::subGroupNumber, 2);
    packer.AddRow();
    packer.AddRowVaule({{System::NetElapse, stat.lastElapse}, {System::timeStamp, stat.lastTime}});
    packer.AddRow();
    packer.AddRowVaule({{System::NetElapse, stat.maxElapse}, {System::timeStamp, stat.maxTime}});
    auto* const event = new CEventMessageCommon;
    event->SetSrcid(pluginPid());
    event->SetDstid(PluginID::BOTTOM_WIDGET);
    event->SetType(VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::BUSI_HEART_BEAT_STATISTIC));
    event->SetMsg(packer.GetPackedMsg(false));
    PutEvent(pluginPid(), event);
}

void Presenter::netElapseUpdated(const QString& gate, const QTime& time, int elapse) {
    emit signalNetElapseUpdated(gate, time, elapse);
}

void Presenter::slotNetElapseUpdated(QString netType, QTime time, int elapse) {
    if (netType == NetGateType::TradeGate || netType == NetGateType::InfoGate) {
        publishToMonitor(
            netType == NetGateType::TradeGate ? MonitorSlot::tradeDelay : MonitorSlot::infoDelay,
            elapse, QDateTime(m_clock.today(), time));
    }
    m_netDelays.recordNetElapseToRemind(netType, elapse);
}

void Presenter::slotMultiDelaySettingChanged() {
    m_netDelays.slotMultiDelaySettingChanged();
}

void Presenter::slotNetReconnect(QString netType) {
    m_netDelays.clear(netType);
}

void Presenter::remindOfDelay(const QString& text) {
    VelmarUtils::PutBusiMsg(nullptr, BusiMsgLevel::Emergency, text, BusiMsgType::SystemMsg,
                            QStringLiteral("1001"), QString(), QString(), QString());
}

void Presenter::reconnectGate(const QString& gatewayName) {
    auto* const event = new CEventMessageCommon;
    event->SetSrcid(pluginPid());
    event->SetDstid(PluginID::PLUGINNET_GLOBALID);
    event->SetType(kReconnectEvent);
    event->SetMsg(gatewayName);
    PutEvent(pluginPid(), event);
}

#include <QHash>

#include "event_ids.h"
#include "log.h"
#include "responsible_presenter.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"
#include "zn_business_data_manager.h"
#include "znmsg/c_un_pack_message_common.h"

namespace {

/// The gate whose state an event reports, empty for any other event.
QString gateOf(int eventId) {
    switch (eventId) {
        case EventIds::marketTcpGateState:
            return NetGateType::MarketTcpGate;
        case EventIds::tradeGateState:
            return NetGateType::TradeGate;
        case EventIds::infoGateState:
            return NetGateType::InfoGate;
        case EventIds::marketGrpcGateState:
            return NetGateType::MarketGrpcGate;
        default:
            return {};
    }
}

bool hasHeartBeat(const QString& gate) {
    return gate == NetGateType::TradeGate || gate == NetGateType::InfoGate ||
           gate == NetGateType::MarketTcpGate;
}

QVariantMap rowOf(const QVariant& body) {
    if (!body.isValid()) {
        return {};
    }
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(body, false);
    return unpacker.GetRowValue();
}

/// Returns whether the event carries a record; logs one that does not.
bool hasRecord(const QVariantMap& record, const char* event) {
    if (record.isEmpty()) {
        qCDebug(lcPresenter) << "event" << event << "ignored: it carries no record";
    }
    return !record.isEmpty();
}

}  // namespace

int EventIds::named(const QString& eventName) {
    return VelmarUtils::GetTorviEventMsgIdByStr(eventName);
}

void VelmarBusinessDataManagerPresenterClass::ProcEventMsg(QString, QVariant eventId,
                                                           QVariant body) {
    const int id = eventId.toInt();
    switch (id) {
        case EventIds::positionsLoaded:
        case EventIds::positionsReloaded:
            emit signalInitPosData();
            return;
        case EventIds::positionUpdated:
            procPosition(rowOf(body));
            return;
        case EventIds::clientInfo:
            procClientInfo(body.toMap());
            return;
        case EventIds::clientInfoApm:
            procClientInfoApm(body);
            return;
        case EventIds::settingsChanged:
            procSettingChange(body);
            return;
        case EventIds::executionsReloaded:
            queueRealizedProfitRefresh();
            return;
        case EventIds::normalDeal:
        case EventIds::marginDeal:
            queueDeals(body);
            return;
        default:
            break;
    }
    const QString gate = gateOf(id);
    if (!gate.isEmpty()) {
        procGateState(gate, body.toString());
    } else {
        procNamedEvent(id, body);
    }
}

void VelmarBusinessDataManagerPresenterClass::procNamedEvent(int eventId, const QVariant& body) {
    if (eventId == EventIds::named(EventMsgName::BUSI_MSG_ADD)) {
        QVariantMap record = rowOf(body);
        // Every presenter gets the event, and each one's signal reaches all of them.
        if (hasRecord(record, "BUSI_MSG_ADD") && ResponsiblePresenter::is(this)) {
            emit m_dataManager->signalBusiMsgAdd(record);
        }
    } else if (eventId == EventIds::named(EventMsgName::ETFTRADESETTING_TRADEFEECHANGE)) {
        m_dataManager->slotTradeFeeSettingChanged();
    } else if (eventId == EventIds::named(EventMsgName::CalcRealizedProfitInitEvent)) {
        queueRealizedProfitInit();
    }
}

void VelmarBusinessDataManagerPresenterClass::procPosition(const QVariantMap& record) {
    if (hasRecord(record, "0x31002")) {
        emit signalPositionUpdated(record);
    }
}

void VelmarBusinessDataManagerPresenterClass::procClientInfo(const QVariantMap& record) {
    if (hasRecord(record, "0x35000")) {
        emit signalClientInfoCollect(record);
    }
}

void VelmarBusinessDataManagerPresenterClass::procClientInfoApm(const QVariant& body) {
    QVariantList items = body.toList();
    if (items.isEmpty()) {
        return;
    }
    const QString gate = items.takeFirst().toString();
    emit signalClientInfoCollectAPM(gate, items);
}

void VelmarBusinessDataManagerPresenterClass::procSettingChange(const QVariant& body) {
    const QVariantMap changed = body.toMap();
    qCInfo(lcPresenter) << "VelmarBusinessDataManagerPresenterClass::ProcEventMsg" << changed;
    if (changed.contains(SystemSetting::SysMultiTimeOutCount)) {
        emit signalMultiDelaySettingChanged();
    }
}

void VelmarBusinessDataManagerPresenterClass::procGateState(const QString& gate,
                                                            const QString& netState) {
    {
        const auto gates = m_gateStateLock.write();
        QString& known = gates->m_gateStateMap[gate];
        if (known == netState) {
            return;
        }
        known = netState;
    }
    m_dataManager->monitorBoard().gateState(gate, netState);
    if (netState == NET_STATE::CONNECTED) {
        emit signalNetReconnect(gate, this);
        if (gate == NetGateType::InfoGate) {
            subscribeBusiMsgTopic();
        }
    } else if (netState == NET_STATE::CONNECTTING) {
        emit signalNetDisconnected(gate);
    }
    if (netState == NET_STATE::CONNECTED && hasHeartBeat(gate)) {
        m_heartBeats.reset(gate);
        m_dataManager->monitorBoard().gateDelay(gate, m_heartBeats.heartBeatInfo().value(gate));
        emit signalRestartTimer(gate);
    }
}

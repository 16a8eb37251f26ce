#include "heart_beat.h"

#include "resource_figures.h"
#include "server_request.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "zncore/zn_core.h"
#include "znmsg/c_un_pack_message_common.h"

namespace {

// The information gate takes messages only in this envelope.
inline const QString kInfoEnvelope = QStringLiteral("325005");
inline const QString kTimeForm = QStringLiteral("hh:mm:ss.zzz");

/// The machine's figures as a beat of the trade gate has them.
QVariantMap usageFields(const SysAndProcRCInfo& usage) {
    return {{System::CpuUsage,
             QStringLiteral("%1%/%2%").arg(usage.procCpuUsage).arg(usage.sysCpuUsage)},
            {System::MemUsage,
             QStringLiteral("%1M/%2M").arg(usage.procMemUsage).arg(usage.sysMemUsage)}};
}

/// Adds a sample; a negative one, as across midnight, counts as none.
void addSample(NetDelayStat* stat, int elapse, const QTime& time) {
    if (elapse < 0) {
        return;
    }
    stat->lastElapse = elapse;
    stat->lastTime = time;
    stat->avgElapse = (stat->count * stat->avgElapse + elapse) / (stat->count + 1);
    ++stat->count;
    if (stat->maxElapse < elapse) {
        stat->maxElapse = elapse;
        stat->maxTime = time;
    }
}

bool isOnBoard(const QString& key) {
    return !ZnCore::instance()->getCommonInfo(key).isNull();
}

}  // namespace

HeartBeat::HeartBeat(const Clock& clock, HeartBeatSink& sink) : m_clock(clock), m_sink(sink) {}

void HeartBeat::sendHeartBeat(const QString& netType) {
    ServerRequest request;
    request.msgType = Velmar_MsgType::BusiHeartBeatRequest;
    QTime sent;
    {
        const auto tables = m_heartBeatLock.read();
        if (netType == NetGateType::TradeGate) {
            SysAndProcRCInfo usage;
            VelmarUtils::GetSysAndProcResourseInfo(usage);
            request.fields = usageFields(usage);
            publishUsage(usage, m_clock.now());
        } else if (netType == NetGateType::InfoGate) {
            request.envelopeType = kInfoEnvelope;
        }
        const NetDelayStat stat = tables->m_heartBeatInfo.value(netType);
        request.fields.insert(System::NetElapse, stat.lastElapse);
        request.fields.insert(System::avgNetElapse, stat.avgElapse);
        sent = m_clock.now().time();
        request.fields.insert(System::timeStamp, sent.toString(kTimeForm));
    }
    request.identified = [this, &netType, sent](const QString& clientMsgId) {
        const auto pending = m_heartBeatMutex.lock();
        pending->m_heartBeatPending.insert(
            clientMsgId, {{System::GatewayType, netType}, {System::timeStamp, sent}});
    };
    m_sink.sendHeartBeat(request);
}

void HeartBeat::takeAnswer(const QVariant& body) {
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(body, false);
    const QString clientMsgId = unpacker.GetValue(System::clientMsgID, QString()).toString();
    const auto pending = m_heartBeatMutex.lock();
    if (!pending->m_heartBeatPending.contains(clientMsgId)) {
        return;
    }
    const QVariantMap beat = pending->m_heartBeatPending.take(clientMsgId);
    if (isOnBoard(ClientErrorType::ComputerResume)) {
        // The computer has slept since: the times on their way mean nothing.
        pending->m_heartBeatPending.clear();
        ZnCore::instance()->setCommonInfo(ClientErrorType::ComputerResume, QVariant());
        ZnCore::instance()->setCommonInfo(ClientErrorType::ComputerSuspend, QVariant());
        return;
    }
    if (isOnBoard(ClientErrorType::ComputerSuspend)) {
        return;
    }
    const QString gate = beat.value(System::GatewayType).toString();
    const QTime sent = beat.value(System::timeStamp).toTime();
    int elapse = 0;
    {
        const auto tables = m_heartBeatLock.write();
        elapse = sent.msecsTo(m_clock.now().time());
        NetDelayStat& stat = tables->m_heartBeatInfo[gate];
        addSample(&stat, elapse, sent);
        if (gate == NetGateType::TradeGate) {
            ZnCore::instance()->setCommonInfo(ClientPerformItem::TradeLatency, elapse);
        } else if (gate == NetGateType::InfoGate) {
            ZnCore::instance()->setCommonInfo(ClientPerformItem::InfoLatency, elapse);
        }
        m_sink.publishHeartBeatStatistic(gate, stat);
    }
    m_sink.netElapseUpdated(gate, sent, elapse);
}

void HeartBeat::sampleMarketData() {
    const int elapse = ZnCore::instance()->getCommonInfo(ClientPerformItem::MdcLatency).toInt();
    const QTime now = m_clock.now().time();
    {
        const auto tables = m_heartBeatLock.write();
        NetDelayStat& stat = tables->m_heartBeatInfo[NetGateType::MarketTcpGate];
        addSample(&stat, elapse, now);
        m_sink.publishHeartBeatStatistic(NetGateType::MarketTcpGate, stat);
    }
    m_sink.netElapseUpdated(NetGateType::MarketTcpGate, now, elapse);
}

void HeartBeat::reset(const QString& gate) {
    const auto tables = m_heartBeatLock.write();
    tables->m_heartBeatInfo[gate] = NetDelayStat();
}

QMap<QString, NetDelayStat> HeartBeat::heartBeatInfo() const {
    const auto tables = m_heartBeatLock.read();
    return tables->m_heartBeatInfo;
}

int HeartBeat::pendingCount() const {
    const auto pending = m_heartBeatMutex.lock();
    return pending->m_heartBeatPending.size();
}

#include "monitor_board.h"

#include <QTime>
#include <limits>

#include "monitor_keys.h"
#include "vocabulary/values.h"
#include "zncore/zn_core.h"

namespace {

/// Empty for a time that was never set.
QString timeText(const QTime& time) {
    return time.toString(QStringLiteral("hh:mm:ss.zzz"));
}

/// Stays at the largest number instead of overflowing.
void addTo(int* sum, int more) {
    *sum = more > std::numeric_limits<int>::max() - *sum ? std::numeric_limits<int>::max()
                                                         : *sum + more;
}

}  // namespace

void MonitorBoard::publish(Figures& figures) {
    ZnCore::instance()->setCommonInfo(MonitorKey::board, figures.all);
}

void MonitorBoard::publishClientInfo(Figures& figures) {
    figures.all.insert(MonitorKey::clientInfo,
                       QVariantMap{{MonitorKey::ClientInfo::waiting, figures.waiting},
                                   {MonitorKey::ClientInfo::sent, figures.sent},
                                   {MonitorKey::ClientInfo::batches, figures.batches}});
    publish(figures);
}

void MonitorBoard::setGate(const QString& gate, const QVariantMap& entries) {
    const auto figures = m_monitorLock.lock();
    QVariantMap gates = figures->all.value(MonitorKey::gates).toMap();
    QVariantMap known = gates.value(gate).toMap();
    for (auto entry = entries.cbegin(); entry != entries.cend(); ++entry) {
        known.insert(entry.key(), entry.value());
    }
    gates.insert(gate, known);
    figures->all.insert(MonitorKey::gates, gates);
    publish(*figures);
}

void MonitorBoard::gateState(const QString& gate, const QString& netState) {
    setGate(gate, {{MonitorKey::Gate::state, netState}});
}

void MonitorBoard::gateDelay(const QString& gate, const NetDelayStat& stat) {
    setGate(gate, {{MonitorKey::Gate::last, stat.lastElapse},
                   {MonitorKey::Gate::lastTime, timeText(stat.lastTime)},
                   {MonitorKey::Gate::mean, stat.avgElapse},
                   {MonitorKey::Gate::largest, stat.maxElapse},
                   {MonitorKey::Gate::largestTime, timeText(stat.maxTime)},
                   {MonitorKey::Gate::count, stat.count}});
}

void MonitorBoard::beatsOnTheirWay(int count) {
    const auto figures = m_monitorLock.lock();
    figures->all.insert(MonitorKey::beatsOnTheirWay, count);
    publish(*figures);
}

void MonitorBoard::clientInfoCollected() {
    const auto figures = m_monitorLock.lock();
    addTo(&figures->waiting, 1);
    publishClientInfo(*figures);
}

void MonitorBoard::clientInfoTaken(int items) {
    const auto figures = m_monitorLock.lock();
    figures->waiting = qMax(0, figures->waiting - items);
    publishClientInfo(*figures);
}

void MonitorBoard::clientInfoSent(int items) {
    const auto figures = m_monitorLock.lock();
    addTo(&figures->sent, items);
    addTo(&figures->batches, 1);
    publishClientInfo(*figures);
}

void MonitorBoard::resources() {
    const auto figures = m_monitorLock.lock();
    QVariantMap resources;
    using namespace ClientPerformItem;
    for (const QString& key :
         {TotalCpuUsage, ClientCpuUsage, TotalMemUsage, ClientMemUsage, RemainMem, RemainDisk,
          TotalDisk, ThreadNum, LogFileCount, LogFileSize, DumpFileCount, DumpFileSize, OrderCount,
          DealCount, PositionCount, OrderDbFileSize, MdcLatency}) {
        const QVariant value = ZnCore::instance()->getCommonInfo(key);
        if (!value.isNull()) {
            resources.insert(key, value);
        }
    }
    figures->all.insert(MonitorKey::resources, resources);
    publish(*figures);
}

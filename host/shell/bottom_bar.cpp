#include "bottom_bar.h"

#include <mutex>
#include <utility>

#include "gateway_log.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/plugin_id.h"
#include "znmsg/c_un_pack_message_common.h"

namespace {

constexpr int kSubscribe = 1;
constexpr int kLastRow = 1;
constexpr int kLargestRow = 2;

/// Reads the sample of a row; false when the body does not have the row.
bool readSample(CUnPackMessageCommon& body, int row, int* ms, QTime* time) {
    if (!body.SetCurrentRow(row)) {
        return false;
    }
    *ms = body.GetValue(System::NetElapse, 0).toInt();
    *time = body.GetValue(System::timeStamp, QTime()).toTime();
    return true;
}

}  // namespace

struct GateDelays::Kept {
    mutable std::mutex lock;  // guards what follows
    QMap<QString, GateDelay> delays;
};

GateDelays::GateDelays() : m_kept(std::make_unique<Kept>()) {}

GateDelays::~GateDelays() = default;

QMap<QString, GateDelay> GateDelays::all() const {
    const std::lock_guard<std::mutex> guard(m_kept->lock);
    return m_kept->delays;
}

void GateDelays::set(const QString& gate, const GateDelay& delay) {
    const std::lock_guard<std::mutex> guard(m_kept->lock);
    m_kept->delays.insert(gate, delay);
}

BottomBar::BottomBar(std::shared_ptr<GateDelays> delays)
    : ZnPresenterClass(PluginID::BOTTOM_WIDGET, nullptr, IMessageInterface::OwnThreads),
      m_delays(std::move(delays)),
      m_statisticEvent(
          VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::BUSI_HEART_BEAT_STATISTIC)) {
    SubEvent(pluginPid(), m_statisticEvent, kSubscribe);
}

void BottomBar::ProcEventMsg(QString srcId, QVariant eventId, QVariant body) {
    if (eventId.toInt() != m_statisticEvent) {
        return;
    }
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(body, false);
    const QString gate = unpacker.GetValue(System::GatewayType, QString()).toString();
    GateDelay delay;
    if (gate.isEmpty() || !readSample(unpacker, kLastRow, &delay.lastMs, &delay.lastTime) ||
        !readSample(unpacker, kLargestRow, &delay.largestMs, &delay.largestTime)) {
        qCWarning(lcGateway) << "delays from" << srcId << "are not complete: gate" << gate << ","
                             << unpacker.GetRowCount() << "rows with the header";
        return;
    }
    m_delays->set(gate, delay);
}

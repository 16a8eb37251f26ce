#include "message_totals.h"

#include <algorithm>
#include <limits>

#include "never_destroyed.h"
#include "vocabulary/values.h"

namespace {

int asInt(qint64 number) {
    return int(std::min<qint64>(number, std::numeric_limits<int>::max()));
}

}  // namespace

void MessageTotals::Total::add(qint64 more) {
    count.fetch_add(1, std::memory_order_relaxed);
    bytes.fetch_add(more, std::memory_order_relaxed);
}

void MessageTotals::Total::clear() {
    count = 0;
    bytes = 0;
}

MessageTotals& MessageTotals::instance() {
    return neverDestroyed<MessageTotals>();
}

void MessageTotals::countMessage(const QString& gate, qint64 bytes) {
    if (gate == NetGateType::TradeGate) {
        m_trade.add(bytes);
    } else if (gate == NetGateType::InfoGate) {
        m_info.add(bytes);
    }
}

void MessageTotals::countTick(qint64 bytes, qint64 delayMs) {
    m_market.add(bytes);
    m_tickDelayMs.store(std::max<qint64>(delayMs, 0), std::memory_order_relaxed);
}

QVariant MessageTotals::value(const QString& key) const {
    const struct {
        const QString& count;
        const QString& bytes;
        const Total& total;
    } totals[] = {
        {ClientPerformItem::TotalTradeMsgCount, ClientPerformItem::TotalTradeMsgSize, m_trade},
        {ClientPerformItem::TotalInfoMsgCount, ClientPerformItem::TotalInfoMsgSize, m_info},
        {ClientPerformItem::MdcTotalMsgCount, ClientPerformItem::MdcTotalMsgSize, m_market},
    };
    for (const auto& [count, bytes, total] : totals) {
        if (key == count) {
            return asInt(total.count);
        }
        if (key == bytes) {
            return qlonglong(total.bytes);
        }
    }
    const qint64 delay = m_tickDelayMs;
    return key == ClientPerformItem::MdcLatency && delay >= 0 ? QVariant(asInt(delay)) : QVariant();
}

void MessageTotals::reset() {
    for (Total* const total : {&m_trade, &m_info, &m_market}) {
        total->clear();
    }
    m_tickDelayMs = -1;
}

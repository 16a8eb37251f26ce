#include "tick_collector.h"

#include "commonquotahandler/common_quota_handler.h"
#include "interrupt_watch.h"
#include "main_loop_gate.h"

TickCollector::TickCollector(const QSet<QString>& symbols) : m_symbols(symbols) {}

void TickCollector::listen(MainLoopGate& gate) {
    m_gate = &gate;
    connect(&CommonQuotaHandler::instance(), &CommonQuotaHandler::sigTickDataUpdate, this,
            [this](const QString& symbol, const QVariantMap& tick) {
                if (m_symbols.contains(symbol)) {
                    m_ticks.insert(symbol, tick);
                    m_gate->wake();
                }
            });
}

bool TickCollector::await(int limitMs) {
    const auto isComplete = [this] { return m_ticks.size() == m_symbols.size(); };
    m_gate->waitUntil([&] { return isComplete() || InterruptWatch::hasCome(); }, limitMs);
    return isComplete();
}

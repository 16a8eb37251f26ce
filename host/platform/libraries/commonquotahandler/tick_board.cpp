#include "tick_board.h"

#include "never_destroyed.h"
#include "vocabulary/tick_fields.h"

TickBoard& TickBoard::instance() {
    return neverDestroyed<TickBoard>();
}

void TickBoard::reset() {
    m_open = false;
    const std::lock_guard<std::mutex> guard(m_lock);
    m_lastPrices.clear();
}

bool TickBoard::takeTick(const QString& symbol, const QVariantMap& tick) {
    if (!m_open) {
        return false;
    }
    const auto lastPrice = tick.constFind(TickField::lastPrice);
    if (lastPrice != tick.cend()) {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_lastPrices.insert(symbol, lastPrice->toDouble());
    }
    return true;
}

double TickBoard::lastPrice(const QString& symbol) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_lastPrices.value(symbol, 0.0);
}

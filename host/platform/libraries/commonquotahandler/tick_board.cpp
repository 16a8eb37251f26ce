#include "tick_board.h"

#include "data_log.h"
#include "never_destroyed.h"
#include "vocabulary/tick_fields.h"

TickBoard& TickBoard::instance() {
    return neverDestroyed<TickBoard>();
}

void TickBoard::reset() {
    m_open = false;
    const std::lock_guard<std::mutex> guard(m_lock);
    m_lastPrices.clear();
    m_withoutNumber.clear();
}

bool TickBoard::takeTick(const QString& symbol, const QVariantMap& tick) {
    if (!m_open) {
        return false;
    }
    const auto lastPrice = tick.constFind(TickField::lastPrice);
    if (lastPrice != tick.cend()) {
        keep(symbol, *lastPrice);
    }
    return true;
}

/// A price of 0 would take every position in the symbol out of the market values.
void TickBoard::keep(const QString& symbol, const QVariant& lastPrice) {
    bool isNumber = false;
    const double price = lastPrice.toDouble(&isNumber);
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (isNumber) {
            m_lastPrices.insert(symbol, price);
            return;
        }
        if (m_withoutNumber.contains(symbol)) {
            return;
        }
        m_withoutNumber.insert(symbol);
    }
    qCWarning(lcPlatformData) << "the last price of" << symbol
                              << "is no number, the former one stays:" << lastPrice;
}

double TickBoard::lastPrice(const QString& symbol) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_lastPrices.value(symbol, 0.0);
}

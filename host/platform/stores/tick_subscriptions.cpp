#include "tick_subscriptions.h"

#include <algorithm>
#include <utility>

void TickSubscriptions::change(const QStringList& symbols, bool adds) {
    if (changeTable(symbols, adds)) {
        callListeners();
    }
}

bool TickSubscriptions::changeTable(const QStringList& symbols, bool adds) {
    const std::lock_guard<std::mutex> guard(m_lock);
    const int before = m_known.size();
    for (const QString& symbol : symbols) {
        if (!adds) {
            m_known.remove(symbol);
        } else if (!symbol.isEmpty() && !m_known.contains(symbol)) {
            m_known.insert(symbol);
            m_symbols.append(symbol);
        }
    }
    if (!adds) {
        QStringList kept;
        for (const QString& symbol : std::as_const(m_symbols)) {
            if (m_known.contains(symbol)) {
                kept.append(symbol);
            }
        }
        m_symbols = kept;
    }
    return m_known.size() != before;
}

void TickSubscriptions::clear() {
    bool changed = false;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        changed = !m_symbols.isEmpty();
        m_symbols.clear();
        m_known.clear();
    }
    if (changed) {
        callListeners();
    }
}

QStringList TickSubscriptions::symbols() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_symbols;
}

std::shared_ptr<void> TickSubscriptions::onChanged(std::function<void()> changed) {
    auto listener = std::make_shared<Listener>(std::move(changed));
    const std::lock_guard<std::mutex> guard(m_lock);
    m_listeners.push_back(listener);
    return listener;
}

void TickSubscriptions::callListeners() {
    std::vector<std::shared_ptr<const Listener>> live;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_listeners.erase(std::remove_if(m_listeners.begin(), m_listeners.end(),
                                         [](const auto& one) { return one.expired(); }),
                          m_listeners.end());
        for (const auto& one : m_listeners) {
            live.push_back(one.lock());
        }
    }
    for (const auto& one : live) {
        if (one) {
            (*one)();
        }
    }
}

#pragma once

#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "platform_export.h"

/// The symbols whose ticks readers subscribed to. Any thread.
class PLATFORM_API TickSubscriptions {
public:
    /// Adds or removes symbols; empty ones are ignored.
    void change(const QStringList& symbols, bool adds);
    void clear();
    /// In the order of their first subscription.
    QStringList symbols() const;
    /// Calls `changed` after each change, on the thread that made it and without a lock held, until
    /// the returned object is destroyed. A call may still be running at that moment, so `changed`
    /// must own what it uses.
    std::shared_ptr<void> onChanged(std::function<void()> changed);

private:
    using Listener = std::function<void()>;

    bool changeTable(const QStringList& symbols, bool adds);
    void callListeners();

    mutable std::mutex m_lock;  // guards the members below; held for the access alone
    QStringList m_symbols;      // in the order of the first subscription
    QSet<QString> m_known;      // the same as a set
    std::vector<std::weak_ptr<const Listener>> m_listeners;
};

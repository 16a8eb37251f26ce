#pragma once

#include <QHash>
#include <QString>
#include <QVariantMap>
#include <atomic>
#include <mutex>

/// Whether ticks are accepted, and the last price of each symbol. Any thread.
class TickBoard {
public:
    static TickBoard& instance();

    void open() { m_open = true; }
    void reset();
    /// Keeps the tick's last price, if it has one. False before open().
    bool takeTick(const QString& symbol, const QVariantMap& tick);
    /// 0.0 for a symbol without one.
    double lastPrice(const QString& symbol) const;

private:
    std::atomic<bool> m_open{false};
    mutable std::mutex m_lock;  // guards the prices; held for the access alone
    QHash<QString, double> m_lastPrices;
};

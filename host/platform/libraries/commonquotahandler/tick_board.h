#pragma once

#include <QHash>
#include <QSet>
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
    /// Keeps the tick's last price, if it has one. One that is no number leaves the former price
    /// and is logged once per symbol. False before open().
    bool takeTick(const QString& symbol, const QVariantMap& tick);
    /// 0.0 for a symbol without one.
    double lastPrice(const QString& symbol) const;

private:
    void keep(const QString& symbol, const QVariant& lastPrice);

    std::atomic<bool> m_open{false};
    mutable std::mutex m_lock;  // guards what follows; held for the access alone
    QHash<QString, double> m_lastPrices;
    QSet<QString> m_withoutNumber;  // symbols whose last price was no number, and logged
};

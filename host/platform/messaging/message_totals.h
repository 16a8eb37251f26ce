#pragma once

#include <QString>
#include <QVariant>
#include <atomic>

#include "platform_export.h"

/// How many messages and bytes went through each gate since the platform was started, and how long
/// the last tick took to its readers. Counted without a lock and read when the board is asked for
/// one of the keys, so that a message costs a few additions only. Any thread.
class PLATFORM_API MessageTotals {
public:
    /// Never destroyed.
    static MessageTotals& instance();

    /// A request, an answer or a push of the trade or the info gate, `bytes` as bodySize() counts
    /// them. Messages of another gate are not counted.
    void countMessage(const QString& gate, qint64 bytes);
    /// A tick that reached its readers, and the milliseconds from its publication until then.
    void countTick(qint64 bytes, qint64 delayMs);
    /// The value of a key of ClientPerformItem: the count (int) and the bytes (qlonglong) of the
    /// trade gate, the info gate and market data, and MdcLatency in milliseconds (int). Invalid for
    /// every other key, and for MdcLatency before the first tick.
    QVariant value(const QString& key) const;
    /// Counts from 0 again.
    void reset();

private:
    struct Total {
        std::atomic<qint64> count{0};
        std::atomic<qint64> bytes{0};

        void add(qint64 more);
        void clear();
    };

    Total m_trade;
    Total m_info;
    Total m_market;
    std::atomic<qint64> m_tickDelayMs{-1};  // negative before the first tick
};

#pragma once

#include <QDateTime>
#include <QVariant>
#include <QVector>
#include <array>
#include <deque>
#include <mutex>

#include "platform_export.h"

/// What VelmarSystemMonitor records: the current value and the latest samples of each slot. Any
/// thread; memory only.
class PLATFORM_API ResourceHistory {
public:
    static constexpr int slotCount = 9;
    static constexpr int mostSamples = 5760;

    struct Sample {
        QDateTime time;
        double value = 0;
    };

    /// The one of the process.
    static ResourceHistory& instance();

    /// Replaces the current value. False for an unknown slot.
    bool update(int slot, const QVariant& value);
    /// Adds a sample, in place of the oldest one when there are too many. False for an unknown
    /// slot.
    bool append(int slot, const Sample& sample);
    /// Invalid for an unknown slot and before the first update.
    QVariant current(int slot) const;
    /// From the oldest to the latest; empty for an unknown slot.
    QVector<Sample> samples(int slot) const;
    void clear();

private:
    struct Slot {
        QVariant current;
        std::deque<Sample> samples;
    };

    mutable std::mutex m_lock;  // guards the slots
    std::array<Slot, slotCount> m_slots;
};

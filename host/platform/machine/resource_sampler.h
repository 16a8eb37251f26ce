#pragma once

#include <QByteArray>
#include <chrono>
#include <functional>
#include <mutex>

#include "platform_export.h"
#include "velmarutils/sys_info.h"

/// Samples what the machine and this process use. Callers within a second of a sample get that one,
/// so that no percentage is of a moment too short to mean anything. Any thread; reads files.
class PLATFORM_API ResourceSampler {
public:
    using Clock = std::chrono::steady_clock;
    /// Reads a file of the system; empty when it cannot be read.
    using ReadFile = std::function<QByteArray(const char* path)>;

    static ResourceSampler& instance();

    ResourceSampler(ReadFile readFile, std::function<Clock::time_point()> now);
    ResourceSampler(const ResourceSampler&) = delete;
    ResourceSampler& operator=(const ResourceSampler&) = delete;

    /// Begins anew: the percentages of the next sample are those since now. Without it the first
    /// sample has those since the start of the machine. Changes nothing when the system does not
    /// give the figures.
    void begin();
    /// The percentages are those since the last sample. False, with nothing written, when the
    /// system does not give the figures.
    bool sample(SysAndProcRCInfo* info);

private:
    struct Ticks {
        qint64 busy = 0;
        qint64 all = 0;
        qint64 process = 0;
    };

    bool readTicks(Ticks* ticks) const;
    bool takeSampleLocked();

    const ReadFile m_readFile;
    const std::function<Clock::time_point()> m_now;
    std::mutex m_lock;  // guards the members below
    bool m_hasSample = false;
    Clock::time_point m_sampled;
    SysAndProcRCInfo m_last;
    Ticks m_ticks;
};

#include "suspend_watch.h"

#include <ctime>

#include <QDateTime>
#include <algorithm>
#include <utility>

#include "data_log.h"
#include "data_stores.h"
#include "never_destroyed.h"
#include "shared_values.h"
#include "vocabulary/values.h"

namespace {

using Time = SuspendWatch::Time;

constexpr std::chrono::seconds kShortest{1};

Time read(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

SuspendWatch::Clocks machineClocks() {
    return {[] { return read(CLOCK_BOOTTIME); }, [] { return read(CLOCK_MONOTONIC); }};
}

}  // namespace

SuspendWatch& SuspendWatch::instance() {
    return neverDestroyed([] { return new SuspendWatch(machineClocks(), DataStores::board()); });
}

SuspendWatch::SuspendWatch(Clocks clocks, SharedValues& board)
    : m_board(board), m_clocks(std::move(clocks)) {
    start();
}

void SuspendWatch::start() {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_known = readLocked().atMost;
}

void SuspendWatch::setClocks(Clocks clocks) {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_clocks = std::move(clocks);
    m_known = readLocked().atMost;
}

SuspendWatch::Slept SuspendWatch::readLocked() const {
    const Time before = m_clocks.monotonic();
    const Time boot = m_clocks.boot();
    const Time after = m_clocks.monotonic();
    return {boot - after, boot - before};
}

bool SuspendWatch::check() {
    // Held to the end, so that no second caller returns before the board has the values.
    const std::lock_guard<std::mutex> guard(m_lock);
    const Slept slept = readLocked();
    const Time asleep = slept.atLeast - m_known;
    if (asleep < kShortest) {
        // A thread that is held up between the clocks makes the upper limit too large.
        m_known = std::min(m_known, slept.atMost);
        return false;
    }
    m_known = slept.atMost;
    const qint64 ms = std::chrono::duration_cast<std::chrono::milliseconds>(asleep).count();
    const QDateTime now = QDateTime::currentDateTime();
    qCInfo(lcPlatformData) << "the machine was suspended for" << ms << "ms";
    // The resume last: a reader that sees it clears both.
    m_board.set(ClientErrorType::ComputerSuspend, now.addMSecs(-ms));
    m_board.set(ClientErrorType::ComputerResume, now);
    return true;
}

#include "lock_rank.h"

#include <QtDebug>
#include <algorithm>
#include <array>
#include <iterator>
#include <type_traits>

#ifdef QT_NO_DEBUG

bool HeldLocks::any() {
    return false;
}

#else

namespace {

// More than there are ranks, and a thread holds each rank at most once.
constexpr int kMostHeld = 64;

struct Held {
    LockRank rank = LockRank::FirstLoad;
    const char* name = nullptr;
};

/// Needs no destructor, since destructors of static objects take locks too, after the destructors
/// of the main thread's own variables have run.
struct HeldByThread {
    std::array<Held, kMostHeld> locks;
    int count = 0;

    auto begin() { return locks.begin(); }
    auto end() { return locks.begin() + count; }
};

HeldByThread& heldByThisThread() {
    thread_local HeldByThread held;
    static_assert(std::is_trivially_destructible_v<HeldByThread>);
    return held;
}

}  // namespace

void HeldLocks::taken(LockRank rank, const char* name) {
    HeldByThread& held = heldByThisThread();
    const auto inner = std::find_if(held.begin(), held.end(),
                                    [rank](const Held& lock) { return lock.rank >= rank; });
    if (inner != held.end()) {
        qFatal("lock order: %s taken while %s is held", name, inner->name);
    }
    if (held.count == kMostHeld) {
        qFatal("lock order: %s taken while %d locks are held", name, kMostHeld);
    }
    held.locks.at(static_cast<size_t>(held.count++)) = {rank, name};
}

void HeldLocks::released(LockRank rank) {
    HeldByThread& held = heldByThisThread();
    const auto lock = std::find_if(held.begin(), held.end(),
                                   [rank](const Held& one) { return one.rank == rank; });
    if (lock != held.end()) {
        std::move(std::next(lock), held.end(), lock);
        --held.count;
    }
}

bool HeldLocks::any() {
    return heldByThisThread().count > 0;
}

#endif

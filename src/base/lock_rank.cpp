#include "lock_rank.h"

#include <QtDebug>
#include <algorithm>
#include <vector>

#ifdef QT_NO_DEBUG

bool HeldLocks::any() {
    return false;
}

#else

namespace {

struct Held {
    LockRank rank;
    const char* name;
};

std::vector<Held>& heldByThisThread() {
    thread_local std::vector<Held> held;
    return held;
}

}  // namespace

void HeldLocks::taken(LockRank rank, const char* name) {
    auto& held = heldByThisThread();
    const auto inner = std::find_if(held.cbegin(), held.cend(),
                                    [rank](const Held& lock) { return lock.rank >= rank; });
    if (inner != held.cend()) {
        qFatal("lock order: %s taken while %s is held", name, inner->name);
    }
    held.push_back({rank, name});
}

void HeldLocks::released(LockRank rank) {
    auto& held = heldByThisThread();
    const auto last = std::find_if(held.crbegin(), held.crend(),
                                   [rank](const Held& lock) { return lock.rank == rank; });
    if (last != held.crend()) {
        held.erase(std::next(last).base());
    }
}

bool HeldLocks::any() {
    return !heldByThisThread().empty();
}

#endif

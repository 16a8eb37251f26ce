#pragma once

#include <atomic>
#include <cstdint>

/// The call stack of a crash, the innermost frame first. Filled by one thread; a walk that is cut
/// short leaves the frames that it found.
struct CrashStack {
    static constexpr int kMostFrames = 128;

    std::uintptr_t frames[kMostFrames] = {};
    std::atomic<int> count{0};
};

/// Walks the stack of a signal handler's third argument; of the caller itself when it is null. In a
/// signal handler only after a first call outside of one, in which the unwinder sets itself up.
void walkStack(void* context, CrashStack* stack);

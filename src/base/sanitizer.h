#pragma once

// The thread sanitizer does not see the futexes inside Qt's locks and event queues. These two
// functions mark a hand-over between threads for it; in every other build they do nothing.
#ifdef __SANITIZE_THREAD__
extern "C" void __tsan_acquire(void* address);
extern "C" void __tsan_release(void* address);
inline void sanitizerAcquire(const void* address) {
    __tsan_acquire(const_cast<void*>(address));
}
inline void sanitizerRelease(const void* address) {
    __tsan_release(const_cast<void*>(address));
}
#else
inline void sanitizerAcquire(const void*) {}
inline void sanitizerRelease(const void*) {}
#endif

#include "crash_kinds.h"

#include <cstdlib>

namespace {

inline const QString kSegv = QStringLiteral("segv");
inline const QString kAbort = QStringLiteral("abort");
inline const QString kStackOverflow = QStringLiteral("stack-overflow");

/// Each call takes a page of the stack. It would end at a negative depth, which the compiler cannot
/// rule out.
int fallDeeper(volatile int* depth) {
    constexpr int kBytes = 4096;
    volatile char page[kBytes];
    page[0] = static_cast<char>(*depth);
    volatile int next = *depth;
    return *depth < 0 ? 0 : fallDeeper(&next) + page[0];
}

}  // namespace

QStringList CrashKinds::names() {
    return {kSegv, kAbort, kStackOverflow};
}

void CrashKinds::crash(const QString& name) {
    if (name == kSegv) {
        // Both volatile, or an optimizing compiler leaves the access out.
        volatile int* volatile nowhere = nullptr;
        *nowhere = 1;  // NOLINT(clang-analyzer-core.NullDereference): this is the crash
    } else if (name == kAbort) {
        std::abort();
    } else if (name == kStackOverflow) {
        volatile int depth = 1;
        depth = fallDeeper(&depth);
    }
}

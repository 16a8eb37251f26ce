// QThread::wait() returns while the thread is still on its last instructions, and what Qt keeps for
// such a thread then looks like a leak to a check at the end of the process. The test framework has
// a thread of its own that ends just before. So the end of the process waits a moment for threads
// that are ending; one that goes on running is not waited for.
#ifdef __SANITIZE_ADDRESS__

#include <QDir>
#include <QString>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace {

bool hasOtherThreads() {
    return QDir(QStringLiteral("/proc/self/task"))
               .entryList(QDir::Dirs | QDir::NoDotAndDotDot)
               .size() > 1;
}

void awaitEndingThreads() {
    constexpr std::chrono::milliseconds kLimit(200);
    constexpr std::chrono::milliseconds kStep(1);
    for (auto waited = kStep; waited <= kLimit && hasOtherThreads(); waited += kStep) {
        std::this_thread::sleep_for(kStep);
    }
}

// Registered after the check's own handler, so it runs before it.
const int s_registered = std::atexit(awaitEndingThreads);

}  // namespace

#endif

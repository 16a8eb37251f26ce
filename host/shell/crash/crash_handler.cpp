#include "crash_handler.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QtDebug>
#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <ctime>

#include "crash_report.h"
#include "crash_stack.h"
#include "signal_stack.h"

namespace {

constexpr std::array<int, 5> kSignals{SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL};
/// A handler that waits for a lock, such as that of the list of libraries, ends with the process.
constexpr unsigned kMostSeconds = 10;

enum class Stage { Idle, Walking, Writing };

// What the handler uses. Reports are never freed: a handler on another thread may use the last one.
std::atomic<const CrashReport*> s_report{nullptr};
std::atomic<pid_t> s_crashedThread{0};
std::atomic<Stage> s_stage{Stage::Idle};
CrashStack s_stack;
CrashFacts s_facts;
// Written by the main thread alone.
CrashReport::Places s_places;

template <class... Values>
constexpr bool areLockFree() {
    return (std::atomic<Values>::is_always_lock_free && ...);
}
static_assert(areLockFree<const CrashReport*, pid_t, Stage, int>(),
              "a signal handler must not take a lock");

std::int64_t msSinceEpoch() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

void endBy(int number) {
    std::signal(number, SIG_DFL);
    std::raise(number);
    _exit(128 + number);
}

void beginReport(int number, const siginfo_t* info, pid_t thread) {
    std::signal(SIGALRM, SIG_DFL);
    alarm(kMostSeconds);
    s_facts.signal = number;
    s_facts.msSinceEpoch = msSinceEpoch();
    s_facts.processId = getpid();
    s_facts.threadId = thread;
    // A signal that was sent has no address.
    s_facts.address = info->si_code > 0 ? reinterpret_cast<std::uintptr_t>(info->si_addr) : 0;
}

/// Runs on the crashed thread, on its signal stack. The signals are not blocked meanwhile, so that
/// a walk over a damaged stack that itself crashes comes here again and writes what it has found.
extern "C" void velmarTakeCrash(int number, siginfo_t* info, void* context) {
    const auto thread = static_cast<pid_t>(syscall(SYS_gettid));
    pid_t crashed = 0;
    if (s_crashedThread.compare_exchange_strong(crashed, thread)) {
        beginReport(number, info, thread);
        s_stage = Stage::Walking;
        walkStack(context, &s_stack);
    } else if (crashed != thread) {
        for (;;) {
            pause();  // the thread that came first ends the process
        }
    } else if (s_stage != Stage::Walking) {
        endBy(number);
    }
    s_stage = Stage::Writing;
    s_facts.frames = s_stack.frames;
    s_facts.frameCount = s_stack.count;
    if (const CrashReport* const report = s_report) {
        report->write(s_facts);
    }
    endBy(s_facts.signal);
}

std::int64_t utcOffset() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return local.tm_gmtoff;
}

std::string folderOf(const QString& folder) {
    if (!QDir().mkpath(folder)) {
        qWarning() << "no folder for crash reports:" << folder;
    }
    return QFile::encodeName(QDir::cleanPath(folder)).toStdString();
}

}  // namespace

bool CrashHandler::isAvailable() {
#ifdef VELMAR_UNWIND
    return true;
#else
    return false;
#endif
}

void CrashHandler::install(const QString& dumpFolder, const QString& logFolder) {
    if (!isAvailable()) {
        return;
    }
    s_places.dumpFolder = folderOf(dumpFolder);
    s_places.logFolder = folderOf(logFolder);
    s_report = new CrashReport(s_places, ModuleMap({}));
    refresh();
    SignalStack::provide();
    // The unwinder sets itself up at its first use, which is not for a signal handler.
    walkStack(nullptr, &s_stack);
    struct sigaction action {};
    action.sa_sigaction = velmarTakeCrash;
    action.sa_flags = static_cast<int>(SA_SIGINFO | SA_ONSTACK | SA_NODEFER);
    sigemptyset(&action.sa_mask);
    for (const int number : kSignals) {
        if (sigaction(number, &action, nullptr) != 0) {
            qWarning() << "crashes are not reported:" << crashSignalName(number);
        }
    }
}

void CrashHandler::refresh() {
    if (!s_report) {
        return;
    }
    s_places.utcOffset = utcOffset();
    s_report = new CrashReport(s_places, ModuleMap::ofProcess());
}

#include "interrupt_watch.h"

#include <fcntl.h>
#include <unistd.h>

#include <QtDebug>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <utility>

namespace {

// The signal handler touches nothing but these two plain descriptors and the flag. It runs on any
// thread.
int s_ends[2] = {-1, -1};
std::atomic<bool> s_come{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler must not take a lock");

constexpr std::array<int, 2> kSignals{SIGINT, SIGTERM};
constexpr char kSignalled = 's';
constexpr char kEnd = 'e';

void send(char byte) {
    const ssize_t written = write(s_ends[1], &byte, 1);
    static_cast<void>(written);
}

extern "C" void velmarTakeSignal(int) {
    const int before = errno;
    s_come = true;
    send(kSignalled);
    errno = before;
}

}  // namespace

InterruptWatch::InterruptWatch(std::function<void()> onInterrupt, QObject* parent)
    : QObject(parent), m_onInterrupt(std::move(onInterrupt)) {
    s_come = false;
    if (pipe2(s_ends, O_CLOEXEC) != 0) {
        qWarning("no pipe for signals: Ctrl-C ends the process without a shut-down");
        return;
    }
    m_thread = std::thread([this] { listen(); });
    struct sigaction action {};
    action.sa_handler = velmarTakeSignal;
    // The default action returns with the first signal, so that a second one ends the process.
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    for (const int number : kSignals) {
        sigaction(number, &action, nullptr);
    }
}

InterruptWatch::~InterruptWatch() {
    if (!m_thread.joinable()) {
        return;
    }
    for (const int number : kSignals) {
        std::signal(number, SIG_DFL);
    }
    send(kEnd);
    m_thread.join();
    for (int& end : s_ends) {
        close(end);
        end = -1;
    }
}

bool InterruptWatch::hasCome() {
    return s_come;
}

void InterruptWatch::listen() {
    for (;;) {
        char byte = kEnd;
        const ssize_t count = read(s_ends[0], &byte, 1);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count != 1 || byte == kEnd) {
            return;
        }
        if (m_onInterrupt) {
            m_onInterrupt();
        }
        emit interrupted();
    }
}

#include "interrupt_watch.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <QtDebug>
#include <cerrno>
#include <csignal>

namespace {

// What the signal handler may touch: two plain descriptors and a flag.
int s_ends[2] = {-1, -1};
volatile std::sig_atomic_t s_come = 0;

constexpr int kSignals[] = {SIGINT, SIGTERM};

extern "C" void velmarTakeSignal(int) {
    const int before = errno;
    s_come = 1;
    const char byte = 1;
    // A full pipe is fine: there is a byte in it then.
    const ssize_t written = write(s_ends[1], &byte, 1);
    static_cast<void>(written);
    errno = before;
}

}  // namespace

InterruptWatch::InterruptWatch(QObject* parent) : QObject(parent) {
    s_come = 0;
    if (pipe2(s_ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        qWarning("no pipe for signals: Ctrl-C ends the client at once");
        return;
    }
    m_notifier = new QSocketNotifier(s_ends[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { drain(); });
    struct sigaction action {};
    action.sa_handler = velmarTakeSignal;
    // The default comes back with the first signal, so that a second one always ends the process.
    action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    for (const int number : kSignals) {
        sigaction(number, &action, nullptr);
    }
}

InterruptWatch::~InterruptWatch() {
    if (!m_notifier) {
        return;
    }
    for (const int number : kSignals) {
        std::signal(number, SIG_DFL);
    }
    delete m_notifier;
    for (int& end : s_ends) {
        close(end);
        end = -1;
    }
}

bool InterruptWatch::hasCome() {
    return s_come != 0;
}

void InterruptWatch::drain() {
    char bytes[16];
    while (read(s_ends[0], bytes, sizeof(bytes)) > 0) {
    }
    emit interrupted();
}

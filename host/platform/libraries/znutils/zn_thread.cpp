#include "znutils/zn_thread.h"

#include <chrono>

#include "message_log.h"
#include "signal_stack.h"
#include "thread_hand_over.h"
#include "thread_registry.h"

namespace {

constexpr std::chrono::seconds kLastWait{5};

}  // namespace

ZnThread::ZnThread(QObject* parent) : QThread(parent) {
    // On the new thread itself, before and after run().
    connect(
        this, &QThread::started, this,
        [this] {
            SignalStack::provide();
            if (ThreadRegistry::instance().isClosing()) {
                requestEnd();
            }
        },
        Qt::DirectConnection);
    connect(
        this, &QThread::finished, this, [this] { handOverRelease(this); }, Qt::DirectConnection);
    ThreadRegistry::instance().enrol(this);
}

ZnThread::~ZnThread() {
    withdraw();
    if (!isRunning()) {
        handOverAcquire(this);
        return;
    }
    qCCritical(lcHost) << "thread" << objectName() << "is destroyed while it runs";
    ZnThread::requestEnd();
    if (QThread::currentThread() != this) {
        wait(QDeadlineTimer(kLastWait));
    }
}

void ZnThread::start(Priority priority) {
    // To a thread that ends this one and finds it running.
    handOverRelease(this);
    QThread::start(priority);
}

bool ZnThread::wait(QDeadlineTimer deadline) {
    const bool hasEnded = QThread::wait(deadline);
    if (hasEnded) {
        handOverAcquire(this);
    }
    return hasEnded;
}

void ZnThread::requestEnd() {
    requestInterruption();
    quit();
}

void ZnThread::withdraw() {
    ThreadRegistry::instance().withdraw(this);
}

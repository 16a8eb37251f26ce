#include "main_loop_gate.h"

#include <QEventLoop>
#include <QTimer>

void MainLoopGate::wake() {
    // Queued: emitted from the main thread's loop, whichever thread calls.
    QMetaObject::invokeMethod(this, "woken", Qt::QueuedConnection);
}

bool MainLoopGate::waitUntil(const std::function<bool()>& done, int limitMs) {
    QEventLoop loop;
    QTimer limit;
    bool over = false;
    limit.setSingleShot(true);
    connect(this, &MainLoopGate::woken, &loop, &QEventLoop::quit);
    connect(&limit, &QTimer::timeout, &loop, [&] {
        over = true;
        loop.quit();
    });
    if (limitMs >= 0) {
        limit.start(limitMs);
    }
    while (!done()) {
        if (over) {
            return false;
        }
        loop.exec();
    }
    return true;
}

#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <chrono>
#include <condition_variable>
#include <mutex>

/// Waits until `predicate` holds, at most `limitMs`, and returns its last result, so a test writes
/// `QVERIFY(waitFor(...))`. The tested code does not signal the condition, so it is polled every
/// millisecond; on the application's thread queued calls run in between, since the condition may
/// depend on them. The predicate must be safe on the calling thread.
template <class Predicate>
bool waitFor(Predicate predicate, int limitMs = 5000) {
    std::mutex mutex;
    std::condition_variable never;
    std::unique_lock<std::mutex> lock(mutex);
    QElapsedTimer timer;
    timer.start();
    while (!predicate()) {
        if (timer.elapsed() > limitMs) {
            return predicate();
        }
        const QCoreApplication* const app = QCoreApplication::instance();
        if (app && app->thread() == QThread::currentThread()) {
            QCoreApplication::processEvents();
        }
        never.wait_for(lock, std::chrono::milliseconds(1));
    }
    return true;
}

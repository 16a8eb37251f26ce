#pragma once

#include <QObject>
#include <functional>

/// Lets the main thread wait for another thread's work while its own event loop runs.
class MainLoopGate : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// Makes the waiting thread check its condition again. Any thread, while this object lives.
    void wake();
    /// Returns whether `done` became true within `limitMs` (negative: no limit). `done` is called
    /// at the start and after each wake(). Main thread only.
    bool waitUntil(const std::function<bool()>& done, int limitMs);

signals:
    void woken();
};

#pragma once

#include <QObject>
#include <functional>

/// Lets the main thread wait for something that another thread does, with its event loop running.
class MainLoopGate : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// Makes the waiting thread look again. Any thread, while this object lives.
    void wake();
    /// Returns whether `done` became true in time; no limit when `limitMs` is negative. `done` is
    /// asked at first and after each wake(). The main thread's.
    bool waitUntil(const std::function<bool()>& done, int limitMs);

signals:
    void woken();
};

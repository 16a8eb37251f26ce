#pragma once

#include <QObject>
#include <functional>
#include <thread>

/// Reports the first SIGINT or SIGTERM; a second one ends the process at once, as it would without
/// this object. One instance at a time, created and deleted on the main thread.
class InterruptWatch : public QObject {
    Q_OBJECT

public:
    /// `onInterrupt` is called on the watch's own thread, so it also runs while the main thread is
    /// blocked. It must be safe on any thread, and may be empty.
    explicit InterruptWatch(std::function<void()> onInterrupt = {}, QObject* parent = nullptr);
    ~InterruptWatch() override;

    /// True from the moment the signal arrives, before interrupted() is delivered. Any thread.
    static bool hasCome();

signals:
    /// Emitted on the watch's own thread, so a receiver's slot runs from its event loop.
    void interrupted();

private:
    void listen();

    const std::function<void()> m_onInterrupt;
    std::thread m_thread;
};

#pragma once

#include <QObject>

class QSocketNotifier;

/// Turns the first SIGINT or SIGTERM into a signal of Qt. A second one ends the process at once, as
/// without this object. One at a time; made and deleted on the main thread.
class InterruptWatch : public QObject {
    Q_OBJECT

public:
    explicit InterruptWatch(QObject* parent = nullptr);
    ~InterruptWatch() override;

    /// Whether one has come, even before an event loop could tell.
    static bool hasCome();

signals:
    void interrupted();

private:
    void drain();

    QSocketNotifier* m_notifier = nullptr;
};

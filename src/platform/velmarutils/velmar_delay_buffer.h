#pragma once

#include <QList>
#include <QObject>
#include <QVariant>
#include <mutex>

#include "platform_export.h"

class QTimer;

/// Collects items and signals once, the given delay after the first of them. Any thread may append
/// and take; the signal comes on the thread that the buffer lives on.
class PLATFORM_API VelmarDelayBuffer : public QObject {
    Q_OBJECT

public:
    /// `delayMs` in milliseconds.
    VelmarDelayBuffer(QObject* parent, int delayMs);
    ~VelmarDelayBuffer() override;

    void AppendItem(const QVariant& item);
    /// Removes and returns the collected items; a second call returns an empty list.
    QList<QVariant> GetBufferItems();

signals:
    void bufferTimeOut();

private:
    void timeOut();

    const int m_delayMs;
    QTimer* const m_timer;
    int m_timedRun = 0;  // the run for which the timer was started; own thread only
    std::mutex m_lock;   // guards the members below
    QList<QVariant> m_items;
    bool m_armed = false;
    int m_run = 0;  // counts the first items after an empty buffer
};

#include "velmarutils/velmar_delay_buffer.h"

#include <QPointer>
#include <QThread>
#include <QTimer>
#include <algorithm>

#include "thread_hand_over.h"

VelmarDelayBuffer::VelmarDelayBuffer(QObject* parent, int delayMs)
    : m_delayMs(std::max(delayMs, 0)), m_timer(new QTimer(this)) {
    m_timer->setSingleShot(true);
    m_timer->setTimerType(Qt::PreciseTimer);
    connect(m_timer, &QTimer::timeout, this, &VelmarDelayBuffer::timeOut);
    if (!parent || parent->thread() == thread()) {
        setParent(parent);
        return;
    }
    // QObject refuses a parent on another thread, so the object moves there first.
    moveToThread(parent->thread());
    runOnThreadOf(parent, [parent, self = QPointer<VelmarDelayBuffer>(this)]() {
        if (self) {
            self->setParent(parent);
        }
    });
}

VelmarDelayBuffer::~VelmarDelayBuffer() = default;

void VelmarDelayBuffer::AppendItem(const QVariant& item) {
    int run = 0;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_items.append(item);
        if (m_armed) {
            return;
        }
        m_armed = true;
        run = ++m_run;
    }
    runOnThreadOf(this, [this, run]() {
        m_timedRun = run;
        m_timer->start(m_delayMs);
    });
}

QList<QVariant> VelmarDelayBuffer::GetBufferItems() {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_armed = false;
    QList<QVariant> items;
    items.swap(m_items);
    return items;
}

void VelmarDelayBuffer::timeOut() {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        // Taking items out early ends their delay. Items that came later have a start of their own,
        // which may still be queued.
        if (!m_armed || m_timedRun != m_run) {
            return;
        }
        m_armed = false;
    }
    emit bufferTimeOut();
}

#pragma once

#include <QRunnable>
#include <QThreadPool>

#include "sanitizer.h"

/// Tasks of a pool that one caller starts and waits for, with both hand-overs marked for the thread
/// sanitizer, which does not see the locks inside the pool: what the caller wrote before start() is
/// seen by the task, and what the tasks wrote is seen after waitForDone().
class PoolTasks {
public:
    explicit PoolTasks(QThreadPool& pool) : m_pool(pool) {}
    /// Waits for the tasks that were started.
    ~PoolTasks() { waitForDone(); }
    Q_DISABLE_COPY(PoolTasks)

    /// Starts the task, with the priority 0; the pool deletes it after run() when its autoDelete()
    /// says so.
    void start(QRunnable* task) {
        auto* const handedOver = new HandedOver(*this, task);
        sanitizerRelease(handedOver);
        m_pool.start(handedOver, 0);
    }

    /// Blocks without limit, until every task of the pool has ended.
    void waitForDone() {
        m_pool.waitForDone(-1);
        sanitizerAcquire(this);
    }

private:
    class HandedOver : public QRunnable {
    public:
        HandedOver(const PoolTasks& tasks, QRunnable* task) : m_tasks(tasks), m_task(task) {}

        void run() override {
            sanitizerAcquire(this);
            m_task->run();
            if (m_task->autoDelete()) {
                delete m_task;
            }
            sanitizerRelease(&m_tasks);
        }

    private:
        const PoolTasks& m_tasks;
        QRunnable* const m_task;
    };

    QThreadPool& m_pool;
};

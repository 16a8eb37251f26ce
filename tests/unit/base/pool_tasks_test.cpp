#include "pool_tasks.h"

#include <QtTest>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

namespace {

/// Adds its number at its place, and counts its own deletion.
class NumberTask : public QRunnable {
public:
    NumberTask(std::vector<int>* numbers, size_t place, std::atomic<int>* deleted)
        : m_numbers(numbers), m_place(place), m_deleted(deleted) {}
    ~NumberTask() override { ++*m_deleted; }
    Q_DISABLE_COPY(NumberTask)

    void run() override { (*m_numbers)[m_place] += static_cast<int>(m_place) + 1; }

private:
    std::vector<int>* const m_numbers;
    const size_t m_place;
    std::atomic<int>* const m_deleted;
};

/// Blocks its waiters until it is opened.
class Gate {
public:
    void open() {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_isOpen = true;
        m_opened.notify_all();
    }
    void wait() {
        std::unique_lock<std::mutex> guard(m_lock);
        m_opened.wait(guard, [this] { return m_isOpen; });
    }

private:
    std::mutex m_lock;
    std::condition_variable m_opened;
    bool m_isOpen = false;
};

class FunctionTask : public QRunnable {
public:
    explicit FunctionTask(std::function<void()> function) : m_function(std::move(function)) {}
    void run() override { m_function(); }

private:
    const std::function<void()> m_function;
};

}  // namespace

class PoolTasksTest : public QObject {
    Q_OBJECT

private slots:
    void tasks_allRunOnce_andTheirWorkIsSeenAfterTheWait() {
        QThreadPool pool;
        pool.setMaxThreadCount(4);
        PoolTasks tasks(pool);
        std::vector<int> numbers(100);
        std::atomic<int> deleted{0};
        for (size_t place = 0; place < numbers.size(); ++place) {
            tasks.start(new NumberTask(&numbers, place, &deleted));
        }
        tasks.waitForDone();
        for (size_t place = 0; place < numbers.size(); ++place) {
            QCOMPARE(numbers[place], static_cast<int>(place) + 1);
        }
        QCOMPARE(deleted.load(), 100);
    }

    void task_withoutAutoDelete_staysItsOwners() {
        QThreadPool pool;
        std::vector<int> numbers(1);
        std::atomic<int> deleted{0};
        {
            NumberTask task(&numbers, 0, &deleted);
            task.setAutoDelete(false);
            PoolTasks tasks(pool);
            for (int run = 1; run <= 2; ++run) {
                tasks.start(&task);
                tasks.waitForDone();
                QCOMPARE(numbers[0], run);
            }
            QCOMPARE(deleted.load(), 0);
        }
        QCOMPARE(deleted.load(), 1);
    }

    void tasks_goOutOfScope_areWaitedFor() {
        QThreadPool pool;
        pool.setMaxThreadCount(1);
        std::vector<int> numbers(3);
        std::atomic<int> deleted{0};
        {
            PoolTasks tasks(pool);
            for (size_t place = 0; place < numbers.size(); ++place) {
                tasks.start(new NumberTask(&numbers, place, &deleted));
            }
        }
        QCOMPARE(numbers, (std::vector<int>{1, 2, 3}));
        QCOMPARE(deleted.load(), 3);
    }

    void tasks_ofOnePool_runSideBySide() {
        QThreadPool pool;
        pool.setMaxThreadCount(2);
        PoolTasks tasks(pool);
        Gate first;
        Gate second;
        // Each waits for the other.
        tasks.start(new FunctionTask([&] {
            first.open();
            second.wait();
        }));
        tasks.start(new FunctionTask([&] {
            second.open();
            first.wait();
        }));
        tasks.waitForDone();
        QCOMPARE(pool.activeThreadCount(), 0);
    }

    void tasks_waitedForTwice_orNeverStarted_returnAtOnce() {
        QThreadPool pool;
        PoolTasks tasks(pool);
        tasks.waitForDone();
        std::vector<int> numbers(1);
        std::atomic<int> deleted{0};
        tasks.start(new NumberTask(&numbers, 0, &deleted));
        tasks.waitForDone();
        tasks.waitForDone();
        QCOMPARE(numbers[0], 1);
    }
};

QTEST_GUILESS_MAIN(PoolTasksTest)
#include "pool_tasks_test.moc"

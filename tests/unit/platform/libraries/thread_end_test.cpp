#include <QCoreApplication>
#include <QFile>
#include <QTextStream>
#include <QtTest>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "child_process.h"
#include "data_stores.h"
#include "log_capture.h"
#include "platform_fixture.h"
#include "znbusinessdata/c_db_work_info_manager.h"
#include "znutils/zn_thread.h"

namespace {

inline const QString kChildMark = QStringLiteral("--child");

/// A condition that threads wait for.
class Signal {
public:
    void set() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isSet = true;
        m_changed.notify_all();
    }
    void wait() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_isSet; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isSet = false;
};

/// Waits to be asked to end, then runs `last`.
class WaitingThread : public ZnThread {
public:
    explicit WaitingThread(std::function<void()> last = {}) : m_last(std::move(last)) {}
    ~WaitingThread() override {
        withdraw();
        requestEnd();
        wait();
    }

    void requestEnd() override {
        ++requests;
        m_end.set();
    }

    std::atomic<int> requests{0};

protected:
    void run() override {
        m_end.wait();
        if (m_last) {
            m_last();
        }
    }

private:
    const std::function<void()> m_last;
    Signal m_end;
};

/// Runs a function, whatever it is asked.
class StubbornThread : public ZnThread {
public:
    explicit StubbornThread(std::function<void()> work) : m_work(std::move(work)) {}
    ~StubbornThread() override {
        withdraw();
        wait();
    }

protected:
    void run() override { m_work(); }

private:
    const std::function<void()> m_work;
};

class LoopThread : public ZnThread {
public:
    ~LoopThread() override {
        withdraw();
        wait();
    }

protected:
    void run() override { exec(); }
};

/// Its owner forgets to end it.
class ForgottenThread : public ZnThread {
public:
    explicit ForgottenThread(Signal& entered) : m_entered(entered) {}

protected:
    void run() override {
        m_entered.set();
        QThread* const self = QThread::currentThread();
        while (!self->isInterruptionRequested()) {
            QThread::yieldCurrentThread();
        }
    }

private:
    Signal& m_entered;
};

int destroyARunningThread() {
    Signal entered;
    {
        ForgottenThread thread(entered);
        thread.setObjectName("forgotten");
        thread.start();
        entered.wait();
    }
    QTextStream(stdout) << "survived\n";
    return 0;
}

}  // namespace

class ThreadEndTest : public QObject {
    Q_OBJECT

private slots:
    void closing_endsAndJoinsEveryRunningThread() {
        PlatformFixture platform;
        LoopThread loop;
        WaitingThread waiting;
        loop.start();
        waiting.start();
        LocalPlatform::instance().close();
        QVERIFY(loop.isFinished() && waiting.isFinished());
        QVERIFY(waiting.requests >= 1);
    }

    void threadThatEnds_stillWritesToTheWorkDatabase() {
        PlatformFixture platform;
        std::atomic<int> changed{0};
        WaitingThread writer([&changed] {
            auto* const database = CDBWorkInfoManager::getInstance();
            changed = database->executeUpdate({"CREATE TABLE t(a)", "INSERT INTO t VALUES(1)"});
        });
        writer.start();
        LocalPlatform::instance().close();
        QCOMPARE(changed.load(), 1);
        QCOMPARE(DataStores::workDatabase().connectionCount(), 0);
        const LogCapture log;
        QCOMPARE(CDBWorkInfoManager::getInstance()->executeUpdate({"INSERT INTO t VALUES(2)"}), 0);
        QVERIFY(log.contains(QtWarningMsg, "the work database is not open"));
    }

    void threadThatEnds_hasClosedItsConnection_whenTheCloseReturns() {
        // A thread closes its connection after QThread::wait() has returned: many tries meet it.
        for (int round = 0; round < 30; ++round) {
            PlatformFixture platform;
            QString file;
            WaitingThread writer([&file] {
                auto* const database = CDBWorkInfoManager::getInstance();
                database->executeUpdate({"CREATE TABLE t(a)", "INSERT INTO t VALUES(1)"});
                file = DataStores::workDatabase().file();
            });
            writer.start();
            LocalPlatform::instance().close();
            // The last connection writes the journal to the file and removes it.
            QVERIFY(QFile::exists(file));
            QVERIFY(!QFile::exists(file + "-wal") && !QFile::exists(file + "-shm"));
        }
    }

    void threadThatWasLeft_isWaitedForAgain_afterTheNextStart() {
        Signal end;
        StubbornThread stubborn([&end] { end.wait(); });
        stubborn.start();
        const auto noWait = [](LocalPlatform::Options& options) { options.threadLimit = {}; };
        for (int round = 0; round < 2; ++round) {
            PlatformFixture platform(noWait);
            const LogCapture log;
            LocalPlatform::instance().close();
            QCOMPARE(log.texts(QtCriticalMsg).filter("does not end").size(), 1);
        }
        end.set();
    }

    void threadThatAPresenterUses_endsAfterThePresenter() {
        PlatformFixture platform;
        auto* const presenter = new ProbePresenter;
        std::atomic<bool> presenterIsGone{false};
        QObject::connect(
            presenter, &QObject::destroyed, presenter, [&] { presenterIsGone = true; },
            Qt::DirectConnection);
        presenter->initPresenter();
        std::atomic<bool> wasGone{false};
        WaitingThread thread([&] { wasGone = presenterIsGone.load(); });
        thread.start();
        LocalPlatform::instance().close();
        QVERIFY(wasGone);
    }

    void threadsThatDoNotRun_areLeftAlone() {
        PlatformFixture platform;
        WaitingThread neverStarted;
        StubbornThread finished([] {});
        finished.start();
        QVERIFY(finished.wait());
        LocalPlatform::instance().close();
        QCOMPARE(neverStarted.requests.load(), 0);
    }

    void threadThatStartsWhileThePlatformIsClosed_isAskedToEnd_untilTheNextStart() {
        PlatformFixture platform;
        LocalPlatform::instance().close();
        WaitingThread late;
        late.start();
        QVERIFY(late.wait());
        QCOMPARE(late.requests.load(), 1);
        LoopThread lateLoop;
        lateLoop.start();
        QVERIFY(lateLoop.wait());

        PlatformFixture next;
        WaitingThread thread;
        thread.start();
        QVERIFY(waitFor([&thread] { return thread.isRunning(); }));
        QCOMPARE(thread.requests.load(), 0);
    }

    void threadThatDoesNotEnd_isLoggedAndLeft() {
        PlatformFixture platform([](LocalPlatform::Options& options) { options.threadLimit = {}; });
        Signal end;
        StubbornThread stubborn([&end] { end.wait(); });
        stubborn.setObjectName("stubborn");
        stubborn.start();
        const LogCapture log;
        LocalPlatform::instance().close();
        LocalPlatform::instance().close();
        QVERIFY(stubborn.isRunning());
        QCOMPARE(log.texts(QtCriticalMsg).size(), 1);
        QVERIFY(log.contains(QtCriticalMsg, "thread \"stubborn\" does not end"));
        end.set();
    }

    void threadThatClosesThePlatform_doesNotWaitForItself() {
        PlatformFixture platform;
        WaitingThread other;
        other.start();
        StubbornThread closer([] { LocalPlatform::instance().close(); });
        closer.start();
        QVERIFY(closer.wait(QDeadlineTimer(5000)));
        QVERIFY(other.isFinished());
    }

    void threadThatDestroysAnotherOneAsItEnds_doesNotBlockTheClose() {
        PlatformFixture platform;
        auto inner = std::make_unique<WaitingThread>();
        inner->start();
        WaitingThread outer([&inner] { inner.reset(); });
        outer.start();
        LocalPlatform::instance().close();
        QVERIFY(outer.isFinished());
        QVERIFY(!inner);
    }

    void threadsMadeAndDestroyedWhileThePlatformCloses_allEnd() {
        for (int round = 0; round < 20; ++round) {
            PlatformFixture platform;
            std::atomic<bool> over{false};
            std::vector<std::thread> owners;
            for (int i = 0; i < 2; ++i) {
                owners.emplace_back([&over] {
                    while (!over) {
                        WaitingThread thread;
                        thread.start();
                        LoopThread loop;
                        loop.start();
                        loop.requestEnd();
                    }
                });
            }
            LocalPlatform::instance().close();
            over = true;
            for (std::thread& owner : owners) {
                owner.join();
            }
        }
    }

    void threadDestroyedWhileItRuns_isLogged_andEnded() {
        const ChildResult child = runChild(QCoreApplication::applicationFilePath(), {kChildMark});
        QVERIFY2(child.succeeded() && child.output.contains("survived"), qPrintable(child.output));
        QVERIFY2(child.output.contains("thread \"forgotten\" is destroyed while it runs"),
                 qPrintable(child.output));
    }
};

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (app.arguments().contains(kChildMark)) {
        return destroyARunningThread();
    }
    ThreadEndTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "thread_end_test.moc"

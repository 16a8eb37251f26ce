#include <QtTest>
#include <thread>
#include <vector>

#include "log_capture.h"
#include "wait_for.h"
#include "znutils/zn_mutex.h"

class LocksTest : public QObject {
    Q_OBJECT

private slots:
    void freeMutex_isLockedWithoutALine() {
        const LogCapture log;
        QMutex mutex;
        ZnMutex::lock(&mutex, "file.cpp", 12, "work");
        QVERIFY(!mutex.tryLock());
        ZnMutex::unlock(&mutex);
        QVERIFY(mutex.tryLock());
        mutex.unlock();
        QVERIFY(log.texts().isEmpty());
    }

    void takenMutex_isWaitedForWithALineThatNamesBoth() {
        const LogCapture log;
        QMutex mutex;
        int order = 0;
        int firstLeft = 0;
        int secondCame = 0;
        ZnMutex::lock(&mutex, "first.cpp", 1, "first");
        std::thread second([&]() {
            ZnMutex::lock(&mutex, "second.cpp", 22, "second");
            secondCame = ++order;
            ZnMutex::unlock(&mutex);
        });
        const bool logged = log.waitFor("second.cpp:22 second waits");
        firstLeft = ++order;
        ZnMutex::unlock(&mutex);
        second.join();
        QVERIFY(logged);
        QVERIFY(log.contains(QtDebugMsg, "held by first.cpp:1 first"));
        QCOMPARE(firstLeft, 1);
        QCOMPARE(secondCame, 2);
    }

    void counterUnderTheLock_losesNothing() {
        QMutex mutex;
        int counter = 0;
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&]() {
                for (int i = 0; i < 500; ++i) {
                    ZnMutex::lock(&mutex, "file.cpp", i, "count");
                    ++counter;
                    ZnMutex::unlock(&mutex);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(counter, 2000);
    }

    void nullMutex_isLogged() {
        const LogCapture log;
        ZnMutex::lock(nullptr, "file.cpp", 12, "work");
        ZnMutex::unlock(nullptr);
        QCOMPARE(log.texts(QtWarningMsg).size(), 2);
        QVERIFY(log.contains(QtWarningMsg, "file.cpp"));
    }
};

QTEST_GUILESS_MAIN(LocksTest)
#include "locks_test.moc"

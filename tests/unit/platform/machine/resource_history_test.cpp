#include "resource_history.h"

#include <QtTest>
#include <atomic>
#include <thread>
#include <vector>

#include "local_platform.h"
#include "log_capture.h"
#include "temp_home.h"
#include "velmarutils/velmar_system_monitor.h"

namespace {

QDateTime secondOfDay(int second) {
    return {QDate(2026, 3, 10), QTime(0, 0).addSecs(second)};
}

}  // namespace

/// The history, and the system monitor over it.
class ResourceHistoryTest : public QObject {
    Q_OBJECT

private slots:
    void init() { ResourceHistory::instance().clear(); }

    void update_replacesTheCurrentValueOfItsSlot() {
        ResourceHistory history;
        QVERIFY(!history.current(2).isValid());
        QVERIFY(history.update(2, 1.5));
        QVERIFY(history.update(2, 2.5));
        QVERIFY(history.update(0, "text"));
        QCOMPARE(history.current(2), QVariant(2.5));
        QCOMPARE(history.current(0), QVariant("text"));
        QVERIFY(history.samples(2).isEmpty());
    }

    void append_keepsTheLatestSamplesInOrder() {
        ResourceHistory history;
        for (int i = 0; i < ResourceHistory::mostSamples + 2; ++i) {
            QVERIFY(history.append(3, {secondOfDay(i), double(i)}));
        }
        const auto samples = history.samples(3);
        QCOMPARE(samples.size(), ResourceHistory::mostSamples);
        QCOMPARE(samples.first().value, 2.0);
        QCOMPARE(samples.first().time, secondOfDay(2));
        QCOMPARE(samples.last().value, double(ResourceHistory::mostSamples + 1));
        QVERIFY(history.samples(4).isEmpty());
        QVERIFY(!history.current(3).isValid());
    }

    void unknownSlot_isRefused() {
        ResourceHistory history;
        for (const int slot : {-1, ResourceHistory::slotCount, 1000}) {
            QVERIFY(!history.update(slot, 1));
            QVERIFY(!history.append(slot, {secondOfDay(0), 1}));
            QVERIFY(!history.current(slot).isValid());
            QVERIFY(history.samples(slot).isEmpty());
        }
    }

    void clear_removesEverything() {
        ResourceHistory history;
        QVERIFY(history.update(1, 1));
        QVERIFY(history.append(1, {secondOfDay(0), 1}));
        history.clear();
        QVERIFY(!history.current(1).isValid());
        QVERIFY(history.samples(1).isEmpty());
    }

    void manyThreads_loseNoSample() {
        ResourceHistory history;
        std::vector<std::thread> threads;
        std::atomic<bool> ended{false};
        std::thread reader([&] {
            while (!ended) {
                history.samples(5);
                history.current(5);
            }
        });
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&history] {
                for (int i = 0; i < 100; ++i) {
                    history.append(5, {secondOfDay(i), 1});
                    history.update(5, i);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        ended = true;
        reader.join();
        QCOMPARE(history.samples(5).size(), 400);
        QCOMPARE(history.current(5), QVariant(99));
    }

    void monitor_recordsInTheHistoryOfTheProcess() {
        VelmarSystemMonitor* const monitor = VelmarSystemMonitor::GetInstance();
        QCOMPARE(monitor->UpdateCurrentResourceData(8, 20), QString());
        monitor->AppendSysResourceUseStat(8, 20, secondOfDay(1));
        QCOMPARE(ResourceHistory::instance().current(8), QVariant(20));
        const auto samples = ResourceHistory::instance().samples(8);
        QCOMPARE(samples.size(), 1);
        QCOMPARE(samples.first().time, secondOfDay(1));
        QCOMPARE(samples.first().value, 20.0);
    }

    void monitor_unknownSlot_isAnErrorTextAndALogLine() {
        VelmarSystemMonitor* const monitor = VelmarSystemMonitor::GetInstance();
        const LogCapture log;
        QCOMPARE(monitor->UpdateCurrentResourceData(9, 1),
                 QString("the system monitor has no slot 9"));
        monitor->AppendSysResourceUseStat(-1, 1, secondOfDay(1));
        QVERIFY(log.contains(QtWarningMsg, "unknown slot -1"));
    }

    void startOfThePlatform_beginsWithoutAHistory() {
        QVERIFY(ResourceHistory::instance().update(2, 1));
        const TempHome home;
        QString error;
        QVERIFY2(LocalPlatform::instance().start(home.options(), &error), qPrintable(error));
        QVERIFY(!ResourceHistory::instance().current(2).isValid());
        LocalPlatform::instance().close();
    }
};

QTEST_GUILESS_MAIN(ResourceHistoryTest)
#include "resource_history_test.moc"

#include "suspend_watch.h"

#include <QtTest>
#include <atomic>
#include <thread>
#include <utility>
#include <vector>

#include "platform_fixture.h"
#include "shared_values.h"
#include "vocabulary/values.h"
#include "zncore/zn_core.h"

namespace {

using namespace std::chrono_literals;
using Time = SuspendWatch::Time;

/// The two clocks of a machine that sleeps when the test says so. Any thread.
class Machine {
public:
    void run(Time time) { m_awake += time.count(); }
    void sleep(Time time) { m_asleep += time.count(); }
    /// What runs between two readings of the clocks, once.
    std::function<void()> meanwhile;

    SuspendWatch::Clocks clocks() {
        return {[this] { return Time(m_awake + m_asleep); },
                [this] {
                    const Time now(m_awake);
                    if (const auto run = std::exchange(meanwhile, {})) {
                        run();
                    }
                    return now;
                }};
    }

private:
    std::atomic<qint64> m_awake{Time(1h).count()};
    std::atomic<qint64> m_asleep{Time(30min).count()};  // it slept before the client was started
};

}  // namespace

class SuspendWatchTest : public QObject {
    Q_OBJECT

    static bool isNoted(const SharedValues& board, const QString& key) {
        QVariant value;
        return board.get(key, value) && !value.isNull();
    }
    static bool isNoted(const SharedValues& board) {
        return isNoted(board, ClientErrorType::ComputerSuspend) &&
               isNoted(board, ClientErrorType::ComputerResume);
    }

private slots:
    void check_machineAwake_setsNothing() {
        Machine machine;
        SharedValues board;
        SuspendWatch watch(machine.clocks(), board);
        for (int i = 0; i < 100; ++i) {
            machine.run(1h);
            QVERIFY(!watch.check());
        }
        QVERIFY(!isNoted(board, ClientErrorType::ComputerSuspend));
        QVERIFY(!isNoted(board, ClientErrorType::ComputerResume));
    }

    void check_afterASleep_setsBothOnce() {
        Machine machine;
        SharedValues board;
        SuspendWatch watch(machine.clocks(), board);
        machine.run(10s);
        machine.sleep(2h);
        QVERIFY(watch.check());
        QVERIFY(isNoted(board));
        QVariant suspended;
        QVariant resumed;
        board.get(ClientErrorType::ComputerSuspend, suspended);
        board.get(ClientErrorType::ComputerResume, resumed);
        QCOMPARE(suspended.toDateTime().msecsTo(resumed.toDateTime()), 2 * 3600 * 1000LL);
        board.set(ClientErrorType::ComputerSuspend, QVariant());
        board.set(ClientErrorType::ComputerResume, QVariant());
        machine.run(10s);
        QVERIFY(!watch.check());
        QVERIFY(!isNoted(board, ClientErrorType::ComputerResume));
        machine.sleep(1min);
        QVERIFY(watch.check());
        QVERIFY(isNoted(board));
    }

    void check_sleepOfAroundASecond_countsFromOneSecond() {
        Machine machine;
        SharedValues board;
        SuspendWatch watch(machine.clocks(), board);
        machine.sleep(999ms);
        QVERIFY(!watch.check());
        machine.sleep(1ms);
        QVERIFY(watch.check());
    }

    void check_threadHeldUpBetweenTheClocks_isNoSleep() {
        Machine machine;
        SharedValues board;
        SuspendWatch watch(machine.clocks(), board);
        // The boot clock is read ten seconds after the first reading of the other one.
        machine.meanwhile = [&machine] { machine.run(10s); };
        QVERIFY(!watch.check());
        QVERIFY(!watch.check());
        // Nor does that delay hide a sleep of a few seconds later.
        machine.sleep(3s);
        QVERIFY(watch.check());
    }

    void start_threadHeldUp_isCorrectedByTheNextCheck() {
        Machine machine;
        SharedValues board;
        SuspendWatch watch(machine.clocks(), board);
        machine.meanwhile = [&machine] { machine.run(10s); };
        watch.start();
        QVERIFY(!watch.check());
        machine.sleep(3s);
        QVERIFY(watch.check());
    }

    void start_afterASleep_doesNotCountIt() {
        Machine machine;
        SharedValues board;
        SuspendWatch watch(machine.clocks(), board);
        machine.sleep(1h);
        watch.start();
        QVERIFY(!watch.check());
        QVERIFY(!isNoted(board, ClientErrorType::ComputerSuspend));
    }

    void check_clocksGoBack_setsNothing() {
        Machine machine;
        SharedValues board;
        SuspendWatch watch(machine.clocks(), board);
        machine.sleep(-10min);
        QVERIFY(!watch.check());
        machine.run(-10min);
        QVERIFY(!watch.check());
        QVERIFY(!isNoted(board, ClientErrorType::ComputerSuspend));
    }

    void check_ofSeveralThreads_eachReturnsWithTheKeysSet() {
        Machine machine;
        SharedValues board;
        SuspendWatch watch(machine.clocks(), board);
        machine.sleep(1h);
        std::atomic<int> noticed{0};
        std::atomic<int> unset{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&] {
                noticed += watch.check() ? 1 : 0;
                unset += isNoted(board) ? 0 : 1;
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(noticed.load(), 1);
        QCOMPARE(unset.load(), 0);
    }

    void machinesOwnClocks_onAMachineThatIsAwake_setNothing() {
        const PlatformFixture platform;
        QVERIFY(!SuspendWatch::instance().check());
        QVERIFY(!ZnCore::instance()->getCommonInfo(ClientErrorType::ComputerResume).isValid());
    }

    void board_readAfterASleep_hasTheResume() {
        const PlatformFixture platform;
        // The watch of the process outlives this case, and so do its clocks.
        static Machine machine;
        SuspendWatch::instance().setClocks(machine.clocks());
        const auto read = [](const QString& key) { return ZnCore::instance()->getCommonInfo(key); };
        QVERIFY(!read(ClientErrorType::ComputerResume).isValid());
        machine.sleep(1h);
        QVERIFY(!read(ClientErrorType::ComputerSuspend).isNull());
        QVERIFY(!read(ClientErrorType::ComputerResume).isNull());
        ZnCore::instance()->setCommonInfo(ClientErrorType::ComputerResume, QVariant());
        ZnCore::instance()->setCommonInfo(ClientErrorType::ComputerSuspend, QVariant());
        machine.run(1h);
        QVERIFY(read(ClientErrorType::ComputerResume).isNull());
        QVERIFY(read(ClientErrorType::ComputerSuspend).isNull());
    }
};

QTEST_GUILESS_MAIN(SuspendWatchTest)
#include "suspend_watch_test.moc"

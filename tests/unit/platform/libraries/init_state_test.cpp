#include <QtTest>
#include <atomic>
#include <thread>
#include <vector>

#include "local_platform.h"
#include "temp_home.h"
#include "velmarutils/velmar_init_state_mgr.h"

Q_DECLARE_METATYPE(InitState)

namespace {

VelmarInitStateMgr& manager() {
    return VelmarInitStateMgr::instance();
}

/// Brings a step into a state with the calls of a client.
void bringTo(InitState state) {
    if (state == InitState::None) {
        return;
    }
    manager().StartInit("step");
    if (state != InitState::Running) {
        manager().FinishInit("step", state != InitState::Failed,
                             state != InitState::DoneWithoutData);
    }
}

}  // namespace

class InitStateTest : public QObject {
    Q_OBJECT

private slots:
    void init() { QVERIFY(LocalPlatform::instance().start(m_home.options(), nullptr)); }

    void start_claimsAFreshStepOnly_data() {
        QTest::addColumn<InitState>("before");
        QTest::addColumn<bool>("claimed");
        QTest::addColumn<InitState>("after");
        QTest::newRow("none") << InitState::None << true << InitState::Running;
        QTest::newRow("running") << InitState::Running << false << InitState::Running;
        QTest::newRow("failed") << InitState::Failed << false << InitState::Failed;
        QTest::newRow("done without data")
            << InitState::DoneWithoutData << false << InitState::DoneWithoutData;
        QTest::newRow("done") << InitState::Done << false << InitState::Done;
    }

    void start_claimsAFreshStepOnly() {
        QFETCH(InitState, before);
        bringTo(before);
        QCOMPARE(manager().GetInitState("step"), before);
        QTEST(manager().StartInit("step"), "claimed");
        QTEST(manager().GetInitState("step"), "after");
    }

    void finish_setsTheStateWhateverItWas_data() {
        QTest::addColumn<InitState>("before");
        QTest::addColumn<bool>("success");
        QTest::addColumn<bool>("hasData");
        QTest::addColumn<InitState>("after");
        const std::vector<InitState> all{InitState::None, InitState::Running, InitState::Failed,
                                         InitState::DoneWithoutData, InitState::Done};
        for (const InitState before : all) {
            const QByteArray from = "from " + QByteArray::number(int(before)) + ": ";
            QTest::newRow(from + "failure") << before << false << true << InitState::Failed;
            QTest::newRow(from + "failure, no data")
                << before << false << false << InitState::Failed;
            QTest::newRow(from + "no data")
                << before << true << false << InitState::DoneWithoutData;
            QTest::newRow(from + "data") << before << true << true << InitState::Done;
        }
    }

    void finish_setsTheStateWhateverItWas() {
        QFETCH(InitState, before);
        QFETCH(bool, success);
        QFETCH(bool, hasData);
        bringTo(before);
        QVERIFY(manager().FinishInit("step", success, hasData));
        QTEST(manager().GetInitState("step"), "after");
        QCOMPARE(manager().IsInited("step"), success);
    }

    void isInited_isTrueInTheDoneStatesAlone() {
        QVERIFY(!manager().IsInited("step"));
        manager().StartInit("step");
        QVERIFY(!manager().IsInited("step"));
        manager().FinishInit("step", true, false);
        QVERIFY(manager().IsInited("step"));
    }

    void finishedStates_compareAtLeastTwo() {
        QVERIFY(int(InitState::None) < 2);
        QVERIFY(int(InitState::Running) < 2);
        QVERIFY(int(InitState::Failed) >= 2);
        QVERIFY(int(InitState::DoneWithoutData) >= 2);
        QVERIFY(int(InitState::Done) >= 2);
    }

    void steps_areIndependent() {
        QVERIFY(manager().StartInit("step"));
        QCOMPARE(manager().GetInitState("other"), InitState::None);
        QVERIFY(manager().StartInit("other"));
    }

    void reading_changesNothing() {
        manager().GetInitState("step");
        manager().IsInited("step");
        QVERIFY(manager().StartInit("step"));
    }

    void manyThreads_oneClaims() {
        constexpr int kThreads = 8;
        constexpr int kRounds = 200;
        std::vector<std::atomic<int>> claims(kRounds);
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&claims]() {
                for (int i = 0; i < kRounds; ++i) {
                    claims[size_t(i)] += manager().StartInit(QString::number(i)) ? 1 : 0;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        for (const std::atomic<int>& claimed : claims) {
            QCOMPARE(claimed.load(), 1);
        }
    }

    void startingAgain_forgetsTheSteps() {
        bringTo(InitState::Done);
        QVERIFY(LocalPlatform::instance().start(m_home.options(), nullptr));
        QCOMPARE(manager().GetInitState("step"), InitState::None);
    }

private:
    TempHome m_home;
};

QTEST_GUILESS_MAIN(InitStateTest)
#include "init_state_test.moc"

#include <QtTest>
#include <future>

#include "log_capture.h"
#include "profit_world.h"

/// The load of realized profit while the account tables are not loaded.
class PresenterProfitUnloadedTest : public QObject {
    Q_OBJECT

private slots:
    void load_presenterClosedWhileItWaitsForTheAccounts_ends() {
        const ClientWorld client(profitAccounts());
        ProfitWorld world;
        const LogCapture log;
        world.init();
        QVERIFY(log.waitFor("GetFundAccountList wait for FundAccountInit"));
        auto closing = std::async(std::launch::async, [&world] { world.close(); });
        const bool isClosed =
            closing.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
        if (!isClosed) {
            LocalPlatform::instance().close();  // ends the wait
        }
        QVERIFY(isClosed);
        QCOMPARE(world.neighbour->callCount(ScriptedNeighbour::Call::Executions), 0);
        QVERIFY(!log.contains("get execution list"));
    }
};

QTEST_GUILESS_MAIN(PresenterProfitUnloadedTest)
#include "presenter_profit_unloaded_test.moc"

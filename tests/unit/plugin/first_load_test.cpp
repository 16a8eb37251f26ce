#include <QtTest>
#include <atomic>
#include <thread>

#include "client_world.h"
#include "first_load.h"
#include "local_platform.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager.h"
#include "vocabulary/names.h"
#include "vocabulary/plugin_propety.h"
#include "wait_for.h"

namespace {

inline const QString kFirstLoad = QStringLiteral("VelmarBusinessData first load!");

int firstLoads(const LogCapture& log) {
    return log.texts(QtInfoMsg).filter(kFirstLoad).size();
}

}  // namespace

class FirstLoadTest : public QObject {
    Q_OBJECT

private slots:
    void facadeCall_firstInTheProcess_bringsThePluginUpAndAnswersWhenLoaded() {
        ClientWorld world(numberedAccounts(3));
        LogCapture log;
        QStringList answer;
        std::atomic<bool> answered{false};
        std::thread caller([&] {
            answer = VelmarBusinessDataInterface::GetTradingAccountList(true, 16, true);
            answered = true;
        });
        QVERIFY(log.waitFor(kFirstLoad));
        QVERIFY(log.waitFor("GetFundAccountList wait for FundAccountInit"));
        QVERIFY(!answered);
        world.login();
        QVERIFY(waitFor([&answered] { return answered.load(); }));
        caller.join();
        QCOMPARE(answer, (QStringList{"T0001", "T0002", "T0003"}));
        QCOMPARE(firstLoads(log), 1);
        QCOMPARE(LocalPlatform::instance().presenterCount(), 1);
    }

    void facadeCall_duringTheFirstLoad_waitsAndFindsItDone() {
        const ClientWorld world;
        LogCapture log;
        std::atomic<int> returned{0};
        std::vector<std::thread> callers;
        {
            // The first load cannot get past the building of the presenter meanwhile.
            const InitializeGuard guard;
            for (int i = 0; i < 4; ++i) {
                callers.emplace_back([&returned] {
                    InitVelmarBusinessManagePlugin();
                    ++returned;
                });
            }
            // One of them is about to build the presenter, the others wait for it.
            const auto waiting = [&log] {
                return log.texts(QtDebugMsg).filter("waits for the lock held by").size();
            };
            QVERIFY(waitFor([&waiting] { return waiting() == 3; }));
            QCOMPARE(returned, 0);
        }
        for (std::thread& caller : callers) {
            caller.join();
        }
        QCOMPARE(returned, 4);
        QCOMPARE(firstLoads(log), 1);
        QCOMPARE(LocalPlatform::instance().presenterCount(), 1);
        QVERIFY(s_presenter.load() != nullptr);
    }

    void facadeCall_afterTheHostsObject_makesNoSecondPresenter() {
        ClientWorld world(numberedAccounts(1));
        world.login();
        VelmarBusinessDataManager object;
        object.initialize();
        Presenter* const before = s_presenter;
        LogCapture log;
        QCOMPARE(VelmarBusinessDataInterface::GetTradingAccountList(true, 0, true),
                 QStringList{"T0001"});
        QCOMPARE(firstLoads(log), 1);
        QCOMPARE(s_presenter.load(), before);
        QCOMPARE(LocalPlatform::instance().presenterCount(), 1);
    }

    void facadeCall_idTakenButNoPresenter_givesEmptyResults() {
        const ClientWorld world;
        VelmarBusinessDataManager object;
        object.setPluginWidgetPropety(PluginPropety::PLUGININSTANCE_ID, "taken");
        QVERIFY(Facade::GetTradingAccountList(true, 0, true).isEmpty());
        QVERIFY(Facade::GetFundAccountList(true, 0, true).isEmpty());
        QVERIFY(Facade::GetAllProductAccountMap().isEmpty());
        QVERIFY(Facade::GetAuthTradeProductAccountList().isEmpty());
        QCOMPARE(Facade::GetTorviEventMsgIdByStr(EventMsgName::BUSI_MSG_ADD), 0);
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
    }

    void firstCall_accounts_loads() {
        firstCall([] { Facade::GetTradingAccountList(false, 0, true); });
    }
    void firstCall_records_loads() {
        firstCall([] { Facade::GetFundAccountList(false, 0, true); });
    }
    void firstCall_byProperty_loads() {
        firstCall([] { Facade::GetFundAccountListByFundProp(1, 0, true, {}, false); });
    }
    void firstCall_products_loads() {
        firstCall([] { Facade::GetAllProductAccountMap(); });
    }
    void firstCall_tradedProducts_loads() {
        firstCall([] { Facade::GetAuthTradeProductAccountList(); });
    }
    void firstCall_eventId_loads() {
        firstCall([] { Facade::GetTorviEventMsgIdByStr("x"); });
    }
    void firstCall_distributed_loads() {
        // It waits for the accounts too, so they have to come.
        firstCall([] { Facade::GetDistributedAccountList(); }, true);
    }
    void firstCall_record_needsNoPluginObject() {
        const ClientWorld world;
        LogCapture log;
        std::thread caller([] { Facade::GetAccountInfoByTradingAccount("T1", false); });
        const bool waits = log.waitFor("GetFundAccountList wait for FundAccountInit");
        LocalPlatform::instance().close();
        caller.join();
        QVERIFY(waits);
        QCOMPARE(firstLoads(log), 0);
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
    }

    void tableRead_beforeTheTablesStand_isEmptyAndDoesNotFail() {
        const ClientWorld world;
        QVERIFY(Facade::GetAllProductAccountMap().isEmpty());
        QVERIFY(Facade::GetAuthTradeProductAccountList().isEmpty());
        QVERIFY(Facade::GetTradingAccountList(false, 0, true).isEmpty());
        QVERIFY(Facade::GetFundAccountList(false, 0, true).isEmpty());
        QVERIFY(Facade::GetFundAccountListByFundProp(31, 0, true, {}, false).isEmpty());
    }

    void facadeCalls_onceLoaded_answerFromTheTables() {
        ClientWorld world(
            {TestAccount("T1"), TestAccount("T2").distributed(), TestAccount("T3").frozen()});
        world.login();
        QCOMPARE(Facade::GetTradingAccountList(true, 0, true), (QStringList{"T1", "T2"}));
        QCOMPARE(Facade::GetFundAccountList(true, 16, false).size(), 1);
        QCOMPARE(Facade::GetFundAccountListByFundProp(1, 16, true, {}, true).size(), 2);
        QCOMPARE(Facade::GetDistributedAccountList().first().tradingAccount, QString("T2"));
        QCOMPARE(Facade::GetAccountInfoByTradingAccount("T3", true).fundAccount, QString("fundT3"));
        const QMap<QString, QString> products{{"P1", "产品一"}};
        QCOMPARE(Facade::GetAllProductAccountMap(), products);
        QCOMPARE(Facade::GetAuthTradeProductAccountList(), products);
        QVERIFY(Facade::GetTorviEventMsgIdByStr(EventMsgName::BUSI_MSG_ADD) > 0x20000);
        QCOMPARE(Facade::GetTorviEventMsgIdByStr("nothing"), 0);
    }

    void hostCloses_whileAFacadeCallWaits_theCallReturns() {
        const ClientWorld world;
        LogCapture log;
        bool wasEmpty = false;
        std::thread caller([&wasEmpty] {
            wasEmpty = VelmarBusinessDataInterface::GetFundAccountList(true, 0, true).isEmpty();
        });
        QVERIFY(log.waitFor("GetFundAccountList wait for FundAccountInit"));
        LocalPlatform::instance().close();
        caller.join();
        QVERIFY(wasEmpty);
    }

    void hostCloses_whileAnotherThreadBuildsThePlugin_waitsForIt() {
        for (int round = 0; round < 20; ++round) {
            const ClientWorld world;
            auto object = std::make_unique<VelmarBusinessDataManager>();
            std::atomic<bool> begun{false};
            std::thread builder([&] {
                begun = true;
                object->initialize();
            });
            QVERIFY(waitFor([&begun] { return begun.load(); }));
            LocalPlatform::instance().close();
            builder.join();
            LocalPlatform::instance().close();
            QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
        }
    }

    void processEnds_afterAFirstLoad_cleanlyWithoutAnyoneClosing() {
        // Nothing here closes the platform or deletes the plug-in object: the application object's
        // end must do it before static objects are destroyed. A crash or a hang there fails this
        // case's process.
        logOutlivesTheTestFramework();
        static auto* const world = new ClientWorld(numberedAccounts(1));
        world->login();
        QCOMPARE(VelmarBusinessDataInterface::GetTradingAccountList(true, 0, true).size(), 1);
        QCOMPARE(LocalPlatform::instance().presenterCount(), 1);
    }

    void processEnds_whileTheAccountListNeverComes_cleanly() {
        logOutlivesTheTestFramework();
        static auto* const world = new ClientWorld;
        QVERIFY(world->homeDir().size() > 1);
        LogCapture log;
        InitVelmarBusinessManagePlugin();
        QVERIFY(log.waitFor("userAccountDataInited check not ready !!!!!!!!!!"));
    }

    void processEnds_firstLoadOnAWorkerThread_cleanly() {
        logOutlivesTheTestFramework();
        static auto* const world = new ClientWorld(numberedAccounts(1));
        world->login();
        int accounts = 0;
        std::thread caller([&accounts] {
            accounts = VelmarBusinessDataInterface::GetTradingAccountList(true, 0, true).size();
        });
        caller.join();
        QCOMPARE(accounts, 1);
    }

private:
    using Presenter = VelmarBusinessDataManagerPresenterClass;
    using Facade = VelmarBusinessDataInterface;

    /// The framework deletes its loggers after the last case, while the presenter's threads still
    /// log: another handler must be installed by then.
    static void logOutlivesTheTestFramework() {
        static const auto* const log = new LogCapture;
        Q_UNUSED(log)
    }

    template <class Call>
    static void firstCall(Call call, bool withAccounts = false) {
        ClientWorld world;
        if (withAccounts) {
            world.login();
        }
        LogCapture log;
        call();
        QCOMPARE(firstLoads(log), 1);
        QCOMPARE(LocalPlatform::instance().presenterCount(), 1);
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(FirstLoadTest)
#include "first_load_test.moc"

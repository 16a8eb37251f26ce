#include <QtTest>
#include <array>
#include <atomic>
#include <thread>

#include "client_world.h"
#include "commonquotahandler/common_quota_handler.h"
#include "fund_account_table.h"
#include "local_platform.h"
#include "log_capture.h"
#include "market_values.h"
#include "price_unit_ladders.h"
#include "process_per_case.h"
#include "reference_table.h"
#include "risk_notice_waiver.h"
#include "scripted_neighbour.h"
#include "shared_settings.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_event_msg_id.h"
#include "wait_for.h"
#include "zn_business_data_manager.h"
#include "zncore/zn_core.h"

/// An application with a skin, which counts how often it is applied.
class SkinnedApplication : public QCoreApplication {
    Q_OBJECT
    Q_PROPERTY(QString styleSheet READ styleSheet WRITE setStyleSheet)

public:
    using QCoreApplication::QCoreApplication;
    QString styleSheet() const { return {}; }
    void setStyleSheet(const QString&) { ++applied; }

    std::atomic<int> applied{0};
};

/// A process has one core, so each case has a process of its own.
class CoreStartTest : public QObject {
    Q_OBJECT

private slots:
    void firstUse_namesItselfAndTakesTheFirstEventId() {
        const ClientWorld world;
        // The first item of client information, the skin's, would give the core another name.
        ZnCore::instance()->saveSetting("skinInitState", false);
        LogCapture log;
        ZnBusinessDataManager* const core = ZnBusinessDataManager::instance();
        QCOMPARE(core->objectName(), QString("ZnBusinessDataManager"));
        QCOMPARE(core->parent(), nullptr);
        QCOMPARE(core->newMsgIdIndex(), VelmarEventMsgID::TORVI_BASE_TYPE);
        const QStringList said = log.texts(QtInfoMsg);
        const int first = said.indexOf("init ZnBusinessDataManager");
        const int second = said.indexOf("init ZnBusinessDataManager curNewMsgIdIndex");
        QVERIFY(first >= 0 && second == first + 1);
        QCOMPARE(ZnBusinessDataManager::instance(), core);
        QCOMPARE(log.count(QtInfoMsg, "init ZnBusinessDataManager"), 1);
    }

    void secondObject_inTheSameProcess_doesNothingFurther() {
        const ClientWorld world(
            {}, StaticDbBuilder().section(DictionaryKey::HkStockPriceUnitDict, {{"10", "0.01"}}));
        QVERIFY(
            !ZnBusinessDataManager::instance()->priceUnitLadders().hkStockPriceUnitMap().isEmpty());
        LogCapture log;
        const ZnBusinessDataManager second;
        QCOMPARE(log.count(QtInfoMsg, "init ZnBusinessDataManager"), 1);
        QCOMPARE(log.count(QtInfoMsg, "init ZnBusinessDataManager curNewMsgIdIndex"), 0);
        QCOMPARE(second.newMsgIdIndex(), 0);
        QVERIFY(second.priceUnitLadders().hkStockPriceUnitMap().isEmpty());
    }

    void metaTypes_afterTheFirstUse_areRegisteredUnderEveryName() {
        const ClientWorld world;
        ZnBusinessDataManager::instance();
        for (const char* name :
             {"QList<QVariantMap>", "QList<QVariantMap>&", "QMap<int,QVariantMap>",
              "QMap<int,QVariantMap>&", "QVariantMap&", "ZnPresenterClass*"}) {
            QVERIFY2(QMetaType::type(name) != QMetaType::UnknownType, name);
        }
        const QList<QVariantMap> list{{{"a", 1}}, {{"a", 2}}};
        QCOMPARE(QVariant::fromValue(list).value<QSequentialIterable>().size(), 2);
        const QMap<int, QVariantMap> map{{7, {{"a", 1}}}};
        QCOMPARE(QVariant::fromValue(map).value<QAssociativeIterable>().size(), 1);
    }

    void waivedSymbols_ofYesterday_areDroppedAndTheFileSaysToday() {
        const ClientWorld world;
        const QString file = VelmarUtils::GetUserCfgFileDir() + "riskNoticeSymbol.cfg";
        const QString yesterday = QDate::currentDate().addDays(-1).toString("yyyyMMdd");
        SharedSettings(file, nullptr)
            .lockedSetValues({{"IgnoreDate", yesterday}, {"symbol", "600000.SH|000001.SZ"}});
        QVERIFY(
            ZnBusinessDataManager::instance()->riskNoticeWaiver().ignoreRiskSymbols().isEmpty());
        const SharedSettings after(file, nullptr);
        QVERIFY(after.lockedValue("IgnoreDate").toString() > yesterday);
        QCOMPARE(after.lockedValue("symbol").toString(), QString());
    }

    void waivedSymbols_ofTodayOrLater_areTakenAndTheFileStays() {
        const ClientWorld world;
        const QString file = VelmarUtils::GetUserCfgFileDir() + "riskNoticeSymbol.cfg";
        // Tomorrow instead of today, so that the test may run at midnight.
        const QString date = QDate::currentDate().addDays(1).toString("yyyyMMdd");
        SharedSettings(file, nullptr)
            .lockedSetValues({{"IgnoreDate", date}, {"symbol", "600000.SH|000001.SZ"}});
        QCOMPARE(ZnBusinessDataManager::instance()->riskNoticeWaiver().ignoreRiskSymbols(),
                 (QSet<QString>{"600000.SH", "000001.SZ"}));
        const SharedSettings after(file, nullptr);
        QCOMPARE(after.lockedValue("IgnoreDate").toString(), date);
        QCOMPARE(after.lockedValue("symbol").toString(), QString("600000.SH|000001.SZ"));
    }

    void waivedSymbols_noFile_endAsInTheStaleCase() {
        const ClientWorld world;
        QVERIFY(
            ZnBusinessDataManager::instance()->riskNoticeWaiver().ignoreRiskSymbols().isEmpty());
        const SharedSettings after(VelmarUtils::GetUserCfgFileDir() + "riskNoticeSymbol.cfg",
                                   nullptr);
        QVERIFY(!after.lockedValue("IgnoreDate").toString().isEmpty());
        QVERIFY(after.lockedContains("symbol"));
    }

    void priceUnits_keysThatAreNoNumbers_becomeZero() {
        const ClientWorld world(
            {}, StaticDbBuilder().section(DictionaryKey::HkFundPriceUnitDict,
                                          {{"abc", "2"}, {"xyz", "3"}, {"20", "0.05"}}));
        QCOMPARE(ZnBusinessDataManager::instance()->priceUnitLadders().hkFundPriceUnitMap(),
                 (QMap<int, double>{{0, 3}, {20, 0.05}}));
    }

    void firstUse_onAWorkerThread_livesOnTheApplicationsThread() {
        const ClientWorld world;
        std::thread worker([] { ZnBusinessDataManager::instance(); });
        worker.join();
        ZnBusinessDataManager* const core = ZnBusinessDataManager::instance();
        QCOMPARE(core->thread(), qApp->thread());
        // Three settings files and the buffer of client information; some come by a queued call.
        QVERIFY(waitFor([core] { return core->children().size() >= 4; }));
        for (const QObject* child : core->children()) {
            QCOMPARE(child->thread(), qApp->thread());
        }
    }

    void firstUse_fromManyThreadsAtOnce_makesOne() {
        const ClientWorld world;
        LogCapture log;
        std::array<ZnBusinessDataManager*, 8> got{};
        std::vector<std::thread> threads;
        for (ZnBusinessDataManager*& one : got) {
            threads.emplace_back([&one] { one = ZnBusinessDataManager::instance(); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        for (const ZnBusinessDataManager* one : got) {
            QVERIFY(one);
            QCOMPARE(one, got.front());
        }
        QCOMPARE(log.count(QtInfoMsg, "init ZnBusinessDataManager"), 1);
    }

    void firstUse_referenceData_isLoaded() {
        const ClientWorld world({}, StaticDbBuilder()
                                        .reference("etf", "510050.SH", {{"a", 1}})
                                        .reference("bond", "113001.SH", {{"a", 1}})
                                        .reference("gold", "Au99.SGE", {{"a", 1}})
                                        .reference("setting", "one", {{"a", 1}})
                                        .reference("newstock", "730001.SH", {{"a", 1}})
                                        .reference("rqt", "600000.SH", {{"a", 1}}));
        ZnBusinessDataManager::instance();
        const auto count = [](ReferenceKind kind) { return ReferenceTable::of(kind).count(); };
        QCOMPARE(count(ReferenceKind::Etf), 1);
        QCOMPARE(count(ReferenceKind::Bond), 1);
        QCOMPARE(count(ReferenceKind::Gold), 1);
        QCOMPARE(count(ReferenceKind::Setting), 1);
        // These are read after the accounts were loaded.
        QCOMPARE(count(ReferenceKind::NewStock), 0);
        QCOMPARE(count(ReferenceKind::Rqt), 0);
    }

    void firstUse_tickFeed_deliversFromThenOn() {
        const ClientWorld world;
        int ticks = 0;
        QObject context;
        connect(&CommonQuotaHandler::instance(), &CommonQuotaHandler::sigTickDataUpdate, &context,
                [&ticks] { ++ticks; });
        LocalPlatform::instance().publishTick("600000.SH", {}, "early");
        QCoreApplication::processEvents();
        QCOMPARE(ticks, 0);
        ZnBusinessDataManager::instance();
        LocalPlatform::instance().publishTick("600000.SH", {}, "test");
        QVERIFY(waitFor([&ticks] { return ticks == 1; }));
    }

    void firstUse_standardBonds_areLoggedBeforeTheReferenceData() {
        const ClientWorld world;
        const LogCapture log;
        ZnBusinessDataManager::instance();
        const QStringList said = log.texts(QtInfoMsg);
        const int bonds = said.indexOf("加载标准券代码共计： 2");
        QCOMPARE(bonds, said.indexOf("init ZnBusinessDataManager curNewMsgIdIndex") + 1);
        const ZnBusinessDataManager second;
        QCOMPARE(log.count(QtInfoMsg, "加载标准券代码共计： 2"), 1);
    }

    void firstUse_ticks_areValuedOnTheCoresThread() {
        const ClientWorld world(
            {}, StaticDbBuilder().reference("security", "600000.SH",
                                            {{Security::symbol, "600000.SH"},
                                             {Security::securityID, "600000"},
                                             {UserAccount::securityExchange, Exchange::sh},
                                             {MDCFieldDefine::mdcSecurityType, "2"}}));
        std::thread worker([] { ZnBusinessDataManager::instance(); });
        worker.join();
        ZnBusinessDataManager* const core = ZnBusinessDataManager::instance();
        core->slotPositionUpdated({{UserAccount::tradingAccount, "A1"},
                                   {Security::securityID, "600000"},
                                   {UserAccount::securityExchange, Exchange::sh},
                                   {Security::nominalQty, 10}});
        const auto value = [core] {
            return core->marketValues().GetMarketValueByTradingAccount("A1").marketValue;
        };
        std::thread feed([] {
            LocalPlatform::instance().publishTick("600000.SH", {{"LastPx", 10.0}}, "test");
        });
        feed.join();
        QCOMPARE(value(), 0.0);
        QVERIFY(waitFor([&value] { return value() == 10000.0; }));
    }

    void initData_positions_areReadFirst() {
        ClientWorld world({TestAccount("A1")});
        const auto neighbour = std::make_shared<ScriptedNeighbour>();
        LocalPlatform::instance().setNeighbourData(neighbour);
        world.login();
        ZnBusinessDataManager* const core = ZnBusinessDataManager::instance();
        auto* const presenter = new RecordingPresenter;
        QVERIFY(core->fundAccounts().InitFundAccountList(presenter));
        const LogCapture log;
        bool isFirst = false;
        neighbour->onCall([&](ScriptedNeighbour::Call, const QString&) {
            isFirst = !log.contains("初始化新股信息");
        });
        core->InitData();
        presenter->deleteLater();
        QVERIFY(isFirst);
        QCOMPARE(neighbour->accountsOf(ScriptedNeighbour::Call::Positions), QStringList{"A1"});
    }

    void firstUse_skin_isAppliedAgain() {
        const ClientWorld world;
        auto* const app = static_cast<SkinnedApplication*>(qApp);
        QCOMPARE(app->applied, 0);
        ZnBusinessDataManager::instance();
        QVERIFY(waitFor([app] { return app->applied == 1; }));
    }

    void initData_referenceDataOfTheDay_isLoaded() {
        ClientWorld world({}, StaticDbBuilder()
                                  .reference("newstock", "730001.SH", {{"a", 1}})
                                  .reference("rqt", "600000.SH", {{"a", 1}}));
        ZnBusinessDataManager* const core = ZnBusinessDataManager::instance();
        LocalPlatform::instance().close();  // no accounts are loaded here, so the wait must end
        core->InitData();
        QCOMPARE(ReferenceTable::of(ReferenceKind::NewStock).count(), 1);
        QCOMPARE(ReferenceTable::of(ReferenceKind::Rqt).count(), 1);
        QCOMPARE(ReferenceTable::of(ReferenceKind::Quota).count(), 0);
    }

    void initData_quotas_areThoseOfAccountsThatMaySubscribe() {
        const auto on = [](const QString& account, const QString& exchange) {
            return TestAccount(account).withSecurityAccount(exchange, "S" + account, "1");
        };
        const auto ofType = [](TestAccount account, const QString& type) {
            return account.withCounter("10086", type);
        };
        const QList<TestAccount> accounts{
            on("CashSh", Exchange::sh),
            ofType(on("CreditSz", Exchange::sz), FundAccountType::Credit),
            on("CashBj", Exchange::bj),
            ofType(on("OptionSh", Exchange::sh), FundAccountType::Option),
            on("CashHk", Exchange::hhk),
            on("QueryOnlySh", Exchange::sh).withAuthorities({AuthorityType::AccountQuery}),
            on("DistributedSh", Exchange::sh).distributed()};
        StaticDbBuilder staticData;
        for (const TestAccount& account : accounts) {
            staticData.reference("quota", "Q" + account.account,
                                 {{UserAccount::tradingAccount, account.account}});
        }
        ClientWorld world(accounts, staticData);
        world.login();
        auto* const presenter = new RecordingPresenter;
        ZnBusinessDataManager* const core = ZnBusinessDataManager::instance();
        QVERIFY(core->fundAccounts().InitFundAccountList(presenter));
        core->InitData();
        presenter->deleteLater();
        QStringList loaded = ReferenceTable::of(ReferenceKind::Quota).records().keys();
        loaded.sort();
        QCOMPARE(loaded, (QStringList{"QCashBj", "QCashSh", "QCreditSz", "QDistributedSh"}));
    }

    void initData_hostClosing_endsWithoutAccounts() {
        ClientWorld world;
        ZnBusinessDataManager* const core = ZnBusinessDataManager::instance();
        LocalPlatform::instance().close();
        LogCapture log;
        core->InitData();
        QVERIFY(log.contains(QtInfoMsg, "ZnBusinessDataManager::InitData 初始化新股信息"));
        QVERIFY(log.contains(QtInfoMsg, "ZnBusinessDataManager::InitData 初始化融券通代码信息"));
    }
};

int main(int argc, char** argv) {
    SkinnedApplication app(argc, argv);
    CoreStartTest suite;
    return runEachCaseInItsOwnProcess(&suite, argc, argv);
}

#include "core_start_test.moc"

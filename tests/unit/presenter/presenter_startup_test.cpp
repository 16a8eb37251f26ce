#include <QtTest>
#include <atomic>

#include "account_lookups.h"
#include "client_world.h"
#include "local_platform.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "velmar_business_data_manager.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/net_state.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"
#include "zn_business_data_manager.h"

namespace {

using Presenter = VelmarBusinessDataManagerPresenterClass;

/// How often a debug line of a slot came.
int runs(const LogCapture& log, const QString& slot) {
    return log.texts(QtDebugMsg).filter(slot).size();
}

}  // namespace

class PresenterStartupTest : public QObject {
    Q_OBJECT

private slots:
    void startUp_accountListMissing_pollsUntilItComes() {
        ClientWorld world(numberedAccounts(3));
        LogCapture log;
        VelmarBusinessDataManager object;
        object.initialize();
        const QString said = "userAccountDataInited check not ready !!!!!!!!!!";
        QVERIFY(waitFor([&] { return log.count(QtDebugMsg, said) >= 3; }));
        QCOMPARE(world.link().requestCount("120006"), 0);
        world.login();
        QVERIFY(world.link().waitForRequestCount("120006", 1));
        QVERIFY(log.waitFor("初始化融券通代码信息"));
    }

    void startUp_afterTheAccountList_keepsItsOrder() {
        ClientWorld world(numberedAccounts(150));
        world.login();
        LogCapture log;
        VelmarBusinessDataManager object;
        object.initialize();
        QVERIFY(world.link().waitForRequestCount("325005", 1));
        QStringList types;
        for (const ScriptedLink::Request& request : world.link().requests()) {
            types.append(request.envelopeType);
        }
        const QStringList expected{"120006",
                                   "120006",
                                   Velmar_MsgType::HKStockExchangeRateRequest,
                                   Velmar_MsgType::HKPriceUnitRequest,
                                   Velmar_MsgType::HKPriceUnitRequest,
                                   Quindar_MsgType::getUserProfileDataRequest,
                                   Velmar_MsgType::getSysConfigRequest,
                                   Velmar_MsgType::getSysConfigRequest,
                                   "325005"};
        QCOMPARE(types.mid(2), expected);
        const QString all = log.texts().join('\n');
        const int loaded = all.indexOf("InitFundAccountList over putevent:");
        const int cage = all.indexOf("读取内置价格笼子应用设置:");
        const int newStocks = all.indexOf("初始化新股信息");
        const int lending = all.indexOf("初始化融券通代码信息");
        QVERIFY(0 <= loaded && loaded < cage && cage < newStocks && newStocks < lending);
        QCOMPARE(ZnBusinessDataManager::instance()
                     ->lookups()
                     .GetTradingAccountList(false, 0, true)
                     .size(),
                 150);
    }

    void startUp_exchangeRatesOutstanding_loadsNoNewShares() {
        ClientWorld world(numberedAccounts(1));
        const QString rates = Velmar_MsgType::HKStockExchangeRateRequest;
        world.link().on(rates, ScriptedReply::rows({}).held());
        world.login();
        LogCapture log;
        VelmarBusinessDataManager object;
        object.initialize();
        QVERIFY(waitFor([&] { return world.link().heldCount(rates) == 1; }));
        QVERIFY(!log.contains("初始化新股信息"));
        QCOMPARE(world.link().release(rates), 1);
        QVERIFY(log.waitFor("初始化新股信息"));
    }

    void initFundAccount_alone_stopsBeforeTheSubscription() {
        ClientWorld world(numberedAccounts(1));
        world.login();
        LogCapture log;
        auto* const presenter = new Presenter("Test.Presenter", nullptr);
        presenter->initPresenter();
        QVERIFY(QMetaObject::invokeMethod(presenter, "slotInitFundAccount",
                                          Qt::BlockingQueuedConnection));
        QVERIFY(log.contains("初始化融券通代码信息"));
        QVERIFY(world.link().waitUntilIdle());
        QCOMPARE(world.link().requestCount("120006"), 1);
        QCOMPARE(world.link().requestCount("325005"), 0);
        presenter->deleteLater();
    }

    void startUp_serverRefusesForever_staysInTheLoadUntilTheHostCloses() {
        ClientWorld world(numberedAccounts(1));
        world.link().on("120006", ScriptedReply::refusal("never"));
        world.login();
        VelmarBusinessDataManager object;
        object.initialize();
        QVERIFY(world.link().waitForRequestCount("120006", 2));
        LocalPlatform::instance().close();
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
        QCOMPARE(world.link().requestCount("325005"), 0);
    }

    void construction_subscriptions_letEachEventThrough() {
        ClientWorld world;
        VelmarBusinessDataManager object;
        object.initialize();
        world.login();
        QVERIFY(world.link().waitForRequestCount("325005", 1));
        LogCapture log;
        const auto named = [](const QString& name) {
            return VelmarUtils::GetTorviEventMsgIdByStr(name);
        };
        const QList<QPair<int, QString>> expected{
            {0x31000, "positions were read again"},
            {0x31001, "positions were read again"},
            {0x31002, "position push without account or security"},
            {named(EventMsgName::BUSI_MSG_ADD), "slotBusiMsgAdd"},
            {named(EventMsgName::ETFTRADESETTING_TRADEFEECHANGE), "slotTradeFeeSettingChanged"},
            {named(EventMsgName::CalcRealizedProfitInitEvent), "initRealizedProfit"},
            {0x30001, "initRealizedProfit"},
            {0x30006, "deal event ignored"},
            {0x30004, "deal event ignored"}};
        for (const auto& event : expected) {
            log.clear();
            // A deal with a record waits in its buffer and logs nothing.
            const bool isDeal = event.second == "deal event ignored";
            LocalPlatform::instance().publishEvent(event.first,
                                                   isDeal ? QVariant() : packRows({{"a", 1}}, {}));
            QVERIFY2(log.waitFor(event.second), qPrintable(event.second));
        }
        log.clear();
        LocalPlatform::instance().publishEvent(0x35000, QVariantMap{{"a", 1}});
        QVERIFY(log.waitFor("ZnBusinessDataManager::slotClientInfoCollect"));
        log.clear();
        LocalPlatform::instance().publishEvent(0x35001, QVariantList{"gate", 1});
        QVERIFY(log.waitFor("slotClientInfoCollectAPM"));
        for (const int gate : {0x10006, 0x1000B, 0x10005, 0x10012}) {
            log.clear();
            LocalPlatform::instance().publishEvent(gate, NET_STATE::CONNECTED);
            QVERIFY2(log.waitFor("ZnBusinessDataManager::slotNetReconnect"),
                     qPrintable(QString::number(gate, 16)));
        }
        log.clear();
        LocalPlatform::instance().publishEvent(
            0x1000A, QVariantMap{{SystemSetting::SysMultiTimeOutCount, 5}});
        QVERIFY(log.waitFor("slotMultiDelaySettingChanged"));
        log.clear();
        world.link().push(Velmar_MsgType::MessageCenterPushMsg, packRows({{"a", 1}}, {}));
        QVERIFY(log.waitFor("MessageCenterPushMsg"));
        log.clear();
        world.link().push(Velmar_MsgType::ClientPatchInfoPush,
                          packRows({{System::SubMsgType, SubscribeTopicSubType::clientPatchInfo},
                                    {System::textDescription, R"({"id":1})"}},
                                   {}));
        QVERIFY(log.waitFor("takeClientPatchInfo"));
    }

    void reconnect_informationGate_reachesTheCoreBeforeTheSubscription() {
        ClientWorld world;
        world.login();
        LogCapture log;
        VelmarBusinessDataManager object;
        object.initialize();
        QVERIFY(world.link().waitForRequestCount("325005", 1));
        log.clear();
        std::atomic<bool> coreFirst{false};
        world.link().on("325005", [&](const QVariant&) {
            coreFirst = log.contains("ZnBusinessDataManager::slotNetReconnect");
            return packRows({{System::requestExeStatus, RequestExeStatus::success}}, {});
        });
        LocalPlatform::instance().publishEvent(0x1000B, NET_STATE::CONNECTED);
        QVERIFY(world.link().waitForRequestCount("325005", 2));
        QVERIFY(world.link().waitUntilIdle());
        QVERIFY(coreFirst);
    }

    void construction_childObjects_liveOnTheObjectThread() {
        const ClientWorld world;
        auto* const presenter = new Presenter("Test.Presenter", nullptr);
        QVERIFY(presenter->thread() != QThread::currentThread());
        QVERIFY(!presenter->children().isEmpty());
        for (const QObject* child : presenter->children()) {
            QCOMPARE(child->thread(), presenter->thread());
        }
        presenter->deleteLater();
    }

    void signalAcrossThreads_recordByReference_arrivesEveryTime() {
        ClientWorld world;
        world.login();
        LogCapture log;
        VelmarBusinessDataManager object;
        object.initialize();
        QVERIFY(log.waitFor("初始化融券通代码信息"));
        QVariantMap record{{"a", 1}};
        for (int i = 0; i < 3; ++i) {
            emit ZnBusinessDataManager::instance()->signalBusiMsgAdd(record);
        }
        QVERIFY(waitFor([&log] { return runs(log, "slotBusiMsgAdd") == 3; }));
        QVERIFY(!log.contains("Cannot queue arguments"));
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(PresenterStartupTest)
#include "presenter_startup_test.moc"

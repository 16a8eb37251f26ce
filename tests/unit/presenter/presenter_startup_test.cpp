#include <QtTest>
#include <atomic>

#include "account_lookups.h"
#include "client_world.h"
#include "local_platform.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "run_on_thread.h"
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

/// How often a line of a slot came.
int runs(const LogCapture& log, const QString& slot) {
    return log.texts().filter(slot).size();
}

/// How often a signal of the presenter came, counted on the thread that emits it.
class EmissionCount {
public:
    template <class Signal>
    EmissionCount(const Presenter* presenter, Signal signal) {
        QObject::connect(
            presenter, signal, &m_context, [this] { ++m_count; }, Qt::DirectConnection);
    }
    int count() const { return m_count; }

private:
    QObject m_context;
    std::atomic<int> m_count{0};
};

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
        QVERIFY(
            world.link().waitForRequestCount(Velmar_MsgType::QueryRiskSecurityFlagInfoRequest, 1));
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
                                   "325005",
                                   Velmar_MsgType::queryBusiMessagesRequest,
                                   Velmar_MsgType::BusiHeartBeatRequest,
                                   "325005",
                                   Quindar_MsgType::sysConfigRequest,
                                   Velmar_MsgType::queryProductDataVersionRequest,
                                   Quindar_MsgType::subscribeTopicRequest,
                                   Velmar_MsgType::QueryClientPatchInfoRequest,
                                   Velmar_MsgType::QueryRiskSecurityFlagInfoRequest};
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
        runOnThreadAndWait(object.presenter(), [] {});  // the start-up has ended
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
        const EmissionCount items(object.presenter(), &Presenter::signalClientInfoCollect);
        LocalPlatform::instance().publishEvent(0x35000, QVariantMap{{"a", 1}});
        QVERIFY(waitFor([&items] { return items.count() == 1; }));
        const EmissionCount lists(object.presenter(), &Presenter::signalClientInfoCollectAPM);
        LocalPlatform::instance().publishEvent(0x35001, QVariantList{"gate", 1});
        QVERIFY(waitFor([&lists] { return lists.count() == 1; }));
        for (const int gate : {0x10006, 0x1000B, 0x10005, 0x10012}) {
            const EmissionCount reconnects(object.presenter(), &Presenter::signalNetReconnect);
            LocalPlatform::instance().publishEvent(gate, NET_STATE::CONNECTED);
            QVERIFY2(waitFor([&reconnects] { return reconnects.count() == 1; }),
                     qPrintable(QString::number(gate, 16)));
        }
        const EmissionCount settings(object.presenter(),
                                     &Presenter::signalMultiDelaySettingChanged);
        LocalPlatform::instance().publishEvent(
            0x1000A, QVariantMap{{SystemSetting::SysMultiTimeOutCount, 5}});
        QVERIFY(waitFor([&settings] { return settings.count() == 1; }));
        log.clear();
        world.link().push(Velmar_MsgType::MessageCenterPushMsg, packRows({{"a", 1}}, {}));
        QVERIFY(log.waitFor("a message has no text"));
        log.clear();
        world.link().push(Velmar_MsgType::ClientPatchInfoPush,
                          packRows({{System::SubMsgType, SubscribeTopicSubType::clientPatchInfo},
                                    {System::textDescription, "{"}},
                                   {}));
        QVERIFY(log.waitFor("ClientPatchInfoPush not understood"));
    }

    void reconnect_informationGate_reachesTheCoreBeforeTheSubscription() {
        ClientWorld world;
        world.login();
        LogCapture log;
        VelmarBusinessDataManager object;
        object.initialize();
        runOnThreadAndWait(object.presenter(), [] {});  // the start-up has ended
        // The core reports the gate at the end of its slot.
        std::atomic<bool> coreRan{false};
        QObject context;
        connect(
            ZnBusinessDataManager::instance(), &ZnBusinessDataManager::signalClientInfoCollect,
            &context,
            [&coreRan](const QVariantMap& item) {
                coreRan = coreRan || item.value(System::itemValue) == NetGateType::InfoGate;
            },
            Qt::DirectConnection);
        std::atomic<int> coreWasFirst{-1};
        world.link().onEach(Quindar_MsgType::subscribeTopicRequest,
                            [&](const ScriptedLink::Request& request) {
                                if (request.header.value(System::subscriptionTopic) ==
                                    Velmar_MsgType::MessageCenterPushMsg) {
                                    coreWasFirst = coreRan ? 1 : 0;
                                }
                                return ScriptedReply::rows({});
                            });
        LocalPlatform::instance().publishEvent(0x1000B, NET_STATE::CONNECTED);
        QVERIFY(waitFor([&coreWasFirst] { return coreWasFirst != -1; }));
        QCOMPARE(coreWasFirst.load(), 1);
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

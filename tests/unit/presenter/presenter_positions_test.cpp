#include <QTimer>
#include <QTimerEvent>
#include <QtTest>
#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>

#include "client_world.h"
#include "commonquotahandler/common_quota_handler.h"
#include "data_stores.h"
#include "local_platform.h"
#include "log_capture.h"
#include "market_values.h"
#include "process_per_case.h"
#include "run_on_thread.h"
#include "scripted_neighbour.h"
#include "velmar_business_data_manager.h"
#include "vocabulary/fields.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"
#include "wait_for.h"
#include "zn_business_data_manager.h"

namespace {

using Presenter = VelmarBusinessDataManagerPresenterClass;
using Call = ScriptedNeighbour::Call;

StaticDbBuilder securities() {
    return StaticDbBuilder().reference(
        "security", "600000.SH",
        {{Security::symbol, "600000.SH"},
         {Security::securityID, "600000"},
         {UserAccount::securityExchange, Exchange::sh},
         {MDCFieldDefine::mdcSecurityType, MdcSecurityType::StockType}});
}

QVariantMap position(double quantity) {
    return {{UserAccount::tradingAccount, "A1"},
            {Security::securityID, "600000"},
            {UserAccount::securityExchange, Exchange::sh},
            {Security::nominalQty, quantity},
            {Security::omsAverageCost, 9.0}};
}

double value() {
    return ZnBusinessDataManager::instance()
        ->marketValues()
        .GetMarketValueByTradingAccount("A1")
        .marketValue;
}

/// A platform with one account and its neighbour.
struct Plugin {
    explicit Plugin(const QList<TestAccount>& accounts = {TestAccount("A1")})
        : world(accounts, securities()) {
        LocalPlatform::instance().setNeighbourData(neighbour);
        neighbour->setPositions({position(10)});
        world.login();
    }
    /// Starts the plug-in and waits until its start-up has read the positions.
    bool start() {
        object.initialize();
        return world.link().waitForRequestCount("325005", 1);
    }
    int rebuilds() const { return neighbour->callCount(Call::Positions); }
    QTimer* posTimer() const {
        for (QTimer* timer : s_presenter.load()->findChildren<QTimer*>()) {
            if (timer->interval() == 180000) {
                return timer;
            }
        }
        return nullptr;
    }
    static void tick(double price) {
        LocalPlatform::instance().publishTick("600000.SH", {{TickField::lastPrice, price}});
    }

    const std::shared_ptr<ScriptedNeighbour> neighbour = std::make_shared<ScriptedNeighbour>();
    ClientWorld world;
    VelmarBusinessDataManager object;
};

}  // namespace

/// How positions reach the core: at the start-up, by the timer, by events.
class PresenterPositionsTest : public QObject {
    Q_OBJECT

    void readsThePositionsAgain(int event) {
        Plugin plugin;
        QVERIFY(plugin.start());
        Plugin::tick(10.0);
        QVERIFY(waitFor([] { return value() == 10000.0; }));
        const int before = plugin.rebuilds();
        plugin.neighbour->setPositions({position(20)});
        LocalPlatform::instance().publishEvent(event, {});
        QVERIFY(waitFor([] { return value() == 20000.0; }));
        QCOMPARE(plugin.rebuilds(), before + 1);
    }

    void closesWhilePositionsAreRead(const std::function<void(Presenter*)>& step) {
        Plugin plugin({TestAccount("A1"), TestAccount("A2")});
        QVERIFY(plugin.start());
        Plugin::tick(10.0);
        QVERIFY(waitFor([] { return value() == 10000.0; }));
        auto* const presenter = new Presenter("Test.Presenter", nullptr);
        presenter->initPresenter();
        plugin.neighbour->setPositions({position(20)});
        const int before = plugin.rebuilds();
        std::thread closer;
        std::atomic<bool> isClosing{false};
        plugin.neighbour->onAnswer([&](Call call, const QString&) {
            if (call == Call::Positions && !closer.joinable()) {
                closer = std::thread([presenter] { presenter->deleteLater(); });
                isClosing = waitFor([presenter] { return presenter->isClosing(); });
            }
        });
        runOnThreadOf(presenter, [presenter, step] { step(presenter); });
        QVERIFY(waitFor([&isClosing] { return isClosing.load(); }));
        closer.join();
        QVERIFY(waitFor([] { return LocalPlatform::instance().presenterCount() == 1; }));
        plugin.neighbour->onAnswer({});
        QCOMPARE(plugin.rebuilds(), before + 1);
        QCOMPARE(value(), 10000.0);
    }

private slots:
    void startUp_positions_areReadByInitDataAndOnceMore() {
        Plugin plugin;
        QStringList order;
        const LogCapture log;
        plugin.neighbour->onCall([&](Call call, const QString&) {
            if (call == Call::Positions) {
                order.append(log.contains("初始化新股信息") ? "after" : "before");
            }
        });
        QVERIFY(plugin.start());
        QCOMPARE(order, (QStringList{"before", "after"}));
        QCOMPARE(plugin.neighbour->accountsOf(Call::Positions), (QStringList{"A1", "A1"}));
        QCOMPARE(DataStores::tickSubscriptions().symbols(), QStringList{"600000.SH"});
        plugin.neighbour->onCall({});
    }

    void startUp_timer_runsOnTheObjectThread() {
        Plugin plugin;
        QVERIFY(plugin.start());
        const QTimer* const timer = plugin.posTimer();
        QVERIFY(timer);
        QCOMPARE(timer->parent(), s_presenter.load());
        QCOMPARE(timer->thread(), s_presenter.load()->thread());
        runOnThreadAndWait(s_presenter.load(), [timer] {
            QVERIFY(timer->isActive());
            QVERIFY(!timer->isSingleShot());
        });
    }

    void startUp_again_keepsTheTimer() {
        Plugin plugin;
        QVERIFY(plugin.start());
        QTimer* const timer = plugin.posTimer();
        runOnThreadAndWait(s_presenter.load(), [timer] {
            timer->stop();
            s_presenter.load()->slotInitData();
        });
        QCOMPARE(plugin.posTimer(), timer);
        runOnThreadAndWait(s_presenter.load(), [timer] { QVERIFY(timer->isActive()); });
        QCOMPARE(plugin.rebuilds(), 4);
    }

    void timer_timeOut_readsThePositionsAgain() {
        Plugin plugin;
        QVERIFY(plugin.start());
        const int before = plugin.rebuilds();
        QTimer* const timer = plugin.posTimer();
        runOnThreadAndWait(s_presenter.load(), [timer] {
            QTimerEvent due(timer->timerId());
            QCoreApplication::sendEvent(timer, &due);
        });
        QCOMPARE(plugin.rebuilds(), before + 1);
    }

    void initPosData_stoppedTimer_startsAgain() {
        Plugin plugin;
        QVERIFY(plugin.start());
        QTimer* const timer = plugin.posTimer();
        runOnThreadAndWait(s_presenter.load(), [timer] {
            timer->stop();
            s_presenter.load()->slotInitPosData();
            QVERIFY(timer->isActive());
        });
    }

    void initPosData_beforeTheStartUp_makesNoTimer() {
        const ClientWorld world;
        auto* const presenter = new Presenter("Test.Presenter", nullptr);
        presenter->slotInitPosData();
        QVERIFY(presenter->findChildren<QTimer*>().isEmpty());
        presenter->deleteLater();
    }

    void loadedEvent_readsThePositionsAgain() { readsThePositionsAgain(0x31000); }
    void reloadedEvent_readsThePositionsAgain() { readsThePositionsAgain(0x31001); }

    void positionEvent_throughTwoPresenters_countsOnce() {
        Plugin plugin;
        QVERIFY(plugin.start());
        Plugin::tick(10.0);
        QVERIFY(waitFor([] { return value() == 10000.0; }));
        Presenter* const first = s_presenter;
        VelmarBusinessDataManager second;
        second.initialize();
        runOnThreadAndWait(second.presenter(), [] {});  // its start-up has ended
        QVERIFY(first != s_presenter);
        std::atomic<int> delivered{0};
        for (Presenter* const presenter : {first, s_presenter.load()}) {
            connect(
                presenter, &Presenter::signalPositionUpdated, this, [&delivered] { ++delivered; },
                Qt::QueuedConnection);
        }
        LocalPlatform::instance().publishEvent(0x31002, packRows(position(30), {}));
        // Queued behind the core's slots, on the same thread.
        QVERIFY(waitFor([&delivered] { return delivered == 2; }));
        QCOMPARE(value(), 30000.0);
        QCOMPARE(ZnBusinessDataManager::instance()
                     ->marketValues()
                     .GetMarketValueByTradingAccount("A1")
                     .costValue,
                 27000.0);
    }

    void destructor_activeTimer_isStoppedFirst() {
        Plugin plugin;
        auto* const presenter = new Presenter("Test.Presenter", nullptr);
        presenter->initPresenter();
        bool wasActive = false;
        std::atomic<bool> isActive{true};
        runOnThreadAndWait(presenter, [&] {
            // Children are deleted in the order of their making, after the presenter's destructor.
            auto* const before = new QObject(presenter);
            presenter->slotInitData();
            const auto timers = presenter->findChildren<QTimer*>();
            const auto timer = std::find_if(timers.cbegin(), timers.cend(), [](const QTimer* one) {
                return one->interval() == 180000;
            });
            QVERIFY(timer != timers.cend());
            wasActive = (*timer)->isActive();
            connect(before, &QObject::destroyed, before,
                    [&isActive, timer = *timer] { isActive = timer->isActive(); });
        });
        const LogCapture log;
        presenter->deleteLater();
        QVERIFY(waitFor([&isActive] { return !isActive.load(); }));
        QVERIFY(wasActive);
        QVERIFY(!log.contains("QObject::killTimer"));
    }

    void reload_closingMeanwhile_readsNoFurtherAccountAndKeepsTheTable() {
        closesWhilePositionsAreRead([](Presenter* presenter) { presenter->slotInitPosData(); });
    }
    void startUp_closingMeanwhile_readsNoFurtherAccountAndKeepsTheTable() {
        closesWhilePositionsAreRead([](Presenter* presenter) { presenter->slotInitData(); });
    }

    void positionEvent_reachesTheTable() {
        Plugin plugin;
        QVERIFY(plugin.start());
        Plugin::tick(10.0);
        QVERIFY(waitFor([] { return value() == 10000.0; }));
        const int before = plugin.rebuilds();
        LocalPlatform::instance().publishEvent(0x31002, packRows(position(30), {}));
        QVERIFY(waitFor([] { return value() == 30000.0; }));
        QCOMPARE(plugin.rebuilds(), before);
    }

    void ticks_throughTheFeed_moveTheValue() {
        Plugin plugin;
        QVERIFY(plugin.start());
        Plugin::tick(10.0);
        Plugin::tick(11.0);
        QVERIFY(waitFor([] { return value() == 11000.0; }));
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(PresenterPositionsTest)
#include "presenter_positions_test.moc"

#include <QtTest>

#include "client_world.h"
#include "event_ids.h"
#include "monitor_keys.h"
#include "process_per_case.h"
#include "velmar_business_data_manager.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "vocabulary/fields.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"
#include "wait_for.h"
#include "zn_business_data_manager.h"
#include "zncore/zn_core.h"

namespace {

using Presenter = VelmarBusinessDataManagerPresenterClass;

QVariantMap board() {
    return ZnCore::instance()->getCommonInfo(MonitorKey::board).toMap();
}

QVariantMap gate(const QString& name) {
    return board().value(MonitorKey::gates).toMap().value(name).toMap();
}

int clientInfo(const QString& figure) {
    return board().value(MonitorKey::clientInfo).toMap().value(figure).toInt();
}

QVariantMap resources() {
    return board().value(MonitorKey::resources).toMap();
}

int samples(const QString& name) {
    return gate(name).value(MonitorKey::Gate::count).toInt();
}

}  // namespace

/// The figures that reach the board from the presenter and the core.
class PresenterMonitorTest : public QObject {
    Q_OBJECT

private slots:
    void gateEvent_setsTheState_andBeginsANewStatistic() {
        ClientWorld world;
        world.login();
        auto* const presenter = new Presenter("Test.Presenter", nullptr);
        presenter->ProcEventMsg("test", EventIds::tradeGateState, NET_STATE::CONNECTTING);
        QCOMPARE(gate(NetGateType::TradeGate).value(MonitorKey::Gate::state).toString(),
                 NET_STATE::CONNECTTING);
        QVERIFY(!gate(NetGateType::TradeGate).contains(MonitorKey::Gate::count));
        presenter->ProcEventMsg("test", EventIds::tradeGateState, NET_STATE::CONNECTED);
        QCOMPARE(gate(NetGateType::TradeGate).value(MonitorKey::Gate::state).toString(),
                 NET_STATE::CONNECTED);
        QCOMPARE(gate(NetGateType::TradeGate).value(MonitorKey::Gate::count), QVariant(0));
        presenter->ProcEventMsg("test", EventIds::marketGrpcGateState, NET_STATE::CONNECTED);
        QVERIFY(!gate(NetGateType::MarketGrpcGate).contains(MonitorKey::Gate::count));
        presenter->deleteLater();
    }

    void clientInfo_waitsUntilItIsSent() {
        ClientWorld world;
        world.login();
        auto* const presenter = new Presenter("Test.Presenter", nullptr);
        ZnBusinessDataManager* const core = presenter->dataManager();
        QCoreApplication::sendPostedEvents();
        const int waiting = clientInfo(MonitorKey::ClientInfo::waiting);
        core->slotClientInfoCollect({{System::itemType, "a"}});
        core->slotClientInfoCollect({{System::itemType, "b"}});
        QCOMPARE(clientInfo(MonitorKey::ClientInfo::waiting), waiting + 2);
        int taken = -1;
        const QObject context;
        connect(core, &ZnBusinessDataManager::signalClientInfoUpload, &context,
                [&](const QList<QVariantMap>& items) {
                    taken = items.size();
                    presenter->slotClientInfoUpload(items);
                });
        core->UploadAllClientInfo();
        QTRY_VERIFY(taken >= 2);
        QCOMPARE(clientInfo(MonitorKey::ClientInfo::waiting), 0);
        QCOMPARE(clientInfo(MonitorKey::ClientInfo::sent), taken);
        QCOMPARE(clientInfo(MonitorKey::ClientInfo::batches), 1);
        presenter->deleteLater();
    }

    void startUp_putsASampleOfEachGateAndTheResourcesOnTheBoard() {
        ClientWorld world(numberedAccounts(1));
        world.login();
        VelmarBusinessDataManager object;
        object.initialize();
        // A refused answer is a sample too, so the script needs none for the beats.
        QVERIFY(waitFor(
            [] {
                return samples(NetGateType::TradeGate) == 1 && samples(NetGateType::InfoGate) == 1;
            },
            20000));
        QVERIFY(waitFor([] { return samples(NetGateType::MarketTcpGate) == 1; }));
        QVERIFY(waitFor([] { return board().value(MonitorKey::beatsOnTheirWay) == QVariant(0); }));
        const QVariantMap trade = gate(NetGateType::TradeGate);
        QVERIFY(!trade.value(MonitorKey::Gate::lastTime).toString().isEmpty());
        QCOMPARE(trade.value(MonitorKey::Gate::mean).toInt(),
                 trade.value(MonitorKey::Gate::last).toInt());
        QVERIFY(resources().contains(ClientPerformItem::ClientMemUsage));
        // Not only with the next beat.
        QVERIFY(waitFor([] { return resources().contains(ClientPerformItem::TotalDisk); }));
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(PresenterMonitorTest)
#include "presenter_monitor_test.moc"

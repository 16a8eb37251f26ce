#include <QTemporaryDir>
#include <QtTest>

#include "gate_switch.h"
#include "platform_fixture.h"
#include "small_client.h"
#include "vocabulary/constants.h"
#include "vocabulary/net_state.h"
#include "vocabulary/plugin_id.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

constexpr int kLimitMs = 60000;

}  // namespace

/// The client's own presenters for the gates.
class ClientGatesTest : public QObject {
    Q_OBJECT

private slots:
    void status_ofARunningClient_hasTheDelayOfEachGate() {
        const QTemporaryDir home;
        Client client(smallClient(home), Client::Listener());
        QString error;
        QVERIFY2(client.start(&error), qPrintable(error));
        const QStringList gates{NetGateType::InfoGate, NetGateType::MarketTcpGate,
                                NetGateType::TradeGate};
        QVERIFY(waitFor([&] { return client.status().delaysMs.keys() == gates; }, kLimitMs));
        client.stop();
    }

    void requestToReconnect_ofTheTradeGate_takesItDownAndUpAndTheServerAnswersAgain() {
        constexpr int kTradeGateState = 0x10006;
        const QTemporaryDir home;
        Client client(smallClient(home), Client::Listener());
        QString error;
        QVERIFY2(client.start(&error), qPrintable(error));
        auto* const plugin = new ProbePresenter;  // deleted by the platform
        const std::shared_ptr<ProbeLog> log = plugin->log;
        plugin->SubEvent(plugin->pluginPid(), kTradeGateState, 1);
        plugin->initPresenter();
        plugin->PutEvent(plugin->pluginPid(),
                         makeEvent(GateSwitch::kReconnectEvent, Constants::ZGATE_GATEWAY,
                                   PluginID::PLUGINNET_GLOBALID));
        QVERIFY(log->waitForCount(3));
        QCOMPARE(log->bodies(), (QVariantList{NET_STATE::NOCONNECT, NET_STATE::CONNECTTING,
                                              NET_STATE::CONNECTED}));
        QVariant response;
        QCOMPARE(plugin->sendRequest_Sync(makeMessage(plugin, Velmar_MsgType::BusiHeartBeatRequest),
                                          response),
                 0);
        client.stop();
    }
};

QTEST_GUILESS_MAIN(ClientGatesTest)
#include "client_gates_test.moc"

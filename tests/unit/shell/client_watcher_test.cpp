#include "client_watcher.h"

#include "gate_events.h"
#include "platform_fixture.h"
#include "trade_fields.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"

namespace {

QVariant dealBody(int number, const QString& kind) {
    CPackMessageCommon packer;
    packer.AddRowVaule({{Security::execID, number}, {UserAccount::ExchangeExecType, kind}});
    return packer.GetPackedMsg(false);
}

/// Events of one subscriber arrive in order, so a gate's state that follows has come after them.
bool waitForGate(const ClientSight& sight, const QString& state) {
    const GateEvent& gate = gateEvents().front();
    LocalPlatform::instance().publishEvent(gate.id, state);
    return waitFor([&] { return sight.gates().value(gate.gate) == state; });
}

QList<int> numbersOf(const QVector<SeenDeal>& deals) {
    QList<int> numbers;
    for (const SeenDeal& deal : deals) {
        numbers.append(deal.record.value(Security::execID).toInt());
    }
    return numbers;
}

}  // namespace

class ClientWatcherTest : public QObject {
    Q_OBJECT

private slots:
    void watcherThatKeepsDeals_hasTheLastOnes_withoutCancels() {
        const PlatformFixture platform;
        const auto sight = std::make_shared<ClientSight>();
        // Disposed of by the platform's close().
        auto* const watcher = new ClientWatcher(
            sight, [] {}, true);
        watcher->initPresenter();
        for (int i = 1; i <= 8; ++i) {
            LocalPlatform::instance().publishEvent(
                i % 2 == 0 ? NeighbourEvent::normalDeal : NeighbourEvent::marginDeal,
                dealBody(i, i == 7 ? EntrustType::cancelOrder : DealRow::deal));
        }
        QVERIFY(waitForGate(*sight, NET_STATE::NOCONNECT));
        QCOMPARE(numbersOf(sight->lastDeals()), (QList<int>{3, 4, 5, 6, 8}));
        QVERIFY(sight->lastDeals().last().at.isValid());
    }

    void otherWatcher_getsNoDeals() {
        const PlatformFixture platform;
        const auto sight = std::make_shared<ClientSight>();
        auto* const watcher = new ClientWatcher(sight, [] {});
        watcher->initPresenter();
        LocalPlatform::instance().publishEvent(NeighbourEvent::normalDeal,
                                               dealBody(1, DealRow::deal));
        QVERIFY(waitForGate(*sight, NET_STATE::NOCONNECT));
        QVERIFY(sight->lastDeals().isEmpty());
    }
};

QTEST_GUILESS_MAIN(ClientWatcherTest)
#include "client_watcher_test.moc"

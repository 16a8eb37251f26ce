#include "monitor_board.h"

#include <QtTest>
#include <thread>
#include <vector>

#include "monitor_keys.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"
#include "zncore/zn_core.h"

namespace {

QVariantMap board() {
    return ZnCore::instance()->getCommonInfo(MonitorKey::board).toMap();
}

QVariantMap gate(const QString& name) {
    return board().value(MonitorKey::gates).toMap().value(name).toMap();
}

QVariantMap clientInfo() {
    return board().value(MonitorKey::clientInfo).toMap();
}

}  // namespace

/// What stands on the host's board after each change.
class MonitorBoardTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        ZnCore::instance()->setCommonInfo(MonitorKey::board, QVariant());
        ZnCore::instance()->setCommonInfo(ClientPerformItem::ClientMemUsage, QVariant());
        ZnCore::instance()->setCommonInfo(ClientPerformItem::ThreadNum, QVariant());
    }

    void noChange_leavesTheBoardEmpty() {
        const MonitorBoard figures;
        QVERIFY(ZnCore::instance()->getCommonInfo(MonitorKey::board).isNull());
    }

    void gateDelay_hasEveryFigureOfTheStatistic() {
        MonitorBoard figures;
        NetDelayStat stat;
        stat.avgElapse = 12.5;
        stat.lastTime = QTime(9, 30, 1, 7);
        stat.lastElapse = 10;
        stat.maxTime = QTime(9, 29, 46);
        stat.maxElapse = 15;
        stat.count = 2;
        figures.gateDelay(NetGateType::TradeGate, stat);
        const QVariantMap expected{{"last", 10},   {"lastTime", "09:30:01.007"},
                                   {"mean", 12.5}, {"largest", 15},
                                   {"count", 2},   {"largestTime", "09:29:46.000"}};
        QCOMPARE(gate(NetGateType::TradeGate), expected);
    }

    void gateState_keepsTheDelays_andTheOtherGates() {
        MonitorBoard figures;
        NetDelayStat stat;
        stat.count = 3;
        figures.gateDelay(NetGateType::TradeGate, stat);
        figures.gateState(NetGateType::InfoGate, NET_STATE::CONNECTED);
        figures.gateState(NetGateType::TradeGate, NET_STATE::CONNECTTING);
        QCOMPARE(gate(NetGateType::TradeGate).value("count"), QVariant(3));
        QCOMPARE(gate(NetGateType::TradeGate).value("state"), QVariant(NET_STATE::CONNECTTING));
        QCOMPARE(gate(NetGateType::InfoGate), (QVariantMap{{"state", NET_STATE::CONNECTED}}));
    }

    void resetStatistic_clearsTheDelays_andKeepsTheState() {
        MonitorBoard figures;
        NetDelayStat stat;
        stat.lastElapse = 5;
        stat.lastTime = QTime(9, 0);
        stat.count = 1;
        figures.gateState(NetGateType::TradeGate, NET_STATE::CONNECTED);
        figures.gateDelay(NetGateType::TradeGate, stat);
        figures.gateDelay(NetGateType::TradeGate, NetDelayStat());
        QCOMPARE(gate(NetGateType::TradeGate).value("count"), QVariant(0));
        QCOMPARE(gate(NetGateType::TradeGate).value("last"), QVariant(0));
        QCOMPARE(gate(NetGateType::TradeGate).value("lastTime"), QVariant(QString("")));
        QCOMPARE(gate(NetGateType::TradeGate).value("state"), QVariant(NET_STATE::CONNECTED));
    }

    void clientInfo_isCountedFromCollectingToSending() {
        MonitorBoard figures;
        for (int i = 0; i < 3; ++i) {
            figures.clientInfoCollected();
        }
        QCOMPARE(clientInfo(), (QVariantMap{{"waiting", 3}, {"sent", 0}, {"batches", 0}}));
        figures.clientInfoTaken(1);
        QCOMPARE(clientInfo().value("waiting"), QVariant(2));
        figures.clientInfoSent(1);
        figures.clientInfoTaken(2);
        figures.clientInfoSent(2);
        QCOMPARE(clientInfo(), (QVariantMap{{"waiting", 0}, {"sent", 3}, {"batches", 2}}));
        figures.clientInfoTaken(0);
        figures.clientInfoSent(0);
        QCOMPARE(clientInfo(), (QVariantMap{{"waiting", 0}, {"sent", 3}, {"batches", 3}}));
    }

    void beatsOnTheirWay_isTheLastNumberNoted() {
        MonitorBoard figures;
        figures.beatsOnTheirWay(2);
        figures.beatsOnTheirWay(1);
        QCOMPARE(board().value(MonitorKey::beatsOnTheirWay), QVariant(1));
    }

    void resources_areThoseThatTheBoardHas() {
        MonitorBoard figures;
        ZnCore::instance()->setCommonInfo(ClientPerformItem::ClientMemUsage, 123.5);
        figures.resources();
        const QVariantMap first = board().value(MonitorKey::resources).toMap();
        QCOMPARE(first.value(ClientPerformItem::ClientMemUsage), QVariant(123.5));
        QVERIFY(!first.contains(ClientPerformItem::ThreadNum));
        ZnCore::instance()->setCommonInfo(ClientPerformItem::ClientMemUsage, QVariant());
        ZnCore::instance()->setCommonInfo(ClientPerformItem::ThreadNum, 20);
        figures.resources();
        const QVariantMap second = board().value(MonitorKey::resources).toMap();
        QVERIFY(!second.contains(ClientPerformItem::ClientMemUsage));
        QCOMPARE(second.value(ClientPerformItem::ThreadNum), QVariant(20));
    }

    void manyThreads_noChangeIsLost() {
        constexpr int kThreads = 4;
        constexpr int kItems = 500;
        MonitorBoard figures;
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&figures, i] {
                for (int item = 0; item < kItems; ++item) {
                    figures.clientInfoCollected();
                    figures.clientInfoTaken(1);
                    figures.clientInfoSent(1);
                    figures.gateState(QString::number(i), NET_STATE::CONNECTED);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(clientInfo(),
                 (QVariantMap{
                     {"waiting", 0}, {"sent", kThreads * kItems}, {"batches", kThreads * kItems}}));
        QCOMPARE(board().value(MonitorKey::gates).toMap().size(), kThreads);
    }
};

QTEST_GUILESS_MAIN(MonitorBoardTest)
#include "monitor_board_test.moc"

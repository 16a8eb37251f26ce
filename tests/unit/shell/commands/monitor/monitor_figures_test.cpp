#include "monitor_figures.h"

#include <QtTest>
#include <limits>

#include "monitor_keys.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"

class MonitorFiguresTest : public QObject {
    Q_OBJECT

private slots:
    void board_wrongTypes_countAsNothing() {
        const double nan = std::numeric_limits<double>::quiet_NaN();
        const MonitorFigures figures = MonitorFigures::of(
            {{MonitorKey::gates,
              QVariantMap{{"TradeGate", QVariantMap{{"mean", nan}, {"last", -3}, {"count", "x"}}},
                          {"Odd", 7}}},
             {MonitorKey::beatsOnTheirWay, QVariantList{1}},
             {MonitorKey::clientInfo, "none"},
             {MonitorKey::resources, QVariantMap{{"a", nan}, {"b", "text"}, {"c", 4}}}});
        QCOMPARE(figures.gates.size(), 2);
        QCOMPARE(figures.gates.value("TradeGate").mean, 0.0);
        QCOMPARE(figures.gates.value("TradeGate").last, 0);
        QCOMPARE(figures.gates.value("TradeGate").count, 0);
        QCOMPARE(figures.beatsOnTheirWay, 0);
        QCOMPARE(figures.infoSent, 0);
        QCOMPARE(figures.resources.keys(), QStringList("c"));
    }

    void gatesWithoutAnswer_areThoseWithHeartbeatsAlone() {
        QVariantMap gates;
        const auto missing = [&gates] {
            return MonitorFigures::of({{MonitorKey::gates, gates}}).gatesWithoutAnswer();
        };
        QCOMPARE(missing(), (QStringList{NetGateType::InfoGate, NetGateType::MarketTcpGate,
                                         NetGateType::TradeGate}));
        gates.insert(NetGateType::TradeGate, QVariantMap{{"count", 1}});
        gates.insert(NetGateType::InfoGate, QVariantMap{{"count", 0}});
        gates.insert(NetGateType::MarketTcpGate, QVariantMap{{"count", 5}});
        gates.insert(NetGateType::MarketGrpcGate, QVariantMap{{"count", 0}});
        QCOMPARE(missing(), QStringList(NetGateType::InfoGate));
    }

    void gateStates_ofTheHost_replaceThoseOfThePlugin() {
        const QVariantMap board{
            {MonitorKey::beatsOnTheirWay, 2},
            {MonitorKey::gates,
             QVariantMap{{"TradeGate", QVariantMap{{"state", NET_STATE::CONNECTED}, {"count", 3}}},
                         {"InfoGate", QVariantMap{{"state", NET_STATE::CONNECTED}}}}}};
        const MonitorFigures figures = MonitorFigures::of(withGateStates(
            board, {{"TradeGate", NET_STATE::NOCONNECT}, {"MarketTcpGate", NET_STATE::CONNECTED}}));
        QCOMPARE(figures.gates.value("TradeGate").stateText(), QString("down"));
        QCOMPARE(figures.gates.value("TradeGate").count, 3);
        QCOMPARE(figures.gates.value("InfoGate").stateText(), QString("up"));
        QCOMPARE(figures.gates.value("MarketTcpGate").stateText(), QString("up"));
        QCOMPARE(figures.beatsOnTheirWay, 2);
        QCOMPARE(GateFigures().stateText(), QString("-"));
    }
};

QTEST_APPLESS_MAIN(MonitorFiguresTest)
#include "monitor_figures_test.moc"

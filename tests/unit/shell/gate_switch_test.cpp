#include "gate_switch.h"

#include <QtTest>
#include <mutex>

#include "log_capture.h"
#include "platform_fixture.h"
#include "vocabulary/constants.h"
#include "vocabulary/net_state.h"
#include "vocabulary/plugin_id.h"
#include "vocabulary/values.h"

namespace {

/// The states that a link gets to report. Any thread.
class GateLog {
public:
    GateSwitch::SetGate function() {
        return [this](const QString& gate, const QString& netState) {
            const std::lock_guard<std::mutex> guard(m_lock);
            m_lines.append(gate + ' ' + netState);
        };
    }
    QStringList lines() const {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_lines;
    }

private:
    mutable std::mutex m_lock;  // guards the lines
    QStringList m_lines;
};

}  // namespace

class GateSwitchTest : public QObject {
    Q_OBJECT

    GateLog m_gates;
    std::unique_ptr<PlatformFixture> m_platform;
    ProbePresenter* m_plugin = nullptr;  // deleted by the platform, like the switch

    void request(const QVariant& gateway, const QString& destination) {
        m_plugin->PutEvent(m_plugin->pluginPid(),
                           makeEvent(GateSwitch::kReconnectEvent, gateway, destination));
    }

private slots:
    void init() {
        m_platform = std::make_unique<PlatformFixture>();
        m_plugin = new ProbePresenter;
        (new GateSwitch(m_gates.function()))->initPresenter();
    }
    void cleanup() { m_platform.reset(); }

    void request_ofEachGateway_takesItsGateDownAndUp() {
        const QStringList states{NET_STATE::NOCONNECT, NET_STATE::CONNECTTING,
                                 NET_STATE::CONNECTED};
        const QList<QPair<QString, QString>> gateways{
            {Constants::ZGATE_GATEWAY, NetGateType::TradeGate},
            {Constants::ZINFO_GATEWAY, NetGateType::InfoGate},
            {Constants::MDC_TCP_GATEWAY, NetGateType::MarketTcpGate}};
        QStringList expected = m_gates.lines();
        for (const auto& [gateway, gate] : gateways) {
            request(gateway, PluginID::PLUGINNET_GLOBALID);
            for (const QString& state : states) {
                expected.append(gate + ' ' + state);
            }
            QVERIFY(waitFor([&] { return m_gates.lines() == expected; }));
        }
    }

    void request_ofAnUnknownGateway_isOneWarning() {
        const QStringList before = m_gates.lines();
        const LogCapture log;
        const QVariantList bodies{"NO_GATEWAY", "", QVariant(), QVariantMap{{"a", 1}}, 7};
        for (const QVariant& body : bodies) {
            request(body, PluginID::PLUGINNET_GLOBALID);
        }
        QVERIFY(waitFor([&] {
            return log.texts(QtWarningMsg).filter("unknown gateway").size() == bodies.size();
        }));
        QCOMPARE(m_gates.lines(), before);
    }

    void request_toAnotherPlugin_isNotTaken() {
        const int before = m_gates.lines().size();
        request(Constants::ZINFO_GATEWAY, PluginID::BOTTOM_WIDGET);
        request(Constants::ZGATE_GATEWAY, PluginID::PLUGINNET_GLOBALID);
        QVERIFY(waitFor([&] { return m_gates.lines().size() == before + 3; }));
        QCOMPARE(m_gates.lines().filter(NetGateType::InfoGate).size(),
                 m_gates.lines().mid(0, before).filter(NetGateType::InfoGate).size());
    }
};

QTEST_GUILESS_MAIN(GateSwitchTest)
#include "gate_switch_test.moc"

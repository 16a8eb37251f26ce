#include "bottom_bar.h"

#include <QtTest>

#include "log_capture.h"
#include "platform_fixture.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "vocabulary/plugin_id.h"
#include "vocabulary/values.h"

namespace {

const QString kTrade = NetGateType::TradeGate;
const QString kInfo = NetGateType::InfoGate;

QVariant statistic(const QString& gate, int last, int largest) {
    return packRows({{System::GatewayType, gate}},
                    {{{System::NetElapse, last}, {System::timeStamp, QTime(10, 0, 15)}},
                     {{System::NetElapse, largest}, {System::timeStamp, QTime(9, 0, 0)}}});
}

}  // namespace

class BottomBarTest : public QObject {
    Q_OBJECT

    std::unique_ptr<PlatformFixture> m_platform;
    std::shared_ptr<GateDelays> m_delays;
    ProbePresenter* m_plugin = nullptr;  // deleted by the platform, like the bar

    void publish(const QVariant& body, const QString& destination = PluginID::BOTTOM_WIDGET) {
        const int id =
            VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::BUSI_HEART_BEAT_STATISTIC);
        m_plugin->PutEvent(m_plugin->pluginPid(), makeEvent(id, body, destination));
    }
    /// Publishes the statistic of a gate and waits for it, so that all before it is handled.
    bool settle() {
        publish(statistic("mark", 1, 1));
        return waitFor([this] { return m_delays->all().contains("mark"); });
    }

private slots:
    void init() {
        m_platform = std::make_unique<PlatformFixture>();
        m_delays = std::make_shared<GateDelays>();
        m_plugin = new ProbePresenter;
        (new BottomBar(m_delays))->initPresenter();
    }
    void cleanup() { m_platform.reset(); }

    void statistic_ofEachGate_isKept() {
        QVERIFY(m_delays->all().isEmpty());
        publish(statistic(kTrade, 12, 340));
        publish(statistic(kInfo, 7, 8));
        QVERIFY(waitFor([this] { return m_delays->all().size() == 2; }));
        const GateDelay trade = m_delays->all().value(kTrade);
        QCOMPARE(trade.lastMs, 12);
        QCOMPARE(trade.lastTime, QTime(10, 0, 15));
        QCOMPARE(trade.largestMs, 340);
        QCOMPARE(trade.largestTime, QTime(9, 0, 0));
        QCOMPARE(m_delays->all().value(kInfo).lastMs, 7);
    }

    void statistic_later_replacesTheFormer() {
        publish(statistic(kTrade, 12, 340));
        publish(statistic(kTrade, 20, 341));
        QVERIFY(settle());
        QCOMPARE(m_delays->all().value(kTrade).lastMs, 20);
        QCOMPARE(m_delays->all().value(kTrade).largestMs, 341);
    }

    void statistic_beforeAnySample_hasNoTimes() {
        publish(packRows({{System::GatewayType, kTrade}},
                         {{{System::NetElapse, 0}, {System::timeStamp, QTime()}},
                          {{System::NetElapse, 0}, {System::timeStamp, QTime()}}}));
        QVERIFY(settle());
        QVERIFY(m_delays->all().contains(kTrade));
        QVERIFY(!m_delays->all().value(kTrade).lastTime.isValid());
        QVERIFY(!m_delays->all().value(kTrade).largestTime.isValid());
    }

    void statistic_notComplete_isDroppedWithALine_data() {
        QTest::addColumn<QVariant>("body");
        QTest::newRow("no gate") << packRows({{"a", 1}}, {{{"n", 1}}, {{"n", 2}}});
        QTest::newRow("no rows") << packRows({{System::GatewayType, kTrade}}, {});
        QTest::newRow("one row") << packRows({{System::GatewayType, kTrade}},
                                             {{{System::NetElapse, 3}}});
        QTest::newRow("garbage") << QVariant("garbage");
    }
    void statistic_notComplete_isDroppedWithALine() {
        QFETCH(QVariant, body);
        const LogCapture log;
        publish(body);
        QVERIFY(settle());
        QCOMPARE(m_delays->all().keys(), QStringList{"mark"});
        QCOMPARE(log.texts(QtWarningMsg).filter("are not complete").size(), 1);
    }

    void statistic_toAnotherPlugin_isNotKept() {
        publish(statistic(kTrade, 1, 1), PluginID::PLUGINNET_GLOBALID);
        QVERIFY(settle());
        QCOMPARE(m_delays->all().keys(), QStringList{"mark"});
    }
};

QTEST_GUILESS_MAIN(BottomBarTest)
#include "bottom_bar_test.moc"

#include "net_delay_reminder.h"

#include <QtTest>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "client_world.h"
#include "log_capture.h"
#include "vocabulary/constants.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "zncore/zn_core.h"

namespace {

const QString kTrade = NetGateType::TradeGate;
const QString kInfo = NetGateType::InfoGate;
const QString kMarket = NetGateType::MarketTcpGate;

StaticDbBuilder gateNames() {
    return StaticDbBuilder().section(
        "NetGateName", {{kTrade, "交易网关"}, {kInfo, "资讯网关"}, {kMarket, "行情网关"}});
}

/// Keeps the notices and the reconnects. Any thread; read it while nothing else calls.
class AlarmLog final : public NetDelayAlarm {
public:
    void remindOfDelay(const QString& text) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        notices.append(text);
    }
    void reconnectGate(const QString& gatewayName) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        reconnects.append(gatewayName);
    }

    QStringList notices;
    QStringList reconnects;

private:
    std::mutex m_lock;  // guards the lists
};

}  // namespace

class NetDelayReminderTest : public QObject {
    Q_OBJECT

    std::unique_ptr<ClientWorld> m_world;
    AlarmLog m_alarm;
    std::unique_ptr<NetDelayReminder> m_reminder;

    static void setMinutes(const QVariant& minutes) {
        ZnCore::instance()->saveSetting(SystemSetting::SysMultiTimeOutCount, minutes);
    }
    void make() { m_reminder = std::make_unique<NetDelayReminder>(m_alarm); }
    void record(const QString& gate, int elapse, int times = 1) {
        for (int i = 0; i < times; ++i) {
            m_reminder->recordNetElapseToRemind(gate, elapse);
        }
    }

private slots:
    void init() {
        m_world = std::make_unique<ClientWorld>(QList<TestAccount>(), gateNames());
        setMinutes(1);
        m_alarm.notices.clear();
        m_alarm.reconnects.clear();
        make();
    }
    void cleanup() {
        m_reminder.reset();
        m_world.reset();
    }

    void window_full_raisesOneNoticeAndStartsAnew() {
        record(kTrade, 9000, 3);
        bool valid = true;
        m_reminder->netElapseStat().value(kTrade).GetAvgData(&valid);
        QVERIFY(!valid);
        QVERIFY(m_alarm.notices.isEmpty());
        record(kTrade, 9000);
        QCOMPARE(m_alarm.notices,
                 QStringList{"检查到交易网关连续1分钟延迟超过8秒，可在右下角选择切换站点，"
                             "若已设置为自动重连可忽略。"});
        record(kTrade, 9000, 3);
        QCOMPARE(m_alarm.notices.size(), 1);
        record(kTrade, 9000);
        QCOMPARE(m_alarm.notices.size(), 2);
    }

    void average_aroundTheLimit_raisesOnlyAbove_data() {
        QTest::addColumn<QString>("gate");
        QTest::addColumn<QVector<int>>("samples");
        QTest::addColumn<int>("notices");
        QTest::newRow("trade at the limit") << kTrade << QVector<int>{8000, 8000, 8000, 8000} << 0;
        QTest::newRow("trade above") << kTrade << QVector<int>{8000, 8000, 8000, 8001} << 1;
        QTest::newRow("trade, mean at the limit") << kTrade << QVector<int>{0, 0, 0, 32000} << 0;
        QTest::newRow("trade, one very slow") << kTrade << QVector<int>{0, 0, 0, 32001} << 1;
        QTest::newRow("info at the limit") << kInfo << QVector<int>{8000, 8000, 8000, 8000} << 0;
        QTest::newRow("info above") << kInfo << QVector<int>{8001, 8001, 8001, 8001} << 1;
        QTest::newRow("slower than ten seconds")
            << kTrade << QVector<int>{12000, 12000, 12000, 12000} << 1;
        QTest::newRow("market below") << kMarket << QVector<int>{59999, 59999, 59999, 59999} << 0;
        QTest::newRow("market at the limit")
            << kMarket << QVector<int>{60000, 60000, 60000, 60000} << 0;
        QTest::newRow("market above") << kMarket << QVector<int>{60001, 60001, 60001, 60001} << 1;
        QTest::newRow("slow start slides out")
            << kTrade << QVector<int>{30000, 100, 100, 100, 100, 100, 100, 100} << 0;
        QTest::newRow("gate without a heartbeat")
            << NetGateType::MarketGrpcGate << QVector<int>{90000, 90000, 90000, 90000} << 0;
        QTest::newRow("unknown gate") << "nothing" << QVector<int>{90000, 90000, 90000, 90000} << 0;
        QTest::newRow("empty gate") << "" << QVector<int>{90000, 90000, 90000, 90000} << 0;
    }
    void average_aroundTheLimit_raisesOnlyAbove() {
        QFETCH(QString, gate);
        QFETCH(QVector<int>, samples);
        QFETCH(int, notices);
        for (const int sample : samples) {
            record(gate, sample);
        }
        QCOMPARE(m_alarm.notices.size(), notices);
    }

    void notice_ofMarketData_statesItsOwnLimitAndTheMinutes() {
        setMinutes(2);
        make();
        record(kMarket, 60001, 8);
        QCOMPARE(m_alarm.notices,
                 QStringList{"检查到行情网关连续2分钟延迟超过60秒，可在右下角选择切换站点，"
                             "若已设置为自动重连可忽略。"});
    }

    void notice_nameWithAPlaceholder_isTakenAsItStands() {
        m_reminder.reset();
        m_world.reset();
        m_world = std::make_unique<ClientWorld>(
            QList<TestAccount>(), StaticDbBuilder().section("NetGateName", {{kTrade, "%2%3"}}));
        setMinutes(1);
        make();
        record(kTrade, 9000, 4);
        QCOMPARE(m_alarm.notices.size(), 1);
        QVERIFY2(m_alarm.notices.first().startsWith("检查到%2%3连续1分钟"),
                 qPrintable(m_alarm.notices.first()));
    }

    void sample_negative_isLeftOut() {
        record(kTrade, 9000, 3);
        record(kTrade, -86399000);  // an answer across midnight
        QVERIFY(m_alarm.notices.isEmpty());
        record(kTrade, 9000);
        QCOMPARE(m_alarm.notices.size(), 1);
    }

    void samples_ofTwoGates_doNotMix() {
        record(kTrade, 9000, 3);
        record(kInfo, 9000, 3);
        QVERIFY(m_alarm.notices.isEmpty());
        record(kInfo, 9000);
        QCOMPARE(m_alarm.notices.size(), 1);
        QVERIFY(m_alarm.notices.first().contains("资讯网关"));
    }

    void window_withoutALength_isNeverFull_data() {
        QTest::addColumn<QVariant>("minutes");
        QTest::newRow("zero") << QVariant(0);
        QTest::newRow("negative") << QVariant(-3);
        QTest::newRow("text") << QVariant("soon");
        QTest::newRow("empty") << QVariant("");
    }
    void window_withoutALength_isNeverFull() {
        QFETCH(QVariant, minutes);
        setMinutes(minutes);
        make();
        record(kTrade, 90000, 50);
        m_reminder->slotMultiDelaySettingChanged();
        record(kTrade, 90000, 50);
        QVERIFY(m_alarm.notices.isEmpty());
        bool valid = true;
        QCOMPARE(m_reminder->netElapseStat().value(kTrade).GetAvgData(&valid), 0.0);
        QVERIFY(!valid);
    }

    void window_settingTooLarge_isNeverFullAndKeepsItsSamples() {
        setMinutes(2000000000);
        make();
        record(kTrade, 9000, 100);
        QVERIFY(m_alarm.notices.isEmpty());
        QCOMPARE(m_reminder->netElapseStat().value(kTrade).GetAvgData(nullptr), 9000.0);
    }

    void handling_onlyTheNumberOne_reconnects_data() {
        QTest::addColumn<QVariant>("handling");
        QTest::addColumn<bool>("reconnects");
        QTest::newRow("one") << QVariant(1) << true;
        QTest::newRow("one as a text") << QVariant("1") << true;
        QTest::newRow("zero") << QVariant(0) << false;
        QTest::newRow("two") << QVariant(2) << false;
        QTest::newRow("text") << QVariant("yes") << false;
        QTest::newRow("empty") << QVariant("") << false;
    }
    void handling_onlyTheNumberOne_reconnects() {
        QFETCH(QVariant, handling);
        QFETCH(bool, reconnects);
        ZnCore::instance()->saveSetting(SystemSetting::SysMultiTimeOutHandle, handling);
        record(kTrade, 9000, 4);
        QCOMPARE(m_alarm.notices.size(), 1);
        QCOMPARE(m_alarm.reconnects, reconnects ? QStringList{"ZGATE_GATEWAY"} : QStringList());
    }

    void reconnect_ofEachGate_namesItsGateway_data() {
        QTest::addColumn<QString>("gate");
        QTest::addColumn<QString>("gateway");
        QTest::newRow("trade") << kTrade << Constants::ZGATE_GATEWAY;
        QTest::newRow("info") << kInfo << Constants::ZINFO_GATEWAY;
        QTest::newRow("market") << kMarket << Constants::MDC_TCP_GATEWAY;
    }
    void reconnect_ofEachGate_namesItsGateway() {
        QFETCH(QString, gate);
        QFETCH(QString, gateway);
        ZnCore::instance()->saveSetting(SystemSetting::SysMultiTimeOutHandle, 1);
        record(gate, 60001, 4);
        QCOMPARE(m_alarm.reconnects, QStringList{gateway});
    }

    void settingChange_emptiesTheWindowsAndGivesThemTheNewLength() {
        record(kTrade, 9000, 3);
        record(kMarket, 90000, 3);
        setMinutes(2);
        m_reminder->slotMultiDelaySettingChanged();
        record(kTrade, 9000, 7);
        record(kMarket, 90000, 7);
        QVERIFY(m_alarm.notices.isEmpty());
        record(kTrade, 9000);
        record(kMarket, 90000);
        QCOMPARE(m_alarm.notices.size(), 2);
        setMinutes(1);
        m_reminder->slotMultiDelaySettingChanged();
        record(kTrade, 9000, 4);
        QCOMPARE(m_alarm.notices.size(), 3);
    }

    void clear_ofAGate_leavesTheOthers() {
        record(kTrade, 9000, 3);
        record(kInfo, 9000, 3);
        m_reminder->clear(kTrade);
        m_reminder->clear(NetGateType::MarketGrpcGate);
        record(kTrade, 9000);
        record(kInfo, 9000);
        QCOMPARE(m_alarm.notices.size(), 1);
        QVERIFY(m_alarm.notices.first().contains("资讯网关"));
        QCOMPARE(m_reminder->netElapseStat().size(), 3);
    }

    void everySample_isOneDebugLine() {
        const LogCapture log;
        record(kInfo, 1234);
        record("nothing", 1234);
        QStringList own;
        for (const QString& text : log.texts(QtDebugMsg)) {
            if (text.contains("VelmarBusinessDataManagerPresenterClass::recordNetElapseToRemind")) {
                own.append(text);
            }
        }
        QCOMPARE(own.size(), 1);
        QVERIFY2(own.first().contains(kInfo) && own.first().contains("1234") &&
                     own.first().contains("false"),
                 qPrintable(own.first()));
    }

    void samples_ofSeveralThreads_raiseANoticeForEachFullWindow() {
        constexpr int kThreads = 4;
        constexpr int kEach = 200;
        constexpr int kWindow = 4;
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([this] {
                record(kTrade, 9000, kEach);
                m_reminder->netElapseStat();
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(m_alarm.notices.size(), kThreads * kEach / kWindow);
    }
};

QTEST_GUILESS_MAIN(NetDelayReminderTest)
#include "net_delay_reminder_test.moc"

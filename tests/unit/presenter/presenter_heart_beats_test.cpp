#include <QTimer>
#include <QtTest>
#include <algorithm>
#include <type_traits>

#include "client_world.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "resource_figures.h"
#include "resource_history.h"
#include "run_on_thread.h"
#include "velmar_business_data_manager.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/net_state.h"
#include "vocabulary/plugin_id.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"
#include "zncore/zn_core.h"

namespace {

using Presenter = VelmarBusinessDataManagerPresenterClass;

const QString kBeat = Velmar_MsgType::BusiHeartBeatRequest;
const QString kTrade = NetGateType::TradeGate;
const QString kInfo = NetGateType::InfoGate;
const QString kMarket = NetGateType::MarketTcpGate;
constexpr int kSettingsChanged = 0x1000A;
constexpr int kReconnect = 0x10011;
constexpr int kBeatMs = 15000;
constexpr int kHourMs = 3600000;

int statisticEvent() {
    return VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::BUSI_HEART_BEAT_STATISTIC);
}

int messageEvent() {
    return VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::BUSI_MSG_ADD);
}

QVariant answerTo(const QString& clientMsgId) {
    return packRows(
        {{System::clientMsgID, clientMsgId}, {System::requestExeStatus, RequestExeStatus::success}},
        {});
}

}  // namespace

/// The heartbeats of a client that has started up. A process has one start-up.
class PresenterHeartBeatsTest : public QObject {
    Q_OBJECT

    std::unique_ptr<LogCapture> m_log;
    std::unique_ptr<ClientWorld> m_world;
    std::unique_ptr<VelmarBusinessDataManager> m_object;
    // Deleted by the platform.
    RecordingPresenter* m_bar = nullptr;
    RecordingPresenter* m_net = nullptr;
    RecordingPresenter* m_other = nullptr;

    Presenter* presenter() const { return m_object->presenter(); }
    ScriptedLink& link() { return m_world->link(); }

    static RecordingPresenter* listener(const QString& instance) {
        auto* const made = new RecordingPresenter(instance);
        for (const int id : {statisticEvent(), messageEvent(), kReconnect}) {
            made->SubEvent(made->pluginPid(), id, 1);
        }
        made->initPresenter();
        return made;
    }
    static QList<RecordingPresenter::Event> eventsOf(const RecordingPresenter* listener, int id) {
        QList<RecordingPresenter::Event> found;
        for (const RecordingPresenter::Event& event : listener->events()) {
            if (event.id == id) {
                found.append(event);
            }
        }
        return found;
    }
    /// The statistics of a gate that the bottom bar got.
    QList<QVariant> statistics(const QString& gate) const {
        QList<QVariant> bodies;
        for (const RecordingPresenter::Event& event : eventsOf(m_bar, statisticEvent())) {
            if (headerOf(event.body).value(System::GatewayType) == gate) {
                bodies.append(event.body);
            }
        }
        return bodies;
    }
    /// Runs the start-up to its end; the timers then run for an hour, so that none fires by itself.
    void start() {
        m_object = std::make_unique<VelmarBusinessDataManager>();
        m_object->initialize();
        // Queued behind the start-up, and so before any timer fires, however long that took.
        ask([](const QList<QTimer*>& timers) {
            for (QTimer* const timer : timers) {
                timer->setTimerType(Qt::PreciseTimer);
                timer->setInterval(kHourMs);
            }
            return 0;
        });
    }
    /// The same without any sample: no beat is answered, and that of market data is forgotten.
    void startQuietly() {
        link().on(kBeat, ScriptedReply::never());
        start();
        presenter()->slotNetReconnect(kMarket);
    }
    /// The timers of the heartbeats; on the object thread.
    static QList<QTimer*> beatTimers(const Presenter* presenter) {
        QList<QTimer*> timers;
        for (QTimer* const timer : presenter->findChildren<QTimer*>()) {
            if (timer->interval() == kBeatMs || timer->interval() == kHourMs) {
                timers.append(timer);
            }
        }
        return timers;
    }
    /// What the timers' object thread says about them.
    template <class Question>
    std::invoke_result_t<Question, const QList<QTimer*>&> ask(Question question) const {
        std::invoke_result_t<Question, const QList<QTimer*>&> answer{};
        Presenter* const asked = presenter();
        runOnThreadAndWait(asked, [&] { answer = question(beatTimers(asked)); });
        return answer;
    }
    /// The gates' timers are made in this order.
    static const QStringList& timedGates() {
        static const QStringList gates{kTrade, kInfo, kMarket};
        return gates;
    }
    QStringList gatesWithRunningTimers() const {
        return ask([](const QList<QTimer*>& timers) {
            QStringList gates;
            for (int i = 0; i < timers.size(); ++i) {
                if (timers.at(i)->isActive()) {
                    gates.append(timedGates().value(i));
                }
            }
            return gates;
        });
    }
    void stopTimers() const {
        ask([](const QList<QTimer*>& timers) {
            for (QTimer* const timer : timers) {
                timer->stop();
            }
            return 0;
        });
    }
    /// Lets each timer fire once, and returns their number.
    int fireTimers() const {
        return ask([](const QList<QTimer*>& timers) {
            int fired = 0;
            for (QTimer* const timer : timers) {
                fired += QMetaObject::invokeMethod(timer, "timeout", Qt::DirectConnection) ? 1 : 0;
            }
            return fired;
        });
    }
    /// How long ago the timers were started, in milliseconds.
    QList<int> timerAges() const {
        return ask([](const QList<QTimer*>& timers) {
            QList<int> ages;
            for (const QTimer* const timer : timers) {
                ages.append(timer->interval() - timer->remainingTime());
            }
            return ages;
        });
    }
    QStringList beatIds() {
        QStringList ids;
        for (const ScriptedLink::Request& request : link().requests(kBeat)) {
            ids.append(request.header.value(System::clientMsgID).toString());
        }
        return ids;
    }
    /// Emits delays as heartbeats do, and waits until they are recorded.
    void recordDelays(const QString& gate, int elapse, int times) {
        for (int i = 0; i < times; ++i) {
            emit presenter()->signalNetElapseUpdated(gate, QTime(10, 0), elapse);
        }
        runOnThreadAndWait(presenter(), [] {});
    }
    /// Waits until a listener has got every event that was published before.
    static bool settle(const RecordingPresenter* listener) {
        const QVariant mark = packRows({{"mark", 1}}, {});
        const auto marks = [listener, &mark] {
            int count = 0;
            for (const RecordingPresenter::Event& event : listener->events()) {
                count += event.body == mark ? 1 : 0;
            }
            return count;
        };
        const int before = marks();
        LocalPlatform::instance().publishEvent(statisticEvent(), mark);
        return waitFor([&] { return marks() > before; });
    }

private slots:
    void init() {
        m_log = std::make_unique<LogCapture>();
        m_world = std::make_unique<ClientWorld>(
            numberedAccounts(1),
            StaticDbBuilder().section(
                "NetGateName", {{kTrade, "交易网关"}, {kInfo, "资讯网关"}, {kMarket, "行情网关"}}));
        ZnCore::instance()->saveSetting(SystemSetting::SysMultiTimeOutCount, 1);
        m_world->login();
        m_bar = listener(PluginID::BOTTOM_WIDGET);
        m_net = listener(PluginID::PLUGINNET_GLOBALID);
        m_other = listener("Test.Other");
    }
    void cleanup() {
        m_object.reset();
        m_world.reset();
        m_log.reset();
    }

    void startUp_timers_areThreeRunningOnesOnTheObjectThread() {
        m_object = std::make_unique<VelmarBusinessDataManager>();
        m_object->initialize();
        QThread* const objectThread = presenter()->thread();
        const int right = ask([objectThread](const QList<QTimer*>& timers) {
            int count = 0;
            for (const QTimer* const timer : timers) {
                count += timer->interval() == kBeatMs && timer->isActive() &&
                                 !timer->isSingleShot() && timer->thread() == objectThread
                             ? 1
                             : 0;
            }
            return timers.size() == 3 ? count : -1;
        });
        QCOMPARE(right, 3);
    }

    void startUp_twice_keepsThreeTimers() {
        start();
        const int before = link().requestCount(kBeat);
        QVERIFY(
            QMetaObject::invokeMethod(presenter(), "slotInitData", Qt::BlockingQueuedConnection));
        QCOMPARE(ask([](const QList<QTimer*>& timers) { return timers.size(); }), 3);
        QVERIFY(link().waitForRequestCount(kBeat, before + 2));
    }

    void startUp_gates_getABeatEachAtOnce() {
        start();
        QVERIFY(link().waitForRequestCount(kBeat, 2));
        const QList<ScriptedLink::Request> beats = link().requests(kBeat);
        QCOMPARE(beats.size(), 2);
        QCOMPARE(beats.at(0).envelopeType, kBeat);
        QCOMPARE(beats.at(1).envelopeType, QString("325005"));
        for (const ScriptedLink::Request& beat : beats) {
            QCOMPARE(beat.header.value(System::msgType).toString(), kBeat);
            QCOMPARE(beat.sourceId, presenter()->pluginPid());
            QCOMPARE(beat.header.value(System::NetElapse).toInt(), 0);
            const QString time = beat.header.value(System::timeStamp).toString();
            QCOMPARE(time.size(), QString("hh:mm:ss.zzz").size());
            QVERIFY2(QTime::fromString(time, "hh:mm:ss.zzz").isValid(), qPrintable(time));
        }
        QVERIFY(beats.at(0).header.contains(System::CpuUsage));
        QVERIFY(!beats.at(1).header.contains(System::CpuUsage));
        const QStringList ids = beatIds();
        QVERIFY(!ids.at(0).isEmpty() && !ids.at(1).isEmpty());
        QVERIFY(ids.at(0) != ids.at(1));
        QVERIFY(waitFor([this] {
            const auto stats = presenter()->heartBeats().heartBeatInfo();
            return stats.value(kTrade).count == 1 && stats.value(kInfo).count == 1;
        }));
        QCOMPARE(presenter()->heartBeats().pendingCount(), 0);
    }

    void startUp_marketData_isSampledAndPublishedToTheBottomBarAlone() {
        ZnCore::instance()->setCommonInfo(ClientPerformItem::MdcLatency, 17);
        start();
        QVERIFY(waitFor([this] { return statistics(kMarket).size() == 1; }));
        const QVariant body = statistics(kMarket).first();
        const QVariantMap header = headerOf(body);
        QCOMPARE(header.value(System::GatewayType).toString(), kMarket);
        QCOMPARE(header.value(System::subGroupNumber).toInt(), 2);
        const NetDelayStat stat = presenter()->heartBeats().heartBeatInfo().value(kMarket);
        QCOMPARE(stat.lastElapse, 17);
        const QList<QVariantMap> rows = rowsOf(body);
        QCOMPARE(rows, (QList<QVariantMap>{
                           {{System::NetElapse, 17}, {System::timeStamp, stat.lastTime}},
                           {{System::NetElapse, 17}, {System::timeStamp, stat.maxTime}}}));
        QCOMPARE(rows.first().value(System::timeStamp).type(), QVariant::Time);
        QCOMPARE(eventsOf(m_bar, statisticEvent()).first().source, presenter()->pluginPid());
        QVERIFY(settle(m_other));
        QCOMPARE(eventsOf(m_other, statisticEvent()).size(), 1);  // that of settle()
    }

    void marketData_negative_isPublishedWithoutASample() {
        ZnCore::instance()->setCommonInfo(ClientPerformItem::MdcLatency, -3);
        start();
        QVERIFY(waitFor([this] { return statistics(kMarket).size() == 1; }));
        const QList<QVariantMap> rows = rowsOf(statistics(kMarket).first());
        QCOMPARE(rows.at(0).value(System::NetElapse).toInt(), 0);
        QVERIFY(!rows.at(0).value(System::timeStamp).toTime().isValid());
        QCOMPARE(presenter()->heartBeats().heartBeatInfo().value(kMarket).count, 0);
    }

    void answer_ofEitherType_isASample() {
        link().on(kBeat, ScriptedReply::rows({}).held());
        start();
        QVERIFY(link().waitForRequestCount(kBeat, 2));
        const QStringList ids = beatIds();
        const auto samples = [this](const QString& gate) {
            return presenter()->heartBeats().heartBeatInfo().value(gate).count;
        };
        const QStringList others{"325005", Velmar_MsgType::MessageCenterPushMsg, QString()};
        for (const QString& type : others) {
            presenter()->ProcResponseMsg({}, {}, type, answerTo(ids.at(0)));
        }
        QCOMPARE(samples(kTrade) + samples(kInfo), 0);
        QCOMPARE(presenter()->heartBeats().pendingCount(), 2);
        presenter()->ProcResponseMsg({}, {}, Velmar_MsgType::BusiHeartBeatResponse,
                                     answerTo(ids.at(0)));
        QCOMPARE(samples(kTrade), 1);
        QCOMPARE(samples(kInfo), 0);
        QVERIFY(ZnCore::instance()->getCommonInfo(ClientPerformItem::TradeLatency).isValid());
        QVERIFY(!ZnCore::instance()->getCommonInfo(ClientPerformItem::InfoLatency).isValid());
        presenter()->ProcResponseMsg({}, {}, Velmar_MsgType::BusiHeartBeatRequest,
                                     answerTo(ids.at(1)));
        QCOMPARE(samples(kInfo), 1);
        QVERIFY(ZnCore::instance()->getCommonInfo(ClientPerformItem::InfoLatency).isValid());
        QCOMPARE(presenter()->heartBeats().pendingCount(), 0);
    }

    void answer_throughTheLink_reachesTheGateOfItsBeat() {
        link().on(kBeat, ScriptedReply::rows({}).held());
        start();
        QVERIFY(link().waitForRequestCount(kBeat, 2));
        QCOMPARE(link().release("325005"), 1);
        QVERIFY(waitFor(
            [this] { return presenter()->heartBeats().heartBeatInfo().value(kInfo).count == 1; }));
        QCOMPARE(presenter()->heartBeats().heartBeatInfo().value(kTrade).count, 0);
        QVERIFY(waitFor([this] { return statistics(kInfo).size() == 1; }));
        QCOMPARE(link().release(kBeat), 1);
        QVERIFY(waitFor([this] { return statistics(kTrade).size() == 1; }));
        QCOMPARE(presenter()->heartBeats().pendingCount(), 0);
    }

    void answer_refused_isASampleAndOneWarning() {
        link().on(kBeat, ScriptedReply::refusal("没有心跳"));
        start();
        QVERIFY(waitFor([this] {
            const auto stats = presenter()->heartBeats().heartBeatInfo();
            return stats.value(kTrade).count == 1 && stats.value(kInfo).count == 1;
        }));
        QCOMPARE(m_log->texts(QtWarningMsg).filter("没有心跳").size(), 1);
    }

    void answer_neverSent_changesNothing() {
        link().on(kBeat, ScriptedReply::rows({}).held());
        start();
        presenter()->ProcResponseMsg({}, {}, Velmar_MsgType::BusiHeartBeatResponse,
                                     answerTo("nobody"));
        presenter()->ProcResponseMsg({}, {}, Velmar_MsgType::BusiHeartBeatResponse, QVariant());
        QCOMPARE(presenter()->heartBeats().pendingCount(), 2);
        QCOMPARE(presenter()->heartBeats().heartBeatInfo().keys(), QStringList{kMarket});
        QVERIFY(settle(m_bar));
        QVERIFY(statistics(kTrade).isEmpty());
    }

    void beat_refusedByThePlatform_staysOnItsWay() {
        link().on(kBeat, ScriptedReply::rows({}).held());
        start();
        link().refuseSends(true);
        fireTimers();
        QCOMPARE(presenter()->heartBeats().pendingCount(), 4);
        QCOMPARE(link().requestCount(kBeat), 2);
        QCOMPARE(link().release(kBeat), 2);
        QVERIFY(waitFor([this] { return presenter()->heartBeats().pendingCount() == 2; }));
    }

    void timer_fires_beatsAgainAndSamplesMarketData() {
        start();
        QVERIFY(link().waitForRequestCount(kBeat, 2));
        QCOMPARE(fireTimers(), 3);
        QVERIFY(link().waitForRequestCount(kBeat, 4));
        QStringList envelopes;
        for (const ScriptedLink::Request& beat : link().requests(kBeat)) {
            envelopes.append(beat.envelopeType);
        }
        envelopes.sort();
        QCOMPARE(envelopes, (QStringList{"325005", "325005", kBeat, kBeat}));
        QVERIFY(waitFor([this] { return statistics(kMarket).size() == 2; }));
        QCOMPARE(presenter()->heartBeats().heartBeatInfo().value(kMarket).count, 2);
    }

    void restart_ofAGate_startsItsTimerAnewWithoutABeat() {
        start();
        QVERIFY(link().waitForRequestCount(kBeat, 2));
        constexpr int kOldMs = 50;
        const auto isOld = [](int age) { return age >= kOldMs; };
        for (int i = 0; i < timedGates().size(); ++i) {
            QVERIFY(waitFor([&] {
                const QList<int> ages = timerAges();
                return std::all_of(ages.cbegin(), ages.cend(), isOld);
            }));
            // Repeated, since a busy machine may let a timer grow old before it is looked at.
            QVERIFY(waitFor([&] {
                emit presenter()->signalRestartTimer(timedGates().at(i));
                emit presenter()->signalRestartTimer("nothing");
                return !isOld(timerAges().value(i));
            }));
            const QList<int> ages = timerAges();
            QCOMPARE(ages.size(), timedGates().size());
            for (int other = 0; other < ages.size(); ++other) {
                QVERIFY(other == i || isOld(ages.at(other)));
            }
        }
        QCOMPARE(gatesWithRunningTimers(), timedGates());
        QCOMPARE(link().requestCount(kBeat), 2);
    }

    void restart_ofAStoppedTimer_startsIt() {
        start();
        for (const QString& gate : timedGates()) {
            stopTimers();
            QCOMPARE(gatesWithRunningTimers(), QStringList());
            emit presenter()->signalRestartTimer(gate);
            emit presenter()->signalRestartTimer("nothing");
            QCOMPARE(gatesWithRunningTimers(), QStringList{gate});
        }
    }

    void gate_connectedAgain_startsFromACleanStatistic() {
        start();
        const auto withSamples = [this] {
            QStringList gates;
            const auto stats = presenter()->heartBeats().heartBeatInfo();
            for (auto it = stats.cbegin(); it != stats.cend(); ++it) {
                if (it->count > 0) {
                    gates.append(it.key());
                }
            }
            return gates;
        };
        QVERIFY(waitFor([&] { return withSamples().size() == 3; }));
        runOnThreadAndWait(presenter(), [] {});  // the last sample is in its window
        QStringList expected = withSamples();
        for (const QString& gate : {NetGateType::MarketGrpcGate, kTrade, kInfo, kMarket}) {
            stopTimers();
            presenter()->slotNetReconnect(gate);
            recordDelays(gate, 90000, 3);
            link().gateState(gate, NET_STATE::CONNECTED);
            QVERIFY(link().waitUntilIdle());
            // Handled by the message thread behind the gate's state.
            const QString mark = "behind " + gate;
            LocalPlatform::instance().publishEvent(kSettingsChanged, QVariantMap{{mark, 1}});
            QVERIFY(m_log->waitFor(mark));
            expected.removeAll(gate);
            QCOMPARE(withSamples(), expected);
            QCOMPARE(gatesWithRunningTimers(),
                     timedGates().contains(gate) ? QStringList{gate} : QStringList());
            // The delays from before the reconnect do not count.
            recordDelays(gate, 90000, 3);
        }
        QCOMPARE(link().requestCount(kBeat), 2);
        QVERIFY(settle(m_other));
        QVERIFY(eventsOf(m_other, messageEvent()).isEmpty());
    }

    void delay_sustained_isAnEmergencyNotice() {
        startQuietly();
        recordDelays(kTrade, 8001, 4);
        QVERIFY(waitFor([this] { return eventsOf(m_other, messageEvent()).size() == 1; }));
        const QVariantMap notice = headerOf(eventsOf(m_other, messageEvent()).first().body);
        QCOMPARE(notice.value(System::BusiMsgLevel).toString(), BusiMsgLevel::Emergency);
        QCOMPARE(notice.value(System::BusiMsgType).toString(), BusiMsgType::SystemMsg);
        QCOMPARE(notice.value(System::BusiMsgSubType).toString(), QString("1001"));
        QCOMPARE(notice.value(System::textDescription).toString(),
                 QString("检查到交易网关连续1分钟延迟超过8秒，可在右下角选择切换站点，"
                         "若已设置为自动重连可忽略。"));
        QVERIFY(settle(m_net));
        QVERIFY(eventsOf(m_net, kReconnect).isEmpty());
    }

    void delay_sustainedWithReconnect_isAnEventToTheNetworkPlugin() {
        ZnCore::instance()->saveSetting(SystemSetting::SysMultiTimeOutHandle, 1);
        startQuietly();
        QVariantList gateways;
        for (const QString& gate : {kTrade, kInfo, kMarket}) {
            recordDelays(gate, 60001, 4);
            gateways.append(gate == kTrade  ? Constants::ZGATE_GATEWAY
                            : gate == kInfo ? Constants::ZINFO_GATEWAY
                                            : Constants::MDC_TCP_GATEWAY);
        }
        QVERIFY(settle(m_net));
        QVariantList bodies;
        for (const RecordingPresenter::Event& event : eventsOf(m_net, kReconnect)) {
            bodies.append(event.body);
            QCOMPARE(event.source, presenter()->pluginPid());
        }
        QCOMPARE(bodies, gateways);
        QVERIFY(settle(m_other));
        QVERIFY(eventsOf(m_other, kReconnect).isEmpty());
    }

    void delay_ofTradeAndInfo_isWrittenToTheMonitor() {
        startQuietly();
        ResourceHistory& history = ResourceHistory::instance();
        history.clear();
        const QDate before = QDate::currentDate();
        recordDelays(kTrade, 70, 1);
        recordDelays(kInfo, 80, 1);
        recordDelays(kMarket, 90, 1);
        const QDate after = QDate::currentDate();
        QCOMPARE(history.current(MonitorSlot::tradeDelay).toDouble(), 70.0);
        QCOMPARE(history.current(MonitorSlot::infoDelay).toDouble(), 80.0);
        int samples = 0;
        for (int slot = 0; slot < ResourceHistory::slotCount; ++slot) {
            for (const ResourceHistory::Sample& sample : history.samples(slot)) {
                ++samples;
                QCOMPARE(sample.value, slot == MonitorSlot::tradeDelay ? 70.0 : 80.0);
                QCOMPARE(sample.time.time(), QTime(10, 0));
                QVERIFY(sample.time.date() == before || sample.time.date() == after);
            }
        }
        QCOMPARE(samples, 2);
    }

    void settingChange_givesTheWindowsTheirNewLength() {
        startQuietly();
        recordDelays(kTrade, 9000, 2);
        ZnCore::instance()->saveSetting(SystemSetting::SysMultiTimeOutCount, 2);
        presenter()->ProcEventMsg("test", kSettingsChanged,
                                  QVariantMap{{SystemSetting::SysMultiTimeOutCount, 2}});
        runOnThreadAndWait(presenter(), [] {});
        recordDelays(kTrade, 9000, 7);
        QVERIFY(settle(m_other));
        QVERIFY(eventsOf(m_other, messageEvent()).isEmpty());
        recordDelays(kTrade, 9000, 1);
        QVERIFY(waitFor([this] { return eventsOf(m_other, messageEvent()).size() == 1; }));
    }

    void close_whileTimersRun_endsThemOnTheirThread() {
        start();
        presenter()->deleteLater();
        QVERIFY(!m_log->contains("Timers cannot be stopped from another thread"));
        QVERIFY(!m_log->contains("Timers cannot be started from another thread"));
        QVERIFY(!m_log->contains("QObject::startTimer"));
        QCOMPARE(LocalPlatform::instance().presenterCount(), 3);
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(PresenterHeartBeatsTest)
#include "presenter_heart_beats_test.moc"

#include <QTimerEvent>
#include <QtTest>

#include "client_world.h"
#include "log_capture.h"
#include "responsible_presenter.h"
#include "run_on_thread.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/net_state.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"
#include "zn_business_data_manager.h"
#include "zncore/zn_core.h"
#include "znmsg/c_pack_message_common.h"

Q_DECLARE_METATYPE(ZnPresenterClass*)

namespace {

using Presenter = VelmarBusinessDataManagerPresenterClass;

int named(const QString& event) {
    return VelmarUtils::GetTorviEventMsgIdByStr(event);
}

/// How often each signal of the presenter came, counted where it is emitted.
class SignalCounts {
public:
    explicit SignalCounts(Presenter* presenter) {
        count(presenter, "signalInitPosData", &Presenter::signalInitPosData);
        count(presenter, "signalPositionUpdated", &Presenter::signalPositionUpdated);
        count(presenter, "signalClientInfoCollect", &Presenter::signalClientInfoCollect);
        count(presenter, "signalClientInfoCollectAPM", &Presenter::signalClientInfoCollectAPM);
        count(presenter, "signalMultiDelaySettingChanged",
              &Presenter::signalMultiDelaySettingChanged);
        count(presenter, "signalNetReconnect", &Presenter::signalNetReconnect);
        count(presenter, "signalNetDisconnected", &Presenter::signalNetDisconnected);
        count(presenter, "signalRestartTimer", &Presenter::signalRestartTimer);
        count(presenter, "signalBusiMsgRecved", &Presenter::signalBusiMsgRecved);
    }
    QMap<QString, int> took() { return std::exchange(m_counts, {}); }

private:
    template <class Signal>
    void count(Presenter* presenter, const char* name, Signal signal) {
        QObject::connect(
            presenter, signal, &m_context, [this, name] { ++m_counts[name]; },
            Qt::DirectConnection);
    }

    QObject m_context;
    QMap<QString, int> m_counts;
};

using Counts = QMap<QString, int>;

/// Opens what starts timers and what the event loop calls when they fire.
class TimedPresenter : public Presenter {
public:
    TimedPresenter() : Presenter("Test.Timed", nullptr) {}
    using Presenter::startPerformTimer;
    void fire(int timerId) {
        QTimerEvent event(timerId);
        timerEvent(&event);
    }
};

}  // namespace

/// What the presenter does with what arrives, called on this thread while nothing else runs.
class PresenterEventsTest : public QObject {
    Q_OBJECT

    std::unique_ptr<ClientWorld> m_world;
    Presenter* m_presenter = nullptr;
    std::unique_ptr<SignalCounts> m_counts;

    void send(int id, const QVariant& body = {}) { m_presenter->ProcEventMsg("test", id, body); }

private slots:
    void init() {
        m_world = std::make_unique<ClientWorld>();
        m_world->login();
        m_presenter = new Presenter("Test.Presenter", nullptr);
        ResponsiblePresenter::add(m_presenter);
        m_counts = std::make_unique<SignalCounts>(m_presenter);
    }
    void cleanup() {
        m_presenter->deleteLater();
        m_counts.reset();
        m_world.reset();
    }

    void event_anyOfTheTable_emitsItsSignal_data() {
        QTest::addColumn<int>("id");
        QTest::addColumn<QVariant>("body");
        QTest::addColumn<Counts>("expected");
        const QVariant row = packRows({{"a", 1}}, {});
        QTest::newRow("0x31000") << 0x31000 << QVariant() << Counts{{"signalInitPosData", 1}};
        QTest::newRow("0x31001") << 0x31001 << QVariant() << Counts{{"signalInitPosData", 1}};
        QTest::newRow("0x31002") << 0x31002 << row << Counts{{"signalPositionUpdated", 1}};
        QTest::newRow("0x35000") << 0x35000 << QVariant(QVariantMap{{"a", 1}})
                                 << Counts{{"signalClientInfoCollect", 1}};
        QTest::newRow("0x35001") << 0x35001 << QVariant(QVariantList{"gate", 1})
                                 << Counts{{"signalClientInfoCollectAPM", 1}};
        QTest::newRow("0x35001 empty") << 0x35001 << QVariant(QVariantList()) << Counts{};
        QTest::newRow("0x35001 no list") << 0x35001 << QVariant(5) << Counts{};
        QTest::newRow("0x1000A with the key")
            << 0x1000A << QVariant(QVariantMap{{SystemSetting::SysMultiTimeOutCount, 3}})
            << Counts{{"signalMultiDelaySettingChanged", 1}};
        QTest::newRow("0x1000A without the key")
            << 0x1000A << QVariant(QVariantMap{{"other", 3}}) << Counts{};
        QTest::newRow("unknown") << 0x77777 << row << Counts{};
    }
    void event_anyOfTheTable_emitsItsSignal() {
        QFETCH(int, id);
        QFETCH(QVariant, body);
        QFETCH(Counts, expected);
        send(id, body);
        QCOMPARE(m_counts->took(), expected);
    }

    void event_position_carriesTheRow() {
        QVariantMap got;
        QObject context;
        connect(
            m_presenter, &Presenter::signalPositionUpdated, &context,
            [&got](const QVariantMap& data) { got = data; }, Qt::DirectConnection);
        send(0x31002, packRows({{"symbol", "600000.SH"}, {"qty", 5}}, {}));
        QCOMPARE(got.value("symbol").toString(), QString("600000.SH"));
        QCOMPARE(got.value("qty").toInt(), 5);
    }

    void event_apm_splitsTheGateFromTheRest() {
        QString gate;
        QVariantList rest;
        QObject context;
        connect(
            m_presenter, &Presenter::signalClientInfoCollectAPM, &context,
            [&](const QString& netType, const QVariantList& list) {
                gate = netType;
                rest = list;
            },
            Qt::DirectConnection);
        send(0x35001, QVariantList{"trade", 1, 2});
        QCOMPARE(gate, QString("trade"));
        QCOMPARE(rest, (QVariantList{1, 2}));
    }

    void event_messageAdded_isTheCoresSignal() {
        QVariantMap got;
        QObject context;
        connect(
            ZnBusinessDataManager::instance(), &ZnBusinessDataManager::signalBusiMsgAdd, &context,
            [&got](QVariantMap& record) { got = record; }, Qt::DirectConnection);
        send(named(EventMsgName::BUSI_MSG_ADD), packRows({{"title", "到期"}}, {}));
        QCOMPARE(got.value("title").toString(), QString("到期"));
    }

    void event_tradeFeeChange_reachesTheCoreDirectly() {
        LogCapture log;
        send(named(EventMsgName::ETFTRADESETTING_TRADEFEECHANGE));
        // The core logs when it reads the fees again; no fees are saved here.
        QCOMPARE(log.texts(QtInfoMsg).filter("slotTradeFeeSettingChanged").size(), 1);
        QCOMPARE(m_counts->took(), Counts{});
    }

    void event_settingChange_isLoggedAtInfoLevel() {
        LogCapture log;
        send(0x1000A, QVariantMap{{"other", 3}});
        QVERIFY(log.contains(QtInfoMsg, "VelmarBusinessDataManagerPresenterClass::ProcEventMsg"));
    }

    void gate_connectedTwice_reconnectsOnce_data() {
        QTest::addColumn<int>("id");
        QTest::addColumn<QString>("gate");
        QTest::addColumn<bool>("heartBeat");
        QTest::newRow("market tcp") << 0x10005 << NetGateType::MarketTcpGate << true;
        QTest::newRow("trade") << 0x10006 << NetGateType::TradeGate << true;
        QTest::newRow("info") << 0x1000B << NetGateType::InfoGate << true;
        QTest::newRow("market grpc") << 0x10012 << NetGateType::MarketGrpcGate << false;
    }
    void gate_connectedTwice_reconnectsOnce() {
        QFETCH(int, id);
        QFETCH(QString, gate);
        QFETCH(bool, heartBeat);
        QString reconnected;
        ZnPresenterClass* by = nullptr;
        QObject context;
        connect(
            m_presenter, &Presenter::signalNetReconnect, &context,
            [&](const QString& netType, ZnPresenterClass* presenter) {
                reconnected = netType;
                by = presenter;
            },
            Qt::DirectConnection);
        send(id, NET_STATE::CONNECTED);
        send(id, NET_STATE::CONNECTED);
        Counts expected{{"signalNetReconnect", 1}};
        if (heartBeat) {
            expected.insert("signalRestartTimer", 1);
        }
        QCOMPARE(m_counts->took(), expected);
        QCOMPARE(reconnected, gate);
        QCOMPARE(by, m_presenter);
    }

    void gate_noConnectAfterConnected_isNoDisconnect() {
        send(0x10006, NET_STATE::CONNECTED);
        m_counts->took();
        send(0x10006, NET_STATE::NOCONNECT);
        QCOMPARE(m_counts->took(), Counts{});
        send(0x10006, NET_STATE::CONNECTTING);
        QCOMPARE(m_counts->took(), (Counts{{"signalNetDisconnected", 1}}));
        send(0x10006, NET_STATE::CONNECTED);
        QCOMPARE(m_counts->took(), (Counts{{"signalNetReconnect", 1}, {"signalRestartTimer", 1}}));
    }

    void gate_twoGates_keepTheirStatesApart() {
        send(0x10006, NET_STATE::CONNECTED);
        send(0x10005, NET_STATE::CONNECTED);
        QCOMPARE(m_counts->took(), (Counts{{"signalNetReconnect", 2}, {"signalRestartTimer", 2}}));
    }

    void gate_connected_startsAFreshHeartBeatRecord() {
        send(0x10006, NET_STATE::CONNECTTING);
        send(0x10012, NET_STATE::CONNECTED);  // has no heartbeat
        QVERIFY(m_presenter->heartBeats().heartBeatInfo().isEmpty());
        send(0x10006, NET_STATE::CONNECTED);
        const QMap<QString, NetDelayStat> records = m_presenter->heartBeats().heartBeatInfo();
        QCOMPARE(records.keys(), QStringList{NetGateType::TradeGate});
        const NetDelayStat record = records.first();
        QCOMPARE(record.count, 0);
        QCOMPARE(record.avgElapse, 0.0);
        QCOMPARE(record.lastElapse, 0);
        QCOMPARE(record.maxElapse, 0);
        QVERIFY(record.lastTime.isNull() && record.maxTime.isNull());
    }

    void gate_informationReconnected_subscribesTheMessageTopicAgain() {
        send(0x10006, NET_STATE::CONNECTED);
        QVERIFY(m_world->link().waitUntilIdle());
        QCOMPARE(m_world->link().requestCount("325005"), 0);
        send(0x1000B, NET_STATE::CONNECTED);
        QVERIFY(m_world->link().waitForRequestCount("325005", 1));
        const ScriptedLink::Request request = m_world->link().lastRequest("325005");
        QVariantMap header = request.header;
        header.remove(System::clientMsgID);
        const QVariantMap expected{
            {System::msgType, Quindar_MsgType::subscribeTopicRequest},
            {System::subscriptionTopic, Velmar_MsgType::MessageCenterPushMsg},
            {Security::subscriptionRequestType, SubscribeType::subscribe},
            {UserAccount::userID, "tester"},
            {UserAccount::loginUserId, "tester"}};
        QCOMPARE(header, expected);
        QCOMPARE(request.envelopeType, QString("325005"));
        QCOMPARE(request.sourceId, m_presenter->pluginPid());
    }

    void gate_informationReconnected_runsItsStepsInOrder() {
        QStringList steps;
        const auto note = [this, &steps](const QString& step) {
            steps.append(QStringLiteral("%1, subscriptions %2, heart-beat records %3")
                             .arg(step)
                             .arg(m_world->link().requestCount("325005"))
                             .arg(m_presenter->heartBeats().heartBeatInfo().size()));
        };
        QObject context;
        connect(
            m_presenter, &Presenter::signalNetReconnect, &context,
            [this, &note] {
                note("reconnect");
                // The state is known by now, so the same report changes nothing.
                send(0x1000B, NET_STATE::CONNECTED);
            },
            Qt::DirectConnection);
        connect(
            m_presenter, &Presenter::signalRestartTimer, &context,
            [&note](const QString& gate) { note("restart " + gate); }, Qt::DirectConnection);
        send(0x1000B, NET_STATE::CONNECTED);
        QCOMPARE(steps, (QStringList{"reconnect, subscriptions 0, heart-beat records 0",
                                     "restart " + NetGateType::InfoGate +
                                         ", subscriptions 1, heart-beat records 1"}));
    }

    void timer_ofAPerformanceType_uploadsThatType() {
        auto* const presenter = new TimedPresenter;
        presenter->initPresenter();
        const auto isOnBoard = [](const QString& key) {
            return !ZnCore::instance()->getCommonInfo(key).isNull();
        };
        QList<bool> sampled;  // of the disk and the processors, after each timer
        runOnThreadAndWait(presenter, [&] {
            constexpr int kHour = 3600000;
            const int cpu = presenter->startPerformTimer(ClientPerformType::CpuUsage, kHour);
            const int disk = presenter->startPerformTimer(ClientPerformType::DiskUsage, kHour);
            for (const int timer : {cpu + disk, disk, cpu}) {  // the first is no timer of a type
                presenter->fire(timer);
                sampled.append(isOnBoard(ClientPerformItem::LogFileCount));
                sampled.append(isOnBoard(ClientPerformItem::PositionCount));
            }
        });
        QCOMPARE(sampled, (QList<bool>{false, false, true, false, true, true}));
        presenter->deleteLater();
    }

    void push_patchInfo_thatCannotBeRead_isLogged_data() {
        QTest::addColumn<QString>("subType");
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("refused");
        QTest::newRow("patch") << SubscribeTopicSubType::clientPatchInfo << R"({"id":1})" << 0;
        QTest::newRow("another sub-type") << "other"
                                          << "{" << 0;
        QTest::newRow("bad text") << SubscribeTopicSubType::clientPatchInfo << "{" << 1;
    }
    void push_patchInfo_thatCannotBeRead_isLogged() {
        QFETCH(QString, subType);
        QFETCH(QString, text);
        QFETCH(int, refused);
        LogCapture log;
        m_presenter->ProcSubMsg(
            {}, Velmar_MsgType::ClientPatchInfoPush,
            packRows({{System::SubMsgType, subType}, {System::textDescription, text}}, {}));
        QCOMPARE(log.texts(QtDebugMsg).filter("not understood").size(), refused);
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
    }

    void push_unknownTypeOrGarbage_isDropped() {
        const LogCapture log;
        m_presenter->ProcSubMsg({}, "nothing", QVariant("garbage"));
        m_presenter->ProcSubMsg({}, Velmar_MsgType::ClientPatchInfoPush, QVariant("garbage"));
        m_presenter->ProcResponseMsg({}, {}, "nothing", QVariant("garbage"));
        QCOMPARE(m_counts->took(), Counts{});
        QVERIFY(!log.contains("was refused"));
    }

    void event_withoutARecord_isIgnoredWithOneLogLine_data() {
        QTest::addColumn<int>("id");
        QTest::addColumn<QVariant>("body");
        const QList<QPair<const char*, int>> events{
            {"0x31002", 0x31002}, {"0x35000", 0x35000}, {"BUSI_MSG_ADD", 0}};
        for (const auto& event : events) {
            const auto row = [&event](const char* body) {
                return QByteArray(event.first) + ' ' + body;
            };
            QTest::newRow(row("garbage")) << event.second << QVariant("garbage");
            QTest::newRow(row("no body")) << event.second << QVariant();
            QTest::newRow(row("empty record")) << event.second << QVariant(QVariantMap());
            QTest::newRow(row("empty header"))
                << event.second << QVariant(CPackMessageCommon().GetPackedMsg(false));
        }
    }
    void event_withoutARecord_isIgnoredWithOneLogLine() {
        QFETCH(int, id);
        QFETCH(QVariant, body);
        int added = 0;
        QObject context;
        connect(
            ZnBusinessDataManager::instance(), &ZnBusinessDataManager::signalBusiMsgAdd, &context,
            [&added] { ++added; }, Qt::DirectConnection);
        const LogCapture log;
        send(id != 0 ? id : named(EventMsgName::BUSI_MSG_ADD), body);
        QCOMPARE(m_counts->took(), Counts{});
        QCOMPARE(added, 0);
        QStringList own;
        for (const LogCapture::Line& line : log.lines()) {
            if (line.category.startsWith("velmar.presenter")) {
                own.append(line.text);
            }
        }
        QCOMPARE(own.size(), 1);
        QVERIFY2(own.first().contains("it carries no record"), qPrintable(own.first()));
        // The platform reports a packed body that it cannot read; a missing one needs no such line.
        const bool isPacked = id != 0x35000;
        const bool isUnreadable = body.isValid() && body.type() != QVariant::List;
        QCOMPARE(log.texts(QtWarningMsg).size(), isPacked && isUnreadable ? 1 : 0);
    }

    void response_refused_isOneWarning() {
        m_presenter->initPresenter();
        m_world->link().on("325005", ScriptedReply::refusal("没有权限"));
        const LogCapture log;
        send(0x1000B, NET_STATE::CONNECTED);
        QVERIFY(log.waitFor("was refused"));
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
        QVERIFY2(log.texts(QtWarningMsg).first().endsWith(" was refused: 没有权限"),
                 qPrintable(log.texts(QtWarningMsg).first()));
    }
};

QTEST_GUILESS_MAIN(PresenterEventsTest)
#include "presenter_events_test.moc"

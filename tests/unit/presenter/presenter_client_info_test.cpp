#include <QtTest>
#include <algorithm>
#include <future>
#include <mutex>

#include "client_world.h"
#include "local_platform.h"
#include "log_capture.h"
#include "monitor_keys.h"
#include "process_per_case.h"
#include "velmar_business_data_manager.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "vocabulary/fields.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"
#include "zn_business_data_manager.h"
#include "zncore/zn_core.h"

namespace {

using Core = ZnBusinessDataManager;

constexpr int kStartUpMs = 30000;
constexpr int kItemEvent = 0x35000;
constexpr int kApmEvent = 0x35001;
inline const QString kUpload = Velmar_MsgType::ClientInfoUploadRequest;
inline const QString kApm = Velmar_MsgType::ClientInfoUploadAPMRequest;
inline const QString kMark = QStringLiteral("an item of this test");

void addMark() {
    Core::instance()->AddClientInfo("type", kMark, QString(), 1, QTime(), 0);
}

/// The uploads with the item of addMark(); the start-up reports more items.
QList<ScriptedLink::Request> markedUploads(ClientWorld& world) {
    QList<ScriptedLink::Request> marked;
    for (const ScriptedLink::Request& request : world.link().requests(kUpload)) {
        const bool isMarked = std::any_of(
            request.rows.cbegin(), request.rows.cend(),
            [](const QVariantMap& row) { return row.value(System::itemValue) == kMark; });
        if (isMarked) {
            marked.append(request);
        }
    }
    return marked;
}

void waitLong(LocalPlatform::Options& options) {
    options.lastSendLimit = std::chrono::minutes(1);
}

/// Records the items that the core is given, on whichever thread.
class ItemLog {
public:
    ItemLog() {
        QObject::connect(
            Core::instance(), &Core::signalClientInfoCollect, &m_context,
            [this](const QVariantMap& item) { append(item); }, Qt::DirectConnection);
    }
    /// "gate operType" of each item about a gate.
    QStringList gateItems() const {
        const std::lock_guard<std::mutex> guard(m_lock);
        QStringList texts;
        for (const QVariantMap& item : m_items) {
            if (item.value(System::itemType) == ClinetInfoUpload::NetStatusInfo) {
                texts.append(QStringLiteral("%1 %2").arg(item.value(System::itemValue).toString(),
                                                         item.value(System::operType).toString()));
            }
        }
        return texts;
    }

private:
    void append(const QVariantMap& item) {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_items.append(item);
    }

    QObject m_context;
    mutable std::mutex m_lock;  // guards the items
    QList<QVariantMap> m_items;
};

}  // namespace

/// Client information on its way from the core and from events through the presenter. A process has
/// one core, which keeps items, so each case has a process of its own.
class PresenterClientInfoTest : public QObject {
    Q_OBJECT

    /// Closes with an item waiting, once a request of the type, unless it is empty, has been sent.
    static void checkClose(ClientWorld& world, const QString& sentBefore = {}) {
        VelmarBusinessDataManager object;
        object.initialize();
        QVERIFY(sentBefore.isEmpty() || world.link().waitForRequestCount(sentBefore, 1));
        addMark();
        const LogCapture log;
        LocalPlatform::instance().beginClose();
        QCOMPARE(markedUploads(world).size(), 1);
        QVERIFY(!log.contains("closing while plug-ins still send"));
        QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
    }

private slots:
    void items_onePresenter_sendsThem() {
        ClientWorld world;
        world.login();
        VelmarBusinessDataManager object;
        object.initialize();
        addMark();
        Core::instance()->UploadAllClientInfo();
        QVERIFY(waitFor([&] { return !markedUploads(world).isEmpty(); }, kStartUpMs));
        const auto uploads = markedUploads(world);
        QCOMPARE(uploads.size(), 1);
        QCOMPARE(uploads.first().sourceId, object.presenter()->pluginPid());
        QCOMPARE(uploads.first().envelopeType, kUpload);
        QCOMPARE(uploads.first().header.value(UserAccount::userID).toString(), QString("tester"));
        QCOMPARE(uploads.first().header.value(System::subGroupNumber).toInt(),
                 uploads.first().rows.size());
    }

    void items_twoPresenters_areSentByBoth() {
        ClientWorld world;
        world.login();
        VelmarBusinessDataManager first;
        VelmarBusinessDataManager second;
        first.initialize();
        second.initialize();
        addMark();
        Core::instance()->UploadAllClientInfo();
        QVERIFY(waitFor([&] { return markedUploads(world).size() >= 2; }, kStartUpMs));
        const auto uploads = markedUploads(world);
        QCOMPARE(uploads.size(), 2);
        QStringList sources{uploads.at(0).sourceId, uploads.at(1).sourceId};
        QStringList expected{first.presenter()->pluginPid(), second.presenter()->pluginPid()};
        sources.sort();
        expected.sort();
        QCOMPARE(sources, expected);
        QCOMPARE(uploads.at(0).rows, uploads.at(1).rows);
    }

    void items_beforeThePresenter_areSentOnceItIsThere() {
        ClientWorld world;
        world.login();
        addMark();
        Core::instance()->UploadAllClientInfo();
        QCoreApplication::processEvents();
        QCOMPARE(world.link().requestCount(), 2);  // those of the log-in
        VelmarBusinessDataManager object;
        object.initialize();
        Core::instance()->UploadAllClientInfo();
        QVERIFY(waitFor([&] { return markedUploads(world).size() == 1; }, kStartUpMs));
    }

    void items_platformRefusesTheMessage_areNotCountedAsSent() {
        ClientWorld world;
        world.login();
        auto* const presenter =
            new VelmarBusinessDataManagerPresenterClass("Test.Presenter", nullptr);
        const auto sent = [] {
            return ZnCore::instance()
                ->getCommonInfo(MonitorKey::board)
                .toMap()
                .value(MonitorKey::clientInfo)
                .toMap()
                .value(MonitorKey::ClientInfo::sent)
                .toInt();
        };
        world.link().refuseSends(true);
        const LogCapture log;
        presenter->slotClientInfoUpload({{{System::itemValue, "a"}}});
        QCOMPARE(log.texts(QtWarningMsg).filter(kUpload).size(), 1);
        QCOMPARE(sent(), 0);
        world.link().refuseSends(false);
        presenter->slotClientInfoUpload({{{System::itemValue, "a"}}, {{System::itemValue, "b"}}});
        QCOMPARE(sent(), 2);
        presenter->deleteLater();
    }

    void itemEvent_record_isCollected() {
        ClientWorld world;
        world.login();
        VelmarBusinessDataManager object;
        object.initialize();
        const QVariantMap item{{System::itemType, "any"},
                               {System::itemValue, kMark},
                               {System::timeStamp, "10:00:00"},
                               {Strategy::logTriggerTime, 1}};
        LocalPlatform::instance().publishEvent(kItemEvent, item);
        QVERIFY(waitFor([&] { return !markedUploads(world).isEmpty(); }, kStartUpMs));
        const auto uploads = markedUploads(world);
        QVariantMap expected = item;
        expected.insert(System::timeStamp, "10:00:00.000");
        QCOMPARE(uploads.first().rows, QList<QVariantMap>{expected});
    }

    void itemEvent_twoPresenters_isCollectedAndSentByBoth() {
        ClientWorld world;
        world.login();
        VelmarBusinessDataManager first;
        VelmarBusinessDataManager second;
        first.initialize();
        second.initialize();
        LocalPlatform::instance().publishEvent(
            kItemEvent, QVariantMap{{System::itemValue, kMark}, {Strategy::logTriggerTime, 1}});
        QVERIFY(waitFor([&] { return markedUploads(world).size() >= 4; }, kStartUpMs));
        QStringList sources;
        for (const ScriptedLink::Request& request : markedUploads(world)) {
            QCOMPARE(request.rows.size(), 1);
            sources.append(request.sourceId);
        }
        QCOMPARE(sources.size(), 4);
        QCOMPARE(sources.count(first.presenter()->pluginPid()), 2);
        QCOMPARE(sources.count(second.presenter()->pluginPid()), 2);
    }

    void itemEvent_withoutARecord_isIgnored() {
        ClientWorld world;
        VelmarBusinessDataManager object;
        object.initialize();
        QSignalSpy collected(object.presenter(),
                             &VelmarBusinessDataManagerPresenterClass::signalClientInfoCollect);
        const LogCapture log;
        LocalPlatform::instance().publishEvent(kItemEvent, 5);
        QVERIFY(log.waitFor("it carries no record"));
        QCOMPARE(collected.count(), 0);
    }

    void apmEvent_list_goesStraightToTheServer_data() {
        QTest::addColumn<QString>("gate");
        QTest::addColumn<QString>("envelope");
        QTest::newRow("trade") << NetGateType::TradeGate << kApm;
        QTest::newRow("info") << NetGateType::InfoGate << "325005";
    }
    void apmEvent_list_goesStraightToTheServer() {
        QFETCH(QString, gate);
        QFETCH(QString, envelope);
        ClientWorld world;
        world.login();
        world.link().on(kApm, ScriptedReply::rows({}));
        VelmarBusinessDataManager object;
        object.initialize();
        LocalPlatform::instance().publishEvent(kApmEvent, QVariantList());
        LocalPlatform::instance().publishEvent(kApmEvent, 5);
        LocalPlatform::instance().publishEvent(
            kApmEvent, QVariantList{gate, QVariantMap{{"a", 1}}, QVariantMap{{"a", 2}}});
        QVERIFY(world.link().waitForRequestCount(kApm, 1, kStartUpMs));
        const ScriptedLink::Request request = world.link().lastRequest(kApm);
        QCOMPARE(world.link().requestCount(kApm), 1);
        QCOMPARE(request.envelopeType, envelope);
        QCOMPARE(request.header.value(System::msgType).toString(), kApm);
        QCOMPARE(request.rows.size(), 2);
        QCOMPARE(request.rows.at(0).value("a").toInt(), 1);
        QCOMPARE(request.rows.at(1).value("a").toInt(), 2);
    }

    void gateStates_lostAndBack_areItems_data() {
        QTest::addColumn<QString>("gate");
        QTest::newRow("trade") << NetGateType::TradeGate;
        QTest::newRow("info") << NetGateType::InfoGate;
        QTest::newRow("market tcp") << NetGateType::MarketTcpGate;
        QTest::newRow("market grpc") << NetGateType::MarketGrpcGate;
    }
    void gateStates_lostAndBack_areItems() {
        QFETCH(QString, gate);
        ClientWorld world;
        VelmarBusinessDataManager object;
        object.initialize();
        const ItemLog items;
        world.link().gateState(gate, NET_STATE::CONNECTED);
        world.link().gateState(gate, NET_STATE::CONNECTED);
        world.link().gateState(gate, NET_STATE::NOCONNECT);
        world.link().gateState(gate, NET_STATE::CONNECTTING);
        world.link().gateState(gate, NET_STATE::CONNECTED);
        const QStringList expected{gate + " 0", gate + " 1", gate + " 0"};
        QVERIFY(waitFor([&] { return items.gateItems().size() >= expected.size(); }));
        QCOMPARE(items.gateItems(), expected);
    }

    void gateEvent_ofTheTradeGate_isItsItem() {
        const ClientWorld world;
        VelmarBusinessDataManager object;
        object.initialize();
        const ItemLog items;
        LocalPlatform::instance().publishEvent(0x10006, NET_STATE::CONNECTTING);
        QVERIFY(waitFor([&] { return !items.gateItems().isEmpty(); }));
        QCOMPARE(items.gateItems(), QStringList{NetGateType::TradeGate + " 1"});
    }

    void close_startUpUnderWay_sendsWhatWaitsBeforeItReturns() {
        ClientWorld world(numberedAccounts(1), waitLong);
        world.login();
        checkClose(world);
    }

    void close_startUpWaitsForTheAccounts_sendsWhatWaitsBeforeItReturns() {
        ClientWorld world(numberedAccounts(1), waitLong);
        checkClose(world);
    }

    void close_startUpWaitsForAnAnswer_sendsWhatWaitsBeforeItReturns() {
        ClientWorld world(numberedAccounts(1), waitLong);
        world.login();
        world.link().on("120006", ScriptedReply::never());
        checkClose(world, "120006");
    }

    void close_onAnotherThread_sendsWhatWaits() {
        ClientWorld world(numberedAccounts(1), waitLong);
        world.login();
        VelmarBusinessDataManager object;
        object.initialize();
        addMark();
        auto closing =
            std::async(std::launch::async, [] { LocalPlatform::instance().beginClose(); });
        QVERIFY(waitFor(
            [&] { return closing.wait_for(std::chrono::seconds(0)) == std::future_status::ready; },
            kStartUpMs));
        QCOMPARE(markedUploads(world).size(), 1);
    }

    void close_uploadUnanswered_endsAfterItsLimit() {
        ClientWorld world({}, [](LocalPlatform::Options& options) {
            options.lastSendLimit = std::chrono::milliseconds(30);
        });
        world.login();
        world.link().on(kUpload, ScriptedReply::never());
        VelmarBusinessDataManager object;
        object.initialize();
        addMark();
        const LogCapture log;
        LocalPlatform::instance().beginClose();
        QVERIFY(log.contains(QtInfoMsg, "closing while plug-ins still send: not done within 30"));
        QVERIFY(LocalPlatform::instance().isClosing());
        QCOMPARE(LocalPlatform::instance().pendingRequestCount(), 0);
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(PresenterClientInfoTest)
#include "presenter_client_info_test.moc"

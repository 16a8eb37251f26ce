#include <QThread>
#include <QtTest>
#include <atomic>
#include <mutex>
#include <thread>

#include "client_world.h"
#include "local_platform.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "run_on_thread.h"
#include "velmar_business_data_manager.h"
#include "velmar_business_data_manager_plugin.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/plugin_propety.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"
#include "zn_business_data_manager.h"

namespace {

using Core = ZnBusinessDataManager;
using Presenter = VelmarBusinessDataManagerPresenterClass;

inline const QString kId = QStringLiteral("ZNApp.VelmarBusinessDataManager");

// Set by a message handler: -1 before the line came, then whether the object thread ran.
std::atomic<int> s_ranAtLaunch{-1};

void noteLaunch(QtMsgType, const QMessageLogContext&, const QString& text) {
    if (text.startsWith("lauch VelmarBusinessDataManager")) {
        s_ranAtLaunch = s_presenter.load()->thread()->isRunning() ? 1 : 0;
    }
}

/// Records the items about gates that the core collects, on whichever thread.
class GateItems {
public:
    GateItems() {
        QObject::connect(
            Core::instance(), &Core::signalClientInfoCollect, &m_context,
            [this](const QVariantMap& item) { take(item); }, Qt::DirectConnection);
    }
    /// "gate operType" of each item.
    QStringList texts() const {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_texts;
    }

private:
    void take(const QVariantMap& item) {
        if (item.value(System::itemType) == ClinetInfoUpload::NetStatusInfo) {
            const std::lock_guard<std::mutex> guard(m_lock);
            m_texts.append(QStringLiteral("%1 %2").arg(item.value(System::itemValue).toString(),
                                                       item.value(System::operType).toString()));
        }
    }

    QObject m_context;
    mutable std::mutex m_lock;  // guards the texts
    QStringList m_texts;
};

}  // namespace

class PluginObjectTest : public QObject {
    Q_OBJECT

private slots:
    void initialize_noInstanceId_setsItAndBuildsThePresenter() {
        const ClientWorld world;
        LogCapture log;
        VelmarBusinessDataManager object;
        QCOMPARE(object.presenter(), nullptr);
        object.initialize();
        QCOMPARE(object.getPluginObjectPropety(PluginPropety::PLUGININSTANCE_ID).toString(), kId);
        QVERIFY(object.presenter());
        QCOMPARE(s_presenter.load(), object.presenter());
        QCOMPARE(object.presenter()->pluginPid(), kId);
        QCOMPARE(object.presenter()->dataManager(), Core::instance());
        QVERIFY(log.contains(QtInfoMsg, "lauch VelmarBusinessDataManager"));
    }

    void initialize_instanceIdSet_leavesIt() {
        const ClientWorld world;
        VelmarBusinessDataManager object;
        object.setPluginWidgetPropety(PluginPropety::PLUGININSTANCE_ID, "Other.Id");
        object.initialize();
        QCOMPARE(object.getPluginObjectPropety(PluginPropety::PLUGININSTANCE_ID).toString(),
                 QString("Other.Id"));
        QCOMPARE(object.presenter()->pluginPid(), QString("Other.Id"));
    }

    void initialize_returns_beforeTheStartUpSequenceRan() {
        const ClientWorld world;  // without a log-in the sequence cannot end
        VelmarBusinessDataManager object;
        object.initialize();
        LogCapture log;
        QVERIFY(log.waitFor("userAccountDataInited check not ready !!!!!!!!!!"));
    }

    void initialize_presenter_startsAfterEveryConnectionIsMade() {
        ClientWorld world(numberedAccounts(1));
        world.login();  // so the start-up sequence can run at once
        VelmarBusinessDataManager object;
        const QtMessageHandler before = qInstallMessageHandler(noteLaunch);
        object.initialize();
        qInstallMessageHandler(before);
        QCOMPARE(s_ranAtLaunch.load(), 0);
        QVERIFY(object.presenter()->thread()->isRunning());
    }

    void initialize_connections_areAllMade() {
        ClientWorld world;
        world.login();
        LogCapture log;
        VelmarBusinessDataManager object;
        object.initialize();
        QVERIFY(log.waitFor("初始化融券通代码信息"));
        Presenter* const presenter = object.presenter();
        Core* const core = Core::instance();
        QVariantMap record{{"a", 1}};
        const QList<QPair<std::function<void()>, QString>> expected{
            {[=] { emit presenter->signalBusiMsgRecved({}, true); },
             "Manager::slotRecvBusiMsgPush"},
            {[&] { emit core->signalBusiMsgAdd(record); }, "Class::slotBusiMsgAdd"},
            {[=] { emit presenter->signalNoticeSymbolChanged({}); }, "初始化/更新风险警示股"}};
        for (const auto& connection : expected) {
            log.clear();
            connection.first();
            QVERIFY2(log.waitFor(connection.second), qPrintable(connection.second));
            // Further slots that the signal reaches on the object thread have run as well.
            runOnThreadAndWait(presenter, [] {});
            QCOMPARE(log.texts().filter(connection.second).size(), 1);
        }
        log.clear();
        emit presenter->signalPositionUpdated({});
        QVERIFY(log.waitFor("position push without account or security"));
    }

    void initialize_clientInformation_isConnectedOnce() {
        ClientWorld world;
        world.login();
        VelmarBusinessDataManager object;
        object.initialize();
        const GateItems items;
        emit object.presenter()->signalNetReconnect("g", object.presenter());
        emit object.presenter()->signalNetDisconnected("g");
        QCOMPARE(items.texts(), (QStringList{"g 0", "g 1"}));
        emit object.presenter()->signalClientInfoCollect({{System::itemValue, "collected"}});
        Core::instance()->UploadAllClientInfo();
        emit Core::instance()->signalClientInfoUpload({{{System::itemValue, "ready"}}});
        const auto rowsOfValue = [&world](const QString& value) {
            int rows = 0;
            for (const ScriptedLink::Request& request :
                 world.link().requests(Velmar_MsgType::ClientInfoUploadRequest)) {
                for (const QVariantMap& row : request.rows) {
                    rows += row.value(System::itemValue) == value ? 1 : 0;
                }
            }
            return rows;
        };
        constexpr int kStartUpMs = 30000;
        QVERIFY(waitFor([&] { return rowsOfValue("collected") > 0 && rowsOfValue("ready") > 0; },
                        kStartUpMs));
        // A second slot would have queued its request by now.
        runOnThreadAndWait(object.presenter(), [] {});
        QCOMPARE(rowsOfValue("collected"), 1);
        QCOMPARE(rowsOfValue("ready"), 1);
    }

    void securityAccountsChanged_core_isPublishedByThePresenterOnce() {
        ClientWorld world;
        VelmarBusinessDataManager object;
        object.initialize();
        auto* const listener = new RecordingPresenter;
        const int id =
            VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::SECURITY_ACCOUNT_SETTING_CHANGED);
        listener->SubEvent(listener->pluginPid(), id, 1);
        listener->initPresenter();
        world.login();
        std::thread changer([] { emit Core::instance()->signalSecurityAccountSettingChanged(); });
        changer.join();
        QVERIFY(waitFor([listener] { return listener->events().size() == 1; }));
        const RecordingPresenter::Event event = listener->events().first();
        QCOMPARE(event.id, id);
        QCOMPARE(event.source, object.presenter()->pluginPid());
        QVERIFY(event.body.isValid());
        QVERIFY(headerOf(event.body).isEmpty());
        QVERIFY(rowsOf(event.body).isEmpty());
        listener->deleteLater();
    }

    void priceCageLoaded_core_isPublishedByThePresenterEachTime() {
        ClientWorld world;
        VelmarBusinessDataManager object;
        object.initialize();
        auto* const listener = new RecordingPresenter;
        const int id =
            VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::PRICE_CAGE_INFO_FINISH_INIT);
        listener->SubEvent(listener->pluginPid(), id, 1);
        listener->initPresenter();
        world.login();
        // The first is the start-up's own load.
        QVERIFY(waitFor([listener] { return listener->events().size() == 1; }));
        std::thread loader([] { emit Core::instance()->signalPriceCageInfoFinishInit(); });
        loader.join();
        QVERIFY(waitFor([listener] { return listener->events().size() == 2; }));
        for (const RecordingPresenter::Event& event : listener->events()) {
            QCOMPARE(event.id, id);
            QCOMPARE(event.source, object.presenter()->pluginPid());
            QVERIFY(event.body.isValid());
            QVERIFY(headerOf(event.body).isEmpty());
            QVERIFY(rowsOf(event.body).isEmpty());
        }
        listener->deleteLater();
    }

    void netSignals_fromAnotherThread_reachTheCoreOnThatThread() {
        ClientWorld world;
        VelmarBusinessDataManager object;
        object.initialize();
        Presenter* const presenter = object.presenter();
        const GateItems items;
        QStringList afterReconnect;
        QStringList afterDisconnect;
        std::thread emitter([&] {
            emit presenter->signalNetReconnect("g", presenter);
            // Direct: the core's slot has run before the emission returns.
            afterReconnect = items.texts();
            emit presenter->signalNetDisconnected("g");
            afterDisconnect = items.texts();
        });
        emitter.join();
        QCOMPARE(afterReconnect, QStringList{"g 0"});
        QCOMPARE(afterDisconnect, (QStringList{"g 0", "g 1"}));
    }

    void twoObjects_initialisedByHand_shareOneCoreAndTheLastPresenterCounts() {
        ClientWorld world(numberedAccounts(2));
        world.login();
        VelmarBusinessDataManager first;
        VelmarBusinessDataManager second;
        first.initialize();
        second.initialize();
        QVERIFY(first.presenter() != second.presenter());
        QCOMPARE(s_presenter.load(), second.presenter());
        QCOMPARE(first.presenter()->dataManager(), second.presenter()->dataManager());
        QVERIFY(first.presenter()->pluginPid() != second.presenter()->pluginPid());
        QCOMPARE(LocalPlatform::instance().presenterCount(), 2);
        for (Presenter* const presenter : {first.presenter(), second.presenter()}) {
            runOnThreadAndWait(presenter, [] {});  // its start-up has ended
        }
        // The first of the two loaded the tables.
        QCOMPARE(world.link().requestCount("120006"), 1);
    }

    void destructor_withAPresenter_logsAndDeletesIt() {
        const ClientWorld world;
        LogCapture log;
        Presenter* kept = nullptr;
        {
            VelmarBusinessDataManager object;
            object.initialize();
            kept = object.presenter();
        }
        QCOMPARE(log.count(QtDebugMsg, "VelmarBusinessDataManager::~VelmarBusinessDataManager"), 1);
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
        QCOMPARE(s_presenter.load(), kept);
    }

    void destructor_presenterDeletedByThePlatform_isHarmless() {
        const ClientWorld world;
        VelmarBusinessDataManager object;
        object.initialize();
        LocalPlatform::instance().close();
        QCOMPARE(object.presenter(), nullptr);
    }

    void pluginClass_initialize_registersTheObjectByMetaId() {
        const ClientWorld world;
        VelmarBusinessDataManagerPlugin plugin;
        QString error;
        QVERIFY(plugin.initialize({"-x"}, &error, "libVelmarBusinessDataManager"));
        QVERIFY(error.isEmpty());
        const int metaId = QMetaType::type("VelmarBusinessDataManager");
        QVERIFY(metaId != QMetaType::UnknownType);
        void* const made = QMetaType::create(metaId);
        auto* const base = static_cast<ZnPluginBaseObject*>(made);
        QVERIFY(qobject_cast<VelmarBusinessDataManager*>(base));
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
        QMetaType::destroy(metaId, made);
    }

    void pluginClass_otherEntries_doNothing() {
        ClientWorld world;
        VelmarBusinessDataManagerPlugin plugin;
        LogCapture log;
        plugin.extensionsInitialized();
        QVERIFY(!plugin.delayedInitialize());
        QCOMPARE(plugin.aboutToShutdown(), IPlugin::SynchronousShutdown);
        QVERIFY(!plugin.remoteCommand({}, {}, {}));
        QVERIFY(plugin.createTestObjects().isEmpty());
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
        QVERIFY(world.link().requests().isEmpty());
        QVERIFY(log.texts().isEmpty());
    }

    void pluginClass_metaCast_knowsItsInterface() {
        VelmarBusinessDataManagerPlugin plugin;
        QVERIFY(plugin.qt_metacast("com.ondrelsoft.com.IPlugin"));
        QVERIFY(qobject_cast<IPlugin*>(static_cast<QObject*>(&plugin)));
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(PluginObjectTest)
#include "plugin_object_test.moc"

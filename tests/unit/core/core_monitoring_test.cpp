#include <QTimer>
#include <QtTest>
#include <thread>

#include "client_world.h"
#include "local_platform.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "velmarutils/velmar_delay_buffer.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "wait_for.h"
#include "zn_business_data_manager.h"
#include "zncore/zn_core.h"

namespace {

using Core = ZnBusinessDataManager;

inline const QString kSkinInitState = QStringLiteral("skinInitState");

/// Takes the items of the core, as a presenter does, from its construction on.
class Taker {
public:
    explicit Taker(Core* core) {
        QObject::connect(core, &Core::signalClientInfoUpload, &m_context,
                         [this](const QList<QVariantMap>& items) { m_batches.append(items); });
    }

    /// The items of each batch, by their values.
    QList<QStringList> values() const {
        QList<QStringList> all;
        for (const QList<QVariantMap>& batch : m_batches) {
            QStringList values;
            for (const QVariantMap& item : batch) {
                values.append(item.value(System::itemValue).toString());
            }
            all.append(values);
        }
        return all;
    }
    const QList<QList<QVariantMap>>& batches() const { return m_batches; }
    bool waitForBatches(int count) const {
        return waitFor([this, count] { return m_batches.size() >= count; });
    }

private:
    QObject m_context;
    QList<QList<QVariantMap>> m_batches;
};

/// Builds the core on a bare thread.
Core* coreOfAnotherThread() {
    std::thread builder([] { Core::instance(); });
    builder.join();
    return Core::instance();
}

/// So that the constructor reports no skin.
void markSkinAsReported() {
    ZnCore::instance()->saveSetting(kSkinInitState, false);
}

void add(Core* core, const QString& value, int logTriggerTime = 0) {
    core->AddClientInfo("type", value, QString(), 1, QTime(), logTriggerTime);
}

/// Runs what is queued for this thread so far, in order.
void runQueued() {
    bool isOver = false;
    QObject context;
    QMetaObject::invokeMethod(
        &context, [&isOver] { isOver = true; }, Qt::QueuedConnection);
    QVERIFY(waitFor([&isOver] { return isOver; }));
}

inline const QString kSkinItem = QStringLiteral("ZNApp.Frame.MainFrame");

}  // namespace

/// A process has one core, so each case has a process of its own.
class CoreMonitoringTest : public QObject {
    Q_OBJECT

private slots:
    void firstItem_renamesTheCore() {
        const ClientWorld world;
        markSkinAsReported();
        Core* const core = Core::instance();
        QCOMPARE(core->objectName(), QString("ZnBusinessDataManager"));
        QVERIFY(!core->findChild<VelmarDelayBuffer*>());
        add(core, "a");
        QCOMPARE(core->objectName(), QString("clientInfoUploadBuffer"));
        QVERIFY(core->findChild<VelmarDelayBuffer*>());
    }

    void construction_bareThread_runsTheWindowOnTheApplicationsThread() {
        const ClientWorld world;
        Core* const core = coreOfAnotherThread();
        QCOMPARE(core->thread(), qApp->thread());
        // The skin's item of the constructor is queued, and nothing has run on this thread yet.
        QVERIFY(!core->findChild<VelmarDelayBuffer*>());
        QVERIFY(waitFor([core] { return core->findChild<VelmarDelayBuffer*>() != nullptr; }));
        auto* const buffer = core->findChild<VelmarDelayBuffer*>();
        QCOMPARE(buffer->parent(), core);
        QCOMPARE(buffer->thread(), qApp->thread());
        const auto* const timer = buffer->findChild<QTimer*>();
        QVERIFY(timer);
        QCOMPARE(timer->thread(), qApp->thread());
        QVERIFY(timer->isActive());
        QCOMPARE(timer->interval(), 15000);
    }

    void construction_bareThread_collectsItsItems() {
        const ClientWorld world;
        Core* const core = coreOfAnotherThread();
        const Taker taker(core);
        core->UploadAllClientInfo();
        QVERIFY(taker.waitForBatches(1));
        QCOMPARE(taker.values(), (QList<QStringList>{{kSkinItem}}));
        const QVariantMap item = taker.batches().first().first();
        QCOMPARE(item.value(System::itemType).toString(), ClinetInfoUpload::SystemButtomClicked);
        QCOMPARE(item.value(System::itemValueEx).toString(), SystemButtonName::skinBtn);
    }

    void construction_skin_isReportedBeforeTheFeesAreRead() {
        const ClientWorld world;
        const LogCapture log;
        Core::instance();
        const QStringList lines = log.texts();
        const auto indexOf = [&lines](const QString& part) {
            return lines.indexOf(lines.filter(part).value(0));
        };
        QCOMPARE(lines.filter("uploadSkinChangeInfo").size(), 1);
        const int begin = indexOf("init ZnBusinessDataManager curNewMsgIdIndex");
        const int skin = indexOf("uploadSkinChangeInfo");
        const int fees = indexOf("slotTradeFeeSettingChanged");
        QVERIFY(begin >= 0 && begin < skin);
        QVERIFY(skin < fees);
        QVERIFY(ZnCore::instance()->settings(kSkinInitState).isValid());
        QVERIFY(!ZnCore::instance()->settings(kSkinInitState).toBool());
    }

    void construction_secondCore_collectsNothing() {
        const ClientWorld world;
        markSkinAsReported();
        Core::instance();
        Core second;
        const Taker taker(&second);
        add(&second, "a");
        second.UploadAllClientInfo();
        runQueued();
        QVERIFY(taker.batches().isEmpty());
        QCOMPARE(second.objectName(), QString("ZnBusinessDataManager"));
    }

    void items_nothingConnected_stayUntilSomebodyTakesThem() {
        const ClientWorld world;
        Core* const core = Core::instance();
        add(core, "a");
        add(core, "urgent", 1);
        core->UploadAllClientInfo();
        runQueued();
        const auto* const timer = core->findChild<VelmarDelayBuffer*>()->findChild<QTimer*>();
        QVERIFY(timer->isActive());
        const Taker taker(core);
        add(core, "b");
        core->UploadAllClientInfo();
        QVERIFY(taker.waitForBatches(1));
        QCOMPARE(taker.values(), (QList<QStringList>{{kSkinItem, "a", "urgent", "b"}}));
    }

    void items_ofAnotherThread_goWithTheUploadThatFollowsThem() {
        const ClientWorld world;
        markSkinAsReported();
        Core* const core = Core::instance();
        const Taker taker(core);
        std::thread other([core] {
            for (const char* value : {"a", "b", "c"}) {
                add(core, value);
            }
            core->UploadAllClientInfo();
            add(core, "later");
        });
        other.join();
        QVERIFY(taker.waitForBatches(1));
        runQueued();
        QCOMPARE(taker.values(), (QList<QStringList>{{"a", "b", "c"}}));
    }

    void upload_onTheCoresThread_comesBehindItemsThatWereQueuedBefore() {
        const ClientWorld world;
        markSkinAsReported();
        Core* const core = Core::instance();
        const Taker taker(core);
        std::thread other([core] { add(core, "queued"); });
        other.join();
        add(core, "direct");
        core->UploadAllClientInfo();
        QVERIFY(taker.waitForBatches(1));
        QCOMPARE(taker.values(), (QList<QStringList>{{"direct", "queued"}}));
    }

    void upload_beforeAnyItem_sendsNothing() {
        const ClientWorld world;
        markSkinAsReported();
        Core* const core = Core::instance();
        const Taker taker(core);
        core->UploadAllClientInfo();
        runQueued();
        QMetaObject::invokeMethod(core, "slotClientInfoTimeOut");
        QVERIFY(taker.batches().isEmpty());
        QCOMPARE(core->objectName(), QString("ZnBusinessDataManager"));
    }

    void urgentItem_goesAloneAtOnce() {
        const ClientWorld world;
        markSkinAsReported();
        Core* const core = Core::instance();
        const Taker taker(core);
        add(core, "waits");
        add(core, "now", 1);
        QCOMPARE(taker.values(), (QList<QStringList>{{"now"}}));
        QCOMPARE(taker.batches().first().first().value(Strategy::logTriggerTime), QVariant(1));
    }

    void timeOut_slot_handsTheItemsOver() {
        const ClientWorld world;
        markSkinAsReported();
        Core* const core = Core::instance();
        const Taker taker(core);
        add(core, "a");
        core->slotClientInfoTimeOut();
        core->slotClientInfoTimeOut();
        QCOMPARE(taker.values(), (QList<QStringList>{{"a"}, {}}));
    }

    void gate_lostAndBack_isAnItemEach() {
        ClientWorld world;
        world.login();
        markSkinAsReported();
        Core* const core = Core::instance();
        const Taker taker(core);
        auto* const presenter = new RecordingPresenter;
        std::thread messageThread([core, presenter] {
            core->slotNetDisconnected(NetGateType::TradeGate);
            core->slotNetReconnect(NetGateType::TradeGate, presenter);
        });
        messageThread.join();
        core->UploadAllClientInfo();
        QVERIFY(taker.waitForBatches(1));
        presenter->deleteLater();
        const QList<QVariantMap> items = taker.batches().first();
        QCOMPARE(items.size(), 2);
        int operType = 1;
        for (QVariantMap item : items) {
            QVERIFY(!item.take(System::timeStamp).toString().isEmpty());
            const QVariantMap expected{{System::itemType, ClinetInfoUpload::NetStatusInfo},
                                       {System::itemValue, NetGateType::TradeGate},
                                       {System::itemValueEx, ""},
                                       {System::operType, operType--},
                                       {Strategy::logTriggerTime, 0}};
            QCOMPARE(item, expected);
        }
    }

    void skinChange_reportDone_reportsNothingFurther() {
        const ClientWorld world;
        Core* const core = Core::instance();
        const Taker taker(core);
        const LogCapture log;
        QVERIFY(LocalPlatform::instance().setSkin("white"));
        QCOMPARE(log.texts(QtDebugMsg).filter("uploadSkinChangeInfo").size(), 1);
        core->UploadAllClientInfo();
        QVERIFY(taker.waitForBatches(1));
        QCOMPARE(taker.values(), (QList<QStringList>{{kSkinItem}}));
        QCOMPARE(taker.batches().first().first().value(System::operType), QVariant(0));
    }

    void skinChange_reportDueAgain_reportsTheNewSkin() {
        const ClientWorld world;
        markSkinAsReported();
        Core* const core = Core::instance();
        const Taker taker(core);
        ZnCore::instance()->saveSetting(kSkinInitState, true);
        std::thread other([] { LocalPlatform::instance().setSkin("White"); });
        other.join();
        runQueued();
        core->UploadAllClientInfo();
        QVERIFY(taker.waitForBatches(1));
        QCOMPARE(taker.values(), (QList<QStringList>{{kSkinItem}}));
        QCOMPARE(taker.batches().first().first().value(System::operType), QVariant(1));
        QVERIFY(ZnCore::instance()->settings(kSkinInitState).isValid());
        QVERIFY(!ZnCore::instance()->settings(kSkinInitState).toBool());
    }

    void close_itemsWaiting_handsThemOverFirst() {
        const ClientWorld world;
        markSkinAsReported();
        Core* const core = Core::instance();
        const Taker taker(core);
        add(core, "a");
        std::thread other([core] { add(core, "queued"); });
        other.join();
        LocalPlatform::instance().beginClose();
        QCOMPARE(taker.values(), (QList<QStringList>{{"a", "queued"}}));
        LocalPlatform::instance().close();
        QCOMPARE(taker.values().size(), 1);
    }

    void close_itemsAddedByALaterSlot_goWhenTheyAreUrgent() {
        const ClientWorld world;
        markSkinAsReported();
        Core* const core = Core::instance();
        const Taker taker(core);
        const QObject plugIn;
        connect(
            ZnCore::instance(), &ZnCore::signalAboutToClose, &plugIn,
            [core] {
                add(core, "too late");
                add(core, "urgent", 1);
            },
            Qt::DirectConnection);
        add(core, "a");
        LocalPlatform::instance().beginClose();
        QCOMPARE(taker.values(), (QList<QStringList>{{"a"}, {"urgent"}}));
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(CoreMonitoringTest)
#include "core_monitoring_test.moc"

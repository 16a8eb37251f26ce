#include <unistd.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>
#include <atomic>
#include <future>

#include "client_world.h"
#include "post.h"
#include "process_per_case.h"
#include "thread_state.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_init_state_mgr.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"

namespace {

using Facade = VelmarBusinessDataInterface;

const QString kProfile = Quindar_MsgType::getUserProfileDataRequest;
const QString kSave = Velmar_MsgType::alterAllUserProfileDataAndSendKafkaRequest;
const QString kNotLoaded = QStringLiteral("设置失败，失败原因：价格笼子尚未加载完成，请重新设置。");
// Longer than a test may take: a call that returns did not wait for it.
constexpr int kVeryLong = 3600;

QString changeOneFigure() {
    return Facade::updateUserCageInfo({}, {{"1", {{CageField::userBuyUnit, 7}}}});
}

/// The exported update on a thread of its own.
class Update {
public:
    Update()
        : m_result(std::async(std::launch::async, [this] {
              m_threadId = gettid();
              QString text = changeOneFigure();
              m_isOver = true;
              return text;
          })) {}
    bool waitUntilItWaits() const {
        return waitFor([this] { return m_threadId > 0 && isThreadAsleep(m_threadId); });
    }
    bool isOver() const { return m_isOver; }
    QString text() { return m_result.get(); }

private:
    std::atomic<int> m_threadId{0};
    std::atomic<bool> m_isOver{false};
    std::future<QString> m_result;  // last: its thread uses the others
};

/// A plug-in whose load of the cage the script may hold up.
struct Plugin {
    enum class Login { Done, Missing };
    explicit Plugin(Login login = Login::Done) {
        world.link().on(kSave, ScriptedReply::rows({}));
        if (login == Login::Done) {
            world.login();
        }
    }
    void start() {
        object.initialize();
        present()->setRequestTimeOut(kVeryLong);
    }
    void startWithHeldLoad() {
        world.link().on(kProfile, ScriptedReply::rows({}).held());
        start();
        QVERIFY(world.link().waitForRequestCount(kProfile, 1));
    }
    static VelmarBusinessDataManagerPresenterClass* present() { return s_presenter; }
    static bool waitForLoad() {
        return waitFor([] {
            QString text;
            return Facade::IsUserCageInfoInited(QString(), text);
        });
    }

    ClientWorld world;
    VelmarBusinessDataManager object;
};

}  // namespace

/// The exported update of the cage around the first load.
class FacadeCageUpdateTest : public QObject {
    Q_OBJECT

private slots:
    void update_loadUnderWay_waitsAndSavesTheWholeCage() {
        Plugin plugin;
        plugin.startWithHeldLoad();
        Update update;
        QVERIFY(update.waitUntilItWaits());
        QVERIFY(!update.isOver());
        QCOMPARE(plugin.world.link().requestCount(kSave), 0);
        QVERIFY(waitFor([&] { return plugin.world.link().release(kProfile) == 1; }));
        QCOMPARE(update.text(), QString());
        const QList<QVariantMap> rows = plugin.world.link().lastRequest(kSave).rows;
        const QJsonObject saved =
            QJsonDocument::fromJson(rows.at(1).value(System::profileData).toString().toUtf8())
                .object();
        QCOMPARE(saved.keys(), (QStringList{"1", "2", "3"}));
        const QJsonObject changed = saved.value("1").toObject();
        QCOMPARE(changed.value(CageField::userBuyUnit).toInt(), 7);
        QCOMPARE(changed.value(CageField::controlType).toInt(), 3);
        QCOMPARE(Facade::GetAllCageMap().value("1").value(CageField::userBuyUnit).toInt(), 7);
    }

    void update_loadTakesLongerThanTheTimeOut_failsWithoutSaving() {
        Plugin plugin;
        plugin.startWithHeldLoad();
        Plugin::present()->setRequestTimeOut(1);
        QCOMPARE(changeOneFigure(), kNotLoaded);
        QCOMPARE(plugin.world.link().requestCount(kSave), 0);
        QVERIFY(Facade::GetAllCageMap().isEmpty());
    }

    void update_presenterClosesMeanwhile_failsAtOnce() {
        Plugin plugin;
        plugin.startWithHeldLoad();
        Update update;
        QVERIFY(update.waitUntilItWaits());
        Plugin::present()->deleteLater();
        QCOMPARE(update.text(), kNotLoaded);
        QCOMPARE(plugin.world.link().requestCount(kSave), 0);
    }

    void refresh_presenterClosed_leavesTheCages() {
        Plugin plugin;
        plugin.start();
        QVERIFY(Plugin::waitForLoad());
        const auto cages = Facade::GetAllCageMap();
        QVERIFY(!cages.isEmpty());
        const QTime read = Facade::getCageUpdateTime();
        plugin.world.link().clearRequests();
        Plugin::present()->deleteLater();
        QCOMPARE(Facade::refreshUserCageInfo(),
                 QStringLiteral("当前状态不可重新初始化价格笼子配置！"));
        QCOMPARE(Facade::GetAllCageMap(), cages);
        QCOMPARE(Facade::getCageUpdateTime(), read);
        QCOMPARE(plugin.world.link().requestCount(kProfile), 0);
    }

    void update_accountListMissing_failsAtOnce() {
        Plugin plugin(Plugin::Login::Missing);
        plugin.start();
        QCOMPARE(changeOneFigure(), kNotLoaded);
        QCOMPARE(plugin.world.link().requestCount(kSave), 0);
    }

    void update_onThePresentersThreadBeforeTheLoad_failsAtOnce() {
        Plugin plugin;
        // A load that never ends.
        QVERIFY(VelmarInitStateMgr::instance().StartInit(InitTypeCode::PriceCageInfo));
        plugin.start();
        std::promise<QString> text;
        invokeOn(Plugin::present(), [&text] { text.set_value(changeOneFigure()); });
        QCOMPARE(text.get_future().get(), kNotLoaded);
        QCOMPARE(plugin.world.link().requestCount(kSave), 0);
    }

    void update_onThePresentersThreadAfterTheLoad_isSaved() {
        Plugin plugin;
        plugin.start();
        QVERIFY(Plugin::waitForLoad());
        std::promise<QString> text;
        invokeOn(Plugin::present(), [&text] { text.set_value(changeOneFigure()); });
        QCOMPARE(text.get_future().get(), QString());
        QCOMPARE(plugin.world.link().requestCount(kSave), 1);
    }

    void update_loadFailedWithEmptyTables_fails() {
        Plugin plugin;
        VelmarInitStateMgr::instance().FinishInit(InitTypeCode::PriceCageInfo, false, true);
        plugin.start();
        QCOMPARE(changeOneFigure(), kNotLoaded);
        QCOMPARE(plugin.world.link().requestCount(kSave), 0);
    }

    void update_unusableFigure_isRefusedWithAText() {
        Plugin plugin;
        plugin.start();
        QVERIFY(Plugin::waitForLoad());
        const QString text =
            Facade::updateUserCageInfo({}, {{"1", {{CageField::userBuyUnit, "many"}}}});
        QVERIFY2(text.startsWith("设置失败，失败原因：价格笼子1"), qPrintable(text));
        QCOMPARE(plugin.world.link().requestCount(kSave), 0);
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(FacadeCageUpdateTest)
#include "facade_cage_update_test.moc"

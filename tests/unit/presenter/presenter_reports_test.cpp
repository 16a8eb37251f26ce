#include <QAbstractEventDispatcher>
#include <QRegularExpression>
#include <QTimer>
#include <QTimerEvent>
#include <QtTest>
#include <algorithm>
#include <memory>
#include <mutex>

#include "client_world.h"
#include "data_stores.h"
#include "local_platform.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "run_on_thread.h"
#include "shared_settings.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"
#include "zncore/zn_core.h"

namespace {

using Presenter = VelmarBusinessDataManagerPresenterClass;

constexpr int kThreadsMs = 60000;
constexpr int kStaticDbMs = 300000;

/// Opens what the event loop calls when a timer fires.
class TimedPresenter : public Presenter {
public:
    TimedPresenter() : Presenter("Test.Timed", nullptr) {}
    void fire(int timerId) {
        QTimerEvent event(timerId);
        timerEvent(&event);
    }
};

QVariant onBoard(const QString& key) {
    return ZnCore::instance()->getCommonInfo(key);
}

/// What the start-up does, in its order, noted on the thread that does it. The static information
/// is a step of its own, noted before the first step that finds it on the board.
class Steps {
public:
    void note(const QString& step) {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (!m_isPublished && !onBoard(ClientPerformItem::CpuLogicCount).isNull()) {
            m_isPublished = true;
            m_steps.append("static information");
        }
        m_steps.append(step);
    }
    void noteItem(const QVariantMap& item) {
        const QString value = item.value(System::itemValue).toString();
        const QString text = item.value(System::itemValueEx).toString();
        note("item " + value + (value == ClientErrorType::StaticInfoDbError ? " " + text : ""));
    }
    QStringList taken() const {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_steps;
    }
    QStringList items() const { return taken().filter(QRegularExpression("^item ")); }

private:
    mutable std::mutex m_lock;  // guards the members below
    bool m_isPublished = false;
    QStringList m_steps;
};

StaticDbBuilder staticData() {
    return StaticDbBuilder().section("Dict", {{"a", "1"}}).referenceText("bond", "S1", "{");
}

/// A client whose start-up is noted step by step.
class ReportingClient {
public:
    explicit ReportingClient(const StaticDbBuilder& data = staticData())
        : world(numberedAccounts(1), data) {
        world.login();
        // Requests with their subject, where one type has several.
        noteRequests(Quindar_MsgType::subscribeTopicRequest, System::subscriptionTopic);
        noteRequests(Velmar_MsgType::BusiHeartBeatRequest);
        noteRequests(Velmar_MsgType::queryProductDataVersionRequest);
        noteRequests(Velmar_MsgType::AlterClientPatchInfoRequest);
        noteRequests(Velmar_MsgType::QueryClientPatchInfoRequest);
    }
    ~ReportingClient() {
        if (presenter) {
            presenter->deleteLater();
        }
    }
    ReportingClient(const ReportingClient&) = delete;
    ReportingClient& operator=(const ReportingClient&) = delete;

    /// The performance configuration of the server.
    void configure(const QVariantMap& config) {
        QString error;
        const QString text = VelmarUtils::TransMap2Str(config, error);
        world.link().onEach(
            Quindar_MsgType::sysConfigRequest,
            [steps = steps, text](const ScriptedLink::Request& request) {
                const QString name = request.header.value(System::itemName).toString();
                const QString key = request.header.value(System::sysConfigKey).toString();
                steps->note("request " + request.type + " " + name + key);
                return name.isEmpty() ? ScriptedReply::rows({})
                                      : ScriptedReply::rows({{{System::itemValue, text}}});
            });
    }

    void beginStartUp() {
        presenter = new TimedPresenter;
        QObject::connect(
            presenter.data(), &Presenter::signalClientInfoCollect, presenter.data(),
            [steps = steps](const QVariantMap& item) { steps->noteItem(item); },
            Qt::DirectConnection);
        presenter->initPresenter();
        QMetaObject::invokeMethod(presenter, "slotInitData", Qt::QueuedConnection);
    }
    /// Runs the start-up to its last request.
    bool startUp() {
        beginStartUp();
        return world.link().waitForRequestCount(Velmar_MsgType::QueryRiskSecurityFlagInfoRequest,
                                                1);
    }

    /// The timers of the presenter with this interval. On its thread.
    QList<QTimer*> timers(int intervalMs) const {
        QList<QTimer*> found;
        const auto all = presenter->findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
        for (QTimer* const timer : all) {
            if (timer->interval() == intervalMs) {
                found.append(timer);
            }
        }
        return found;
    }
    /// The items that the end of an interval leads to.
    QStringList fire(int intervalMs) const {
        const int before = steps->items().size();
        runOnThreadAndWait(presenter.data(), [this, intervalMs] {
            for (QTimer* const timer : timers(intervalMs)) {
                QMetaObject::invokeMethod(timer, "timeout", Qt::DirectConnection);
            }
        });
        return steps->items().mid(before);
    }

    ClientWorld world;
    const std::shared_ptr<Steps> steps = std::make_shared<Steps>();
    // A closing platform deletes the presenter.
    QPointer<TimedPresenter> presenter;

private:
    void noteRequests(const QString& type, const QString& subject = {}) {
        world.link().onEach(type, [steps = steps, subject](const ScriptedLink::Request& request) {
            const QString name = request.header.value(subject).toString();
            steps->note("request " + request.type + (name.isEmpty() ? "" : " " + name));
            return ScriptedReply::rows({});
        });
    }
};

QVariantMap performType(const QStringList& items, int period) {
    return {{"items", items}, {"period", period}};
}

}  // namespace

/// The reports at the start and the timers of the later ones.
class PresenterReportsTest : public QObject {
    Q_OBJECT

private slots:
    void startUp_reports_comeInTheirOrder() {
        ReportingClient client;
        client.configure({{"UploadDst", 2},
                          {"once", performType({ClientPerformItem::CpuLogicCount}, 0)},
                          {"often", performType({ClientPerformItem::CpuLogicCount}, 3600)}});
        const QString config = VelmarUtils::GetDefaultUserCfgFileDir();
        QSettings(config + "ignoreSmallScreen.ini", QSettings::IniFormat)
            .setValue("IgnoreSmallScreen", true);
        SharedSettings(config + "patchClientSet.cfg", nullptr)
            .lockedSetValue("p1/" + ClientPatch::PatchStatus, "1");
        ZnCore::instance()->saveSetting(Constants::PLUGIN_VIEWCUSTOMHIDESTYLE + "/orders", "1");
        // Dumps of the application's folder are looked for by their bare names.
        QVERIFY(QDir::setCurrent(client.world.homeDir()));
        QFile dump("crash.dmp");
        QVERIFY(dump.open(QIODevice::WriteOnly));
        QVERIFY(client.startUp());
        const QString topic = "request " + Quindar_MsgType::subscribeTopicRequest + " ";
        const QString beat = "request " + Velmar_MsgType::BusiHeartBeatRequest;
        const QString sysConfig = "request " + Quindar_MsgType::sysConfigRequest + " ";
        const QString staticDb = "item " + ClientErrorType::StaticInfoDbError + " ";
        const QStringList expected{
            topic + Velmar_MsgType::MessageCenterPushMsg,
            beat,
            beat,
            staticDb + R"({"a reference row of kind bond cannot be used":"1"})",
            "item IgnoreSmallScreen",
            "item PlatformTableColumnVisible",
            "static information",
            sysConfig + SystemItemName::TagClientPerformanceCfg,
            "item " + ClientPerformItem::CpuLogicCount,
            "request " + Velmar_MsgType::queryProductDataVersionRequest,
            "request " + Velmar_MsgType::AlterClientPatchInfoRequest,
            staticDb + "load success",
            sysConfig + "torvi.sys.dmp.autouploadlog",
            "item " + ClientErrorType::DmpInfoError,
            "item " + AutoLoginSetting::AutoLogin,
            topic + Velmar_MsgType::ClientPatchInfoPush,
            "request " + Velmar_MsgType::QueryClientPatchInfoRequest};
        QCOMPARE(client.steps->taken(), expected);
    }

    void startUp_withoutAnythingToReport_reportsTheLogin() {
        ReportingClient client{StaticDbBuilder()};
        client.configure({});
        const LogCapture log;
        QVERIFY(client.startUp());
        QCOMPARE(client.steps->items(), QStringList("item " + AutoLoginSetting::AutoLogin));
        QVERIFY(log.contains(QtDebugMsg, "没有新增的产品数据库错误"));
        QCOMPARE(client.world.link().requestCount(Velmar_MsgType::AlterClientPatchInfoRequest), 0);
    }

    void startUp_timersOfTheReports_runAgainAndAgain() {
        ReportingClient client;
        QVERIFY(client.startUp());
        for (const int interval : {kThreadsMs, kStaticDbMs}) {
            int count = 0;
            bool isRepeating = true;
            runOnThreadAndWait(client.presenter.data(), [&] {
                for (const QTimer* const timer : client.timers(interval)) {
                    ++count;
                    isRepeating = isRepeating && timer->isActive() && !timer->isSingleShot();
                }
            });
            QCOMPARE(count, 1);
            QVERIFY(isRepeating);
        }
    }

    void threadTimer_reportsTheThreads_butNotAtTheStart() {
        ReportingClient client;
        QVERIFY(client.startUp());
        QVERIFY(!client.steps->taken().contains("item ThreadNum"));
        QVERIFY(onBoard(ClientPerformItem::ThreadNum).isNull());
        QCOMPARE(client.fire(kThreadsMs), QStringList("item ThreadNum"));
        QVERIFY(onBoard(ClientPerformItem::ThreadNum).toInt() > 1);
        QCOMPARE(client.fire(kThreadsMs), QStringList("item ThreadNum"));
    }

    void staticDbTimer_reportsWhatCameSince() {
        ReportingClient client;
        QVERIFY(client.startUp());
        const LogCapture log;
        QCOMPARE(client.fire(kStaticDbMs), QStringList());
        QCOMPARE(log.count(QtDebugMsg, "没有新增的产品数据库错误"), 1);
        DataStores::staticDatabase().noteError("late");
        QCOMPARE(client.fire(kStaticDbMs),
                 QStringList("item " + ClientErrorType::StaticInfoDbError + R"( {"late":"1"})"));
    }

    void performanceConfig_refused_doesNotStopTheOtherReports() {
        ReportingClient client;
        const LogCapture log;
        QVERIFY(client.startUp());
        QVERIFY(log.contains(QtWarningMsg, "查询终端指标上报配置失败："));
        QVERIFY(client.steps->taken().contains("item " + AutoLoginSetting::AutoLogin));
        QCOMPARE(client.fire(kThreadsMs), QStringList("item ThreadNum"));
    }

    void performanceTimer_ofTheConfiguration_reportsItsType() {
        ReportingClient client;
        client.configure({{"UploadDst", 2},
                          {"one", performType({ClientPerformItem::CpuLogicCount}, 3600)},
                          {"two", performType({ClientPerformItem::OSName}, 3600)}});
        const LogCapture log;
        QVERIFY(client.startUp());
        const QRegularExpression form(R"(QMap\(\("one", (\d+)\)\("two", (\d+)\)\) 2)");
        const QRegularExpressionMatch match = form.match(log.texts(QtDebugMsg).join('\n'));
        QVERIFY(match.hasMatch());
        const int one = match.captured(1).toInt();
        const int two = match.captured(2).toInt();
        QVERIFY(one != two);
        const int before = client.steps->items().size();
        runOnThreadAndWait(client.presenter.data(), [&] {
            client.presenter->fire(two);
            client.presenter->fire(one);
            client.presenter->fire(one + two);  // no timer of a type
        });
        QCOMPARE(client.steps->items().mid(before),
                 (QStringList{"item " + ClientPerformItem::OSName,
                              "item " + ClientPerformItem::CpuLogicCount}));
    }

    void performanceTimer_isOfWholeSeconds() {
        ReportingClient client;
        client.configure({{"once", performType({}, 0)},
                          {"often", performType({}, 15)},
                          {"seldom", performType({}, 3600)}});
        QVERIFY(client.startUp());
        QList<int> intervals;
        runOnThreadAndWait(client.presenter.data(), [&] {
            const auto timers =
                QAbstractEventDispatcher::instance()->registeredTimers(client.presenter.data());
            for (const QAbstractEventDispatcher::TimerInfo& timer : timers) {
                if (timer.timerType == Qt::VeryCoarseTimer) {
                    intervals.append(timer.interval);
                }
            }
        });
        std::sort(intervals.begin(), intervals.end());
        QCOMPARE(intervals, (QList<int>{15000, 3600000}));
    }

    void startUp_hostClosesMeanwhile_makesNoFurtherReport() {
        ReportingClient client;
        const QString config = Quindar_MsgType::sysConfigRequest;
        client.world.link().on(config, ScriptedReply::rows({}).held());
        client.beginStartUp();
        QVERIFY(waitFor([&] { return client.world.link().heldCount(config) == 1; }));
        LocalPlatform::instance().close();
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
        QCOMPARE(client.world.link().requestCount(Velmar_MsgType::queryProductDataVersionRequest),
                 0);
        QVERIFY(!client.steps->taken().contains("item " + AutoLoginSetting::AutoLogin));
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(PresenterReportsTest)
#include "presenter_reports_test.moc"

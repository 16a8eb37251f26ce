#include <QtTest>
#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include "client_world.h"
#include "local_platform.h"
#include "log_capture.h"
#include "presenter_use.h"
#include "process_per_case.h"
#include "run_on_thread.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager.h"
#include "vocabulary/fields.h"
#include "vocabulary/plugin_propety.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"

namespace {

using Facade = VelmarBusinessDataInterface;
inline const QString kBound = Velmar_MsgType::getSysUserTradingPermRequest;
inline const QString kTraders = Quindar_MsgType::quant_GetUserRequest;
inline const QString kGet = Velmar_MsgType::getAccountAuthPermRequest;

StaticDbBuilder definitions() {
    StaticDbBuilder builder;
    builder.section(UserAccount::authType, {{"MaxOrder", AccountType::TradingAccount}});
    return builder;
}

/// The facade's functions that send, each returning whether its answer was empty.
const QList<std::function<bool()>>& sendingFunctions() {
    static const QList<std::function<bool()>> functions{
        [] { return Facade::GetUserAuthority("MaxOrder").isEmpty(); },
        [] { return !Facade::SetUserAuthority("MaxOrder", "T0001", 1); },
        [] {
            return Facade::GetBindTraderListByAccount("T0001", AccountType::TradingAccount)
                .isEmpty();
        },
        [] { return Facade::GetOrganTraderList().isEmpty(); },
        [] { return Facade::GetTraderInfoList(QString()).isEmpty(); },
    };
    return functions;
}

}  // namespace

/// Facade calls while the presenter is being destroyed.
class FacadeLivenessTest : public QObject {
    Q_OBJECT

private slots:
    void sending_presenterLives_answers() {
        ClientWorld world(numberedAccounts(1), definitions());
        world.login();
        VelmarBusinessDataManager object;
        object.initialize();
        world.link().on(kBound, ScriptedReply::rows({{{UserAccount::userID, "u1"}}}));
        world.link().on(
            kTraders,
            ScriptedReply::rows({{{UserAccount::userID, "u1"}, {UserAccount::userName, "甲"}}}));
        world.link().on(kGet, ScriptedReply::rows({{{UserAccount::account, "T0001"},
                                                    {UserAccount::authValue, "9"}}}));
        world.link().on(Velmar_MsgType::alterAccountAuthPermRequest, ScriptedReply::rows({}));
        for (const auto& function : sendingFunctions()) {
            QVERIFY(!function());
        }
        QCOMPARE(Facade::GetUserAuthority("MaxOrder"), (QVariantMap{{"T0001", 1}}));
    }

    void sending_idTakenButNoPresenter_isEmptyWithALogLine() {
        const ClientWorld world;
        VelmarBusinessDataManager object;
        object.setPluginWidgetPropety(PluginPropety::PLUGININSTANCE_ID, "taken");
        const LogCapture log;
        for (const auto& function : sendingFunctions()) {
            QVERIFY(function());
        }
        QCOMPARE(log.texts(QtWarningMsg).filter("finds no presenter").size(), 5);
    }

    void sending_presenterDisposedOf_isEmptyAtOnce() {
        ClientWorld world(numberedAccounts(1), definitions());
        world.login();
        auto object = std::make_unique<VelmarBusinessDataManager>();
        object->initialize();
        QVERIFY(PresenterUse().presenter() != nullptr);
        object.reset();
        QVERIFY(s_presenter.load() != nullptr);
        QCOMPARE(PresenterUse().presenter(), nullptr);
        world.link().clearRequests();
        const LogCapture log;
        for (const auto& function : sendingFunctions()) {
            QVERIFY(function());
        }
        QCOMPARE(log.texts(QtWarningMsg).filter("finds no presenter").size(), 5);
        QCOMPARE(world.link().requestCount(), 0);
    }

    void sending_hostClosesMeanwhile_returns_data() { eachFunction(); }
    void sending_hostClosesMeanwhile_returns() {
        endWhileSending(
            [](std::unique_ptr<VelmarBusinessDataManager>&) { LocalPlatform::instance().close(); });
    }

    void sending_presenterIsDisposedOfMeanwhile_returns_data() { eachFunction(); }
    void sending_presenterIsDisposedOfMeanwhile_returns() {
        endWhileSending([](std::unique_ptr<VelmarBusinessDataManager>& object) { object.reset(); });
    }

    void use_heldWhileThePresenterGoes_keepsItAlive() {
        ClientWorld world(numberedAccounts(1));
        world.login();
        auto object = std::make_unique<VelmarBusinessDataManager>();
        object->initialize();
        // After its start-up, so that only the use keeps it alive.
        runOnThreadAndWait(object->presenter(), [] {});
        auto use = std::make_unique<PresenterUse>();
        QPointer<VelmarBusinessDataManagerPresenterClass> presenter = use->presenter();
        QVERIFY(presenter);
        // These would be closed after the one in use.
        std::vector<QPointer<RecordingPresenter>> unused(5);
        for (auto& one : unused) {
            one = new RecordingPresenter;
            one->initPresenter();
        }
        std::atomic<bool> over{false};
        bool waited = false;
        std::thread ending([&] {
            LocalPlatform::instance().close();
            waited = over;
        });
        const bool closing = waitFor([&] { return use->presenter()->isClosing(); });
        // These are destroyed meanwhile, which takes longer than destroying one.
        bool allThere = true;
        for (auto& one : unused) {
            allThere = allThere && one;
            if (one) {
                one->deleteLater();
            }
        }
        const bool alive = presenter;
        const bool found = PresenterUse().presenter() != nullptr;
        over = true;
        use.reset();
        ending.join();
        QVERIFY(closing);
        QVERIFY(allThere);
        QVERIFY(alive);
        QVERIFY(waited);
        QVERIFY(!found);
        QVERIFY(!presenter);
    }

private:
    static void eachFunction() {
        QTest::addColumn<int>("function");
        for (int i = 0; i < sendingFunctions().size(); ++i) {
            QTest::addRow("%d", i) << i;
        }
    }

    static void endWhileSending(
        const std::function<void(std::unique_ptr<VelmarBusinessDataManager>&)>& end) {
        QFETCH(int, function);
        ClientWorld world(numberedAccounts(2), definitions());
        world.login();
        auto object = std::make_unique<VelmarBusinessDataManager>();
        object->initialize();
        const QStringList types{kGet, Velmar_MsgType::alterAccountAuthPermRequest, kBound,
                                kTraders};
        for (const QString& type : types) {
            world.link().on(type, ScriptedReply::never());
        }
        const auto sent = [&] {
            return std::any_of(types.cbegin(), types.cend(), [&world](const QString& type) {
                return world.link().requestCount(type) > 0;
            });
        };
        bool empty = false;
        std::thread caller([&] { empty = sendingFunctions().at(function)(); });
        const bool under = waitFor(sent);
        end(object);
        caller.join();
        QVERIFY(under);
        QVERIFY(empty);
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(FacadeLivenessTest)
#include "facade_liveness_test.moc"

#include <sys/syscall.h>
#include <unistd.h>

#include <QSettings>
#include <QtTest>
#include <atomic>
#include <future>

#include "client_world.h"
#include "facade_menu_value.h"
#include "first_load.h"
#include "local_platform.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "thread_state.h"
#include "velmar_business_data_interface.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"

namespace {

using Facade = VelmarBusinessDataInterface;

inline const QString kMenus = Quindar_MsgType::menuConfigurationRequest;
inline const QString kNames = Velmar_MsgType::getSysMenuRequest;

StaticDbBuilder staticData() {
    return StaticDbBuilder()
        .section(DictionaryKey::VelmarBusiMsgDefaultSetting,
                 {{"default", R"({"sound":"none"})"},
                  {"1_1001_3", R"({"PopSwitch":true,"RemindSwitch":true})"}})
        .section(System::BusiMsgType, {{"1", "系统"}})
        .section(System::BusiMsgSubType, {{"1001", "网络"}});
}

void answerMenus(ClientWorld* world) {
    const QString position =
        R"([{"pluginInstanceId":"I2","pluginId":"P","menuId":"M1","menuScreenWidth":800},)"
        R"({"pluginInstanceId":"I1","pluginId":"P","menuId":"M2"}])";
    world->link().on(kMenus, ScriptedReply::rows({{{UserAccount::menuId, "M1"},
                                                   {UserAccount::menuCaption, "委托"},
                                                   {UserAccount::menuPosition, position}}}));
    world->link().on(kNames, ScriptedReply::rows({{{UserAccount::menuId, "M9"},
                                                   {UserAccount::menuCaption, "系统管理"}}}));
}

}  // namespace

class FacadeMenusTest : public QObject {
    Q_OBJECT

private slots:
    void menus_firstCall_loadsThePluginAndAsksTheServer() {
        ClientWorld world({}, staticData());
        answerMenus(&world);
        world.login();
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
        QCOMPARE(Facade::GetMenuIDByPluginID("P"), QString("M2"));
        QCOMPARE(LocalPlatform::instance().presenterCount(), 1);
        QCOMPARE(world.link().requestCount(kMenus), 1);
        const QList<VelmarPluginInfo> infos = Facade::GetMenuInfoListByPluginID("P");
        QCOMPARE(infos.size(), 2);
        QCOMPARE(infos.at(1).pluginInstanceId, QString("I2"));
        QCOMPARE(infos.at(1).menuName, QString("委托"));
        QCOMPARE(infos.at(1).menuScreenWidth, 800);
        QVERIFY(Facade::IsUserHasMenuId("M1"));
        QVERIFY(!Facade::IsUserHasMenuId("M2"));
        QCOMPARE(world.link().requestCount(kMenus), 1);
        QCOMPARE(world.link().requestCount(kNames), 0);
        QCOMPARE(Facade::GetMenuNameByMenuId("M9"), QString("系统管理"));
        QVERIFY(Facade::GetMenuNameByMenuId("M1").isEmpty());
        QCOMPARE(world.link().requestCount(kNames), 1);
    }

    void menus_serverRefuses_areEmpty() {
        ClientWorld world({}, staticData());
        world.link().on(kMenus, ScriptedReply::refusal("不行"));
        world.link().on(kNames, ScriptedReply::refusal("不行"));
        world.login();
        const LogCapture log;
        QVERIFY(Facade::GetMenuIDByPluginID("P").isEmpty());
        QVERIFY(Facade::GetMenuInfoListByPluginID("P").isEmpty());
        QVERIFY(Facade::GetMenuNameByMenuId("M1").isEmpty());
        QVERIFY(!Facade::IsUserHasMenuId("M1"));
        QCOMPARE(log.count(QtWarningMsg, "request " + kMenus + " was refused: 不行"), 1);
        QCOMPARE(log.count(QtWarningMsg, "request " + kNames + " was refused: 不行"), 1);
    }

    void menus_hostCloses_endsTheRequestAndTheQuestionThatWaits() {
        ClientWorld world({}, staticData());
        answerMenus(&world);
        world.login();
        QCOMPARE(Facade::GetMenuNameByMenuId("M9"), QString("系统管理"));
        world.link().on(kMenus, ScriptedReply::never());
        LogCapture log;
        auto first = std::async(std::launch::async, [] { return Facade::IsUserHasMenuId("M1"); });
        QVERIFY(world.link().waitForRequestCount(kMenus, 1));
        std::atomic<int> id{0};
        auto second = std::async(std::launch::async, [&id] {
            id = static_cast<int>(::syscall(SYS_gettid));
            return Facade::GetMenuIDByPluginID("P").isEmpty();
        });
        QVERIFY(waitFor([&id] { return id != 0 && isThreadAsleep(id); }));
        LocalPlatform::instance().close();
        QVERIFY(!first.get());
        QVERIFY(second.get());
        QCOMPARE(world.link().requestCount(kMenus), 1);
        QVERIFY(log.contains(QtWarningMsg, "request " + kMenus + " failed: "));
    }

    void menus_afterTheHostHasClosed_areEmptyAndSendNothing() {
        ClientWorld world({}, staticData());
        answerMenus(&world);
        world.login();
        QVERIFY(Facade::IsUserHasMenuId("M1"));
        LocalPlatform::instance().close();
        QVERIFY(Facade::GetMenuNameByMenuId("M9").isEmpty());
        QVERIFY(!Facade::IsUserHasMenuId("M1"));
        QVERIFY(Facade::GetMenuIDByPluginID("P").isEmpty());
        QVERIFY(Facade::GetMenuInfoListByPluginID("P").isEmpty());
        QCOMPARE(world.link().requestCount(kNames), 0);
        QCOMPARE(world.link().requestCount(kMenus), 1);
    }

    void pluginInfo_asJson_hasEveryField() {
        VelmarPluginInfo info;
        info.pluginInstanceId = "I";
        info.pluginId = "P";
        info.menuId = "M";
        info.containerId = "C";
        info.menuScreenWidth = 800;
        info.menuScreenHeight = 600;
        info.menuName = "委托";
        info.customProperty = {{"a", QVariantMap{{"b", true}}}};
        const QJsonObject expected{
            {"pluginInstanceId", "I"},
            {"pluginId", "P"},
            {"menuId", "M"},
            {"containerId", "C"},
            {"menuScreenWidth", 800},
            {"menuScreenHeight", 600},
            {"menuName", "委托"},
            {"customProperty", QJsonObject{{"a", QJsonObject{{"b", true}}}}}};
        QCOMPARE(FacadeValue<VelmarPluginInfo>::toJson(info).toObject(), expected);
    }

    void remindSettings_areStoredInTheUsersFile() {
        ClientWorld world({}, staticData());
        const QString folder = world.homeDir() + "/application";
        qApp->setProperty("velmar.applicationFolder", folder);
        world.login();
        const QVariantMap choice{{BusiMsgCenter::PopSwitch, true}, {"sound", "gong"}};
        QCOMPARE(Facade::GetBusiMsgRemindSettingInfo("1", "1001", "2", false),
                 (QVariantMap{{"sound", "none"}}));
        QVERIFY(!Facade::SetBusiMsgRemindSettingInfo("1", "1001", "", choice));
        QVERIFY(Facade::SetBusiMsgRemindSettingInfo("1", "", "2", choice));
        QCOMPARE(Facade::GetBusiMsgRemindSettingInfo("1", "1001", "2", true), choice);
        QVERIFY(!Facade::GetNoMoreRemindInDayFlag());
        Facade::SetNoMoreRemindInDay();
        QVERIFY(Facade::GetNoMoreRemindInDayFlag());
        QCOMPARE(Facade::GetBusiMsgRemindSettingInfo("1", "1001", "2", true)
                     .value(BusiMsgCenter::PopSwitch),
                 QVariant(false));
        QCOMPARE(Facade::GetBusiMsgRemindSettingInfo("1", "1001", "2", false), choice);
        const QString file = folder + "/work/tester/busiMsgSetting.ini";
        const QSettings stored(file, QSettings::IniFormat);
        QCOMPARE(stored.allKeys(), (QStringList{"1/1001_2", "1/BASE_2", "IgnoreDate"}));
        QCOMPARE(stored.value("IgnoreDate").toString(), QDate::currentDate().toString("yyyyMMdd"));
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(FacadeMenusTest)
#include "facade_menus_test.moc"

#include <QJsonArray>
#include <QJsonObject>
#include <QtTest>

#include "client_world.h"
#include "facade_function.h"
#include "local_platform.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"

namespace {

using Facade = VelmarBusinessDataInterface;

/// Calls an exported function by name, as the command line does.
QJsonValue result(const QString& name, const QStringList& arguments) {
    int count = 0;
    const FacadeFunction* const functions = velmarFacadeFunctions(&count);
    QString error;
    const FacadeFunction* const function =
        chooseFacadeFunction(functions, count, name, arguments, &error);
    return function ? function->call(arguments).value("result") : QJsonValue(error);
}

StaticDbBuilder dictionaries() {
    return StaticDbBuilder()
        .section(DictionaryKey::VelmarBusiMsgTypeDict, {{"delist", "4|4001|2"}})
        .section(System::BusiMsgType, {{"4", "交易"}})
        .section(System::BusiMsgSubType, {{"4001", "风险"}, {"4002", "提示"}});
}

/// A client that is logged in and whose files are in its home.
struct Client {
    Client() : world(numberedAccounts(1), dictionaries()) {
        qApp->setProperty("velmar.applicationFolder", world.homeDir());
        world.login();
    }

    ClientWorld world;
};

bool waitForMessages(int count) {
    return waitFor([count] { return Facade::GetAllBusiMsgList().size() == count; });
}

QString clientIdAt(int index) {
    return Facade::GetAllBusiMsgList().value(index).value(System::clientMsgID).toString();
}

}  // namespace

class FacadeMessagesTest : public QObject {
    Q_OBJECT

private slots:
    void addBusiMsg_beforeAPresenter_isLostWithAWarning() {
        const Client client;
        const LogCapture log;
        Facade::AddBusiMsg("2", "文本", "4", "4001", "", "", true, "");
        Facade::AddBusiMsg("delist", "文本", "", "", true, "");
        QCOMPARE(log.texts(QtWarningMsg).filter("ZnBusinessDataManager::AddBusiMsg").size(), 2);
        QVERIFY(!Facade::IsBusiMsgRead("1"));
        QVERIFY(Facade::GetAllBusiMsgList().isEmpty());
    }

    void addBusiMsg_afterThePlatformClosed_isLostWithAWarning() {
        const Client client;
        VelmarBusinessDataManager object;
        object.initialize();
        LocalPlatform::instance().close();
        const LogCapture log;
        Facade::AddBusiMsg("2", "文本", "4", "4001", "", "", true, "");
        QCOMPARE(log.texts(QtWarningMsg).filter("ZnBusinessDataManager::AddBusiMsg").size(), 1);
    }

    void lists_withoutAPresenter_doTheFirstLoad() {
        Client client;
        QVERIFY(Facade::GetAllBusiMsgList().isEmpty());
        QVERIFY(
            client.world.link().waitForRequestCount(Velmar_MsgType::queryBusiMessagesRequest, 1));
        Facade::AddBusiMsg("2", "文本", "4", "4001", "", "", false, "");
        QVERIFY(waitForMessages(1));
    }

    void message_added_goesThroughEveryList() {
        const Client client;
        VelmarBusinessDataManager object;
        object.initialize();
        Facade::AddBusiMsg("delist", "退市", "项", "值", true, "T0001");
        QVERIFY(waitForMessages(1));
        const QVariantMap message = Facade::GetAllBusiMsgList().first();
        QCOMPARE(message.value(System::BusiMsgType).toString(), QString("4"));
        QCOMPARE(message.value(System::BusiMsgSubType).toString(), QString("4001"));
        QCOMPARE(message.value(System::BusiMsgLevel).toString(), QString("2"));
        QCOMPARE(message.value(System::textDescription).toString(), QString("退市"));
        QCOMPARE(Facade::GetUnreadBusiMsgList(), QList<QVariantMap>{message});
        QCOMPARE(Facade::GetRemindBusiMsgList(), QList<QVariantMap>{message});
        QVERIFY(!Facade::IsBusiMsgRead(clientIdAt(0)));
        QVERIFY(Facade::SetBusiMsgRead(clientIdAt(0)));
        QVERIFY(Facade::SetBusiMsgRead(clientIdAt(0)));
        QVERIFY(Facade::IsBusiMsgRead(clientIdAt(0)));
        QCOMPARE(Facade::GetAllBusiMsgList().size(), 1);
        QVERIFY(Facade::GetUnreadBusiMsgList().isEmpty());
        QVERIFY(Facade::GetRemindBusiMsgList().isEmpty());
        QVERIFY(!Facade::SetBusiMsgRead("none"));
        QVERIFY(!Facade::IsBusiMsgRead("none"));
    }

    void reminder_settings_decideTheReminders() {
        const Client client;
        VelmarBusinessDataManager object;
        object.initialize();
        Facade::AddBusiMsg("delist", "退市", "", "", false, "");
        QVERIFY(waitForMessages(1));
        const QVariantMap quiet{{BusiMsgCenter::RemindSwitch, true},
                                {BusiMsgCenter::PopSwitch, false}};
        QVERIFY(!Facade::SetBusiMsgRemindSettingInfo("4", "", "", quiet));
        QCOMPARE(Facade::GetRemindBusiMsgList().size(), 1);
        QVERIFY(Facade::SetBusiMsgRemindSettingInfo("4", "", "2", quiet));
        QCOMPARE(Facade::GetBusiMsgRemindSettingInfo("4", "4001", "2", false), quiet);
        QVERIFY(Facade::GetRemindBusiMsgList().isEmpty());
        QCOMPARE(Facade::GetUnreadBusiMsgList().size(), 1);
    }

    void reminders_silencedForTheDay_areEmpty() {
        const Client client;
        VelmarBusinessDataManager object;
        object.initialize();
        Facade::AddBusiMsg("delist", "退市", "", "", false, "");
        QVERIFY(waitForMessages(1));
        QVERIFY(!Facade::GetNoMoreRemindInDayFlag());
        Facade::SetNoMoreRemindInDay();
        QVERIFY(Facade::GetNoMoreRemindInDayFlag());
        QVERIFY(Facade::GetRemindBusiMsgList().isEmpty());
        QCOMPARE(Facade::GetUnreadBusiMsgList().size(), 1);
    }

    void functions_calledByName_doTheSame() {
        const Client client;
        VelmarBusinessDataManager object;
        object.initialize();
        result("AddBusiMsg", {"2", "文本", "4", "4001", "", "", "false", ""});
        QVERIFY(waitForMessages(1));
        result("AddBusiMsg", {"delist", "退市", "", "", "false", ""});
        QVERIFY(waitForMessages(2));
        QCOMPARE(result("GetAllBusiMsgList", {}).toArray().size(), 2);
        QCOMPARE(result("SetBusiMsgRead", {clientIdAt(0)}), QJsonValue(true));
        QCOMPARE(result("IsBusiMsgRead", {clientIdAt(0)}), QJsonValue(true));
        QCOMPARE(result("GetUnreadBusiMsgList", {}).toArray().size(), 1);
        QCOMPARE(result("GetRemindBusiMsgList", {}).toArray().size(), 1);
        result("SetNoMoreRemindInDay", {});
        QCOMPARE(result("GetNoMoreRemindInDayFlag", {}), QJsonValue(true));
    }

    void message_kept_isThereAfterThePresenter() {
        const Client client;
        VelmarBusinessDataManager object;
        object.initialize();
        Facade::AddBusiMsg("delist", "退市", "", "", true, "");
        QVERIFY(waitForMessages(1));
        LocalPlatform::instance().close();
        QCOMPARE(Facade::GetAllBusiMsgList().size(), 1);
        QVERIFY(Facade::SetBusiMsgRead(clientIdAt(0)));
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(FacadeMessagesTest)
#include "facade_messages_test.moc"

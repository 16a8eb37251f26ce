#include <QtTest>

#include "message_flow_world.h"
#include "vocabulary/constants.h"
#include "vocabulary/names.h"

namespace {

QVariantMap switches(const QVariant& remind, const QVariant& pop) {
    QVariantMap setting;
    if (remind.isValid()) {
        setting.insert(BusiMsgCenter::RemindSwitch, remind);
    }
    if (pop.isValid()) {
        setting.insert(BusiMsgCenter::PopSwitch, pop);
    }
    return setting;
}

QVariantMap message(const QString& type, const QString& subType, const QVariant& level) {
    return {{System::clientMsgID, "1"},
            {System::BusiMsgType, type},
            {System::BusiMsgSubType, subType},
            {System::BusiMsgLevel, level},
            {BusiMsgCenter::ReadStatus, false}};
}

QString textOf(bool remind, bool pop) {
    return QStringLiteral(R"({"%1":%2,"%3":%4})")
        .arg(BusiMsgCenter::RemindSwitch, remind ? "true" : "false", BusiMsgCenter::PopSwitch,
             pop ? "true" : "false");
}

/// Whether the message is among the reminders.
bool reminds(FlowWorld& world, const QVariantMap& message) {
    world.flow.slotRecvBusiMsgPush(message, false);
    return !world.flow.GetRemindBusiMsgList().isEmpty();
}

}  // namespace

class MessageRemindersTest : public QObject {
    Q_OBJECT

private slots:
    void usersSetting_bothSwitches_areRequired_data() {
        QTest::addColumn<QVariantMap>("setting");
        QTest::addColumn<bool>("expected");
        QTest::newRow("both") << switches(true, true) << true;
        QTest::newRow("no pop-up") << switches(true, false) << false;
        QTest::newRow("no reminder") << switches(false, true) << false;
        QTest::newRow("pop-up missing") << switches(true, {}) << false;
        QTest::newRow("reminder missing") << switches({}, true) << false;
        QTest::newRow("other keys only") << QVariantMap{{"sound", 1}} << false;
    }
    void usersSetting_bothSwitches_areRequired() {
        QFETCH(QVariantMap, setting);
        QFETCH(bool, expected);
        FlowWorld world;
        world.reminders.SetBusiMsgRemindSettingInfo("4", "4001", "2", setting);
        QCOMPARE(reminds(world, message("4", "4001", "2")), expected);
        QCOMPARE(world.flow.GetUnreadBusiMsgList().size(), 1);
    }

    void message_setting_isThatOfItsKind_data() {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("subType");
        QTest::addColumn<QVariant>("level");
        QTest::addColumn<bool>("expected");
        QTest::newRow("its kind") << "4"
                                  << "4001" << QVariant("2") << false;
        QTest::newRow("level as a number") << "4"
                                           << "4001" << QVariant(2) << false;
        QTest::newRow("another level of it") << "4"
                                             << "4001" << QVariant("3") << true;
        QTest::newRow("sub-type of the whole type") << "4"
                                                    << "4002" << QVariant("3") << false;
        QTest::newRow("no sub-type") << "4"
                                     << "" << QVariant("3") << false;
        QTest::newRow("level without setting") << "4"
                                               << "4002" << QVariant("2") << true;
        QTest::newRow("type without BASE") << "5"
                                           << "5002" << QVariant("2") << true;
        QTest::newRow("type without settings") << "9"
                                               << "4001" << QVariant("2") << true;
        QTest::newRow("no type") << ""
                                 << "" << QVariant() << true;
    }
    void message_setting_isThatOfItsKind() {
        QFETCH(QString, type);
        QFETCH(QString, subType);
        QFETCH(QVariant, level);
        QFETCH(bool, expected);
        FlowWorld world;
        const QVariantMap off = switches(false, false);
        world.reminders.SetBusiMsgRemindSettingInfo("4", "4001", "2", off);
        world.reminders.SetBusiMsgRemindSettingInfo("4", "BASE", "3", off);
        world.reminders.SetBusiMsgRemindSettingInfo("5", "5001", "2", off);
        QCOMPARE(reminds(world, message(type, subType, level)), expected);
    }

    void defaults_ofTheProduct_areOverwrittenByTheUser() {
        FlowWorld world(StaticDbBuilder().section(DictionaryKey::VelmarBusiMsgDefaultSetting,
                                                  {{"4_4001_2", textOf(true, false)},
                                                   {"4_4002_2", textOf(true, true)},
                                                   {"default", textOf(false, false)}}));
        QObject owner;
        world.reminders.initBusiMsgRemindSetting(&owner);
        QVERIFY(!reminds(world, message("4", "4001", "2")));
        QVERIFY(reminds(world, message("4", "4002", "2")));
        // The catch-all is a setting to show, and decides nothing here.
        QVERIFY(reminds(world, message("9", "9001", "2")));
        world.reminders.SetBusiMsgRemindSettingInfo("4", "4001", "2", switches(true, true));
        world.reminders.SetBusiMsgRemindSettingInfo("4", "4002", "2", switches(true, false));
        QVERIFY(reminds(world, message("4", "4001", "2")));
        QVERIFY(!reminds(world, message("4", "4002", "2")));
    }

    void silencedForTheDay_noMessageReminds() {
        FlowWorld world;
        QVERIFY(reminds(world, message("4", "4001", "2")));
        world.reminders.SetNoMoreRemindInDay();
        QVERIFY(world.flow.GetRemindBusiMsgList().isEmpty());
        QCOMPARE(world.flow.GetUnreadBusiMsgList().size(), 1);
    }
};

QTEST_GUILESS_MAIN(MessageRemindersTest)
#include "message_reminders_test.moc"

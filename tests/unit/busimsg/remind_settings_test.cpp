#include "remind_settings.h"

#include <QFile>
#include <QMap>
#include <QSettings>
#include <QtTest>

#include "log_capture.h"
#include "remind_settings_fixture.h"
#include "static_db_builder.h"
#include "vocabulary/constants.h"

/// Which settings hold: the defaults of the dictionary, the user's choices and the end of
/// reminders for the day.
class RemindSettingsTest : public QObject {
    Q_OBJECT

private slots:
    void load_noFile_givesTheDefaults() {
        RemindFixture f;
        const LogCapture log;
        const auto settings = f.start();
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), kOfKind);
        // A kind that the dictionary lacks at one of its three places.
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "2", false), kCatchAll);
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1002", "3", false), kCatchAll);
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("9", "1001", "3", false), kCatchAll);
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("", "", "", false), kCatchAll);
        QVERIFY(!settings->GetNoMoreRemindInDayFlag());
        QVERIFY(!QFile::exists(f.file()));
        QCOMPARE(log.count(QtInfoMsg, "获取到消息中心设置文件" + f.file() + "，设置是否存在：1"),
                 1);
        QCOMPARE(log.count(QtDebugMsg,
                           "ZnBusinessDataManager::initBusiMsgRemindSetting "
                           R"({"sound":"bell","PopSwitch":true,"RemindSwitch":true} )"
                           "QMap((PopSwitch, QVariant(bool, true))(RemindSwitch, "
                           "QVariant(bool, true))(sound, QVariant(QString, bell)))"),
                 1);
    }

    void load_emptyDatabase_givesEmptySettings() {
        RemindFixture f{StaticDbBuilder()};
        const auto settings = f.start();
        QVERIFY(settings->GetBusiMsgRemindSettingInfo("1", "1001", "3", false).isEmpty());
        QVERIFY(settings->popUpTree().isEmpty());
        QVERIFY(settings->typeDictEntry("Net").isEmpty());
    }

    void load_defaultKeys_needThreePartsAndIgnoreMore() {
        RemindFixture f(dictionary({{"_2__2001_1_extra_", R"({"sound":"extra"})"},
                                    {"2_2002", R"({"sound":"two parts"})"},
                                    {"default_x_y", R"({"sound":"a type named default"})"}}));
        const LogCapture log;
        const auto settings = f.start();
        const auto soundOf = [&settings](const char* type, const char* subType, const char* level) {
            return settings->GetBusiMsgRemindSettingInfo(type, subType, level, false)
                .value("sound")
                .toString();
        };
        QCOMPARE(soundOf("2", "2001", "1"), QString("extra"));
        QCOMPARE(soundOf("default", "x", "y"), QString("a type named default"));
        QCOMPARE(soundOf("2", "2002", ""), QString("none"));
        QCOMPARE(log.texts(QtWarningMsg).filter("2_2002").size(), 1);
    }

    void load_defaultThatIsNotARecord_isEmptyAndLogsAWarning() {
        RemindFixture f(dictionary({{"2_2001_1", "{broken"}}));
        const LogCapture log;
        const auto settings = f.start();
        QVERIFY(settings->GetBusiMsgRemindSettingInfo("2", "2001", "1", false).isEmpty());
        QCOMPARE(settings->popUpTree().value("2").value("2001").value("1", true), false);
        QCOMPARE(log.texts(QtWarningMsg).filter("2_2001_1").size(), 1);
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), kOfKind);
    }

    void load_typeDictionary_needsThreeParts() {
        RemindFixture f(StaticDbBuilder().section(
            DictionaryKey::VelmarBusiMsgTypeDict,
            {{"Net", "1|1001|3"}, {"More", "1|1002|1|x"}, {"Short", "1|1001"}, {"Gap", "1||3"}}));
        const LogCapture log;
        const auto settings = f.start();
        QCOMPARE(settings->typeDictEntry("Net"), (QStringList{"1", "1001", "3"}));
        QCOMPARE(settings->typeDictEntry("More"), (QStringList{"1", "1002", "1", "x"}));
        QVERIFY(settings->typeDictEntry("Short").isEmpty());
        QVERIFY(settings->typeDictEntry("Gap").isEmpty());
        QVERIFY(settings->typeDictEntry("unknown").isEmpty());
        QCOMPARE(log.texts(QtWarningMsg).filter("Short").size(), 1);
        QCOMPARE(log.texts(QtWarningMsg).filter("Gap").size(), 1);
    }

    void ignoreDate_today_endsReminders_data() {
        QTest::addColumn<QString>("date");
        QTest::addColumn<bool>("ended");
        QTest::newRow("today") << "20260310" << true;
        QTest::newRow("yesterday") << "20260309" << false;
        QTest::newRow("tomorrow") << "20260311" << false;
        QTest::newRow("no date") << "soon" << false;
        QTest::newRow("empty") << "" << false;
    }
    void ignoreDate_today_endsReminders() {
        QFETCH(QString, date);
        QFETCH(bool, ended);
        RemindFixture f;
        f.write({{"IgnoreDate", date}});
        const LogCapture log;
        QCOMPARE(f.start()->GetNoMoreRemindInDayFlag(), ended);
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
    }

    void ignoreDate_keyThatContainsTheName_counts() {
        RemindFixture f;
        f.write({{"other/LastIgnoreDate", "20260310"}});
        QVERIFY(f.start()->GetNoMoreRemindInDayFlag());
    }

    void ignoreDate_twoKeysThatContainTheName_theLastOneDecides_data() {
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("last");
        QTest::addColumn<bool>("ended");
        QTest::newRow("first today") << "20260310"
                                     << "20260309" << false;
        QTest::newRow("last today") << "20260309"
                                    << "20260310" << true;
    }
    void ignoreDate_twoKeysThatContainTheName_theLastOneDecides() {
        QFETCH(QString, first);
        QFETCH(QString, last);
        QFETCH(bool, ended);
        RemindFixture f;
        f.write({{"IgnoreDate", first}, {"other/LastIgnoreDate", last}});
        QCOMPARE(f.start()->GetNoMoreRemindInDayFlag(), ended);
    }

    void noMoreRemind_holdsUntilAStartOnAnotherDate() {
        RemindFixture f;
        const auto settings = f.start();
        settings->SetNoMoreRemindInDay();
        QVERIFY(settings->GetNoMoreRemindInDayFlag());
        const QSettings file(f.file(), QSettings::IniFormat);
        QCOMPARE(file.value("IgnoreDate").toString(), QString("20260310"));
        QVERIFY(file.childGroups().isEmpty());
        QVERIFY(f.start()->GetNoMoreRemindInDayFlag());
        f.clock.m_now = QDateTime(QDate(2026, 3, 10), QTime(23, 59, 59));
        QVERIFY(f.start()->GetNoMoreRemindInDayFlag());
        f.clock.m_now = QDateTime(QDate(2026, 3, 11), QTime(0, 0));
        QVERIFY(!f.start()->GetNoMoreRemindInDayFlag());
        // No timer ends it during a run.
        QVERIFY(settings->GetNoMoreRemindInDayFlag());
    }

    void noMoreRemind_afterASettingWasStored_isInTheGeneralGroup() {
        RemindFixture f;
        const auto settings = f.start();
        settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", kChoice);
        settings->SetNoMoreRemindInDay();
        const QSettings file(f.file(), QSettings::IniFormat);
        QCOMPARE(file.allKeys(), (QStringList{"1/1001_3", "IgnoreDate"}));
    }

    void effective_noMoreRemind_turnsPopSwitchOffInTheResultOnly() {
        RemindFixture f;
        const auto settings = f.start();
        settings->SetBusiMsgRemindSettingInfo("2", "2001", "1", {{"sound", "x"}});
        const auto popOf = [&settings](const char* type, const char* subType, const char* level,
                                       bool apply) {
            return settings->GetBusiMsgRemindSettingInfo(type, subType, level, apply).value(kPop);
        };
        QCOMPARE(popOf("1", "1001", "3", true), QVariant(true));
        QCOMPARE(popOf("2", "2001", "1", true), QVariant(false));  // created
        QCOMPARE(popOf("2", "2001", "1", false), QVariant());
        settings->SetNoMoreRemindInDay();
        QCOMPARE(popOf("1", "1001", "3", false), QVariant(true));
        QCOMPARE(popOf("1", "1001", "3", true), QVariant(false));
        QCOMPARE(popOf("1", "1001", "3", false), QVariant(true));
        QCOMPARE(settings->popUpTree().value("1").value("1001").value("3"), true);
    }

    void effective_popSwitchOfAnotherType_isConverted() {
        RemindFixture f;
        const auto settings = f.start();
        settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", {{kPop, "true"}, {kRemind, 1}});
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "3", true).value(kPop),
                 QVariant(true));
        QCOMPARE(settings->popUpTree().value("1").value("1001").value("3"), true);
        settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", {{kPop, "0"}, {kRemind, 1}});
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "3", true).value(kPop),
                 QVariant(false));
        QCOMPARE(settings->popUpTree().value("1").value("1001").value("3"), false);
    }

    void effective_subTypeWithoutTheLevel_fallsToTheDefaultsAndNotToTheType() {
        RemindFixture f;
        const auto settings = f.start();
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "BASE", "2", kChoice));
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "2", false), kChoice);
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", kChoice));
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "2", false), kCatchAll);
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1002", "2", false), kChoice);
    }

    void effective_defaultForTheType_countsForThatKindOnly() {
        RemindFixture f(dictionary({{"1_BASE_3", R"({"sound":"type"})"}}));
        const auto settings = f.start();
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1009", "3", false), kCatchAll);
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "BASE", "3", false),
                 (QVariantMap{{"sound", "type"}}));
    }

    void popUps_needBothSwitches_andTheUserOverridesTheDefaults() {
        RemindFixture f(dictionary({{"2_2001_1", R"({"RemindSwitch":true})"},
                                    {"2_2001_2", R"({"PopSwitch":true})"},
                                    {"2_2001_3", R"({"PopSwitch":"true","RemindSwitch":1})"}}));
        const auto settings = f.start();
        settings->SetBusiMsgRemindSettingInfo("1", "", "3", kChoice);
        settings->SetBusiMsgRemindSettingInfo("5", "5001", "1", kOfKind);
        const QMap<QString, QMap<QString, QMap<QString, bool>>> expected{
            {"1", {{"1001", {{"3", false}}}, {"1002", {{"3", false}}}, {"BASE", {{"3", false}}}}},
            {"2", {{"2001", {{"1", false}, {"2", false}, {"3", true}}}}},
            {"5", {{"5001", {{"1", true}}}}}};
        QCOMPARE(settings->popUpTree(), expected);
        QCOMPARE(f.start()->popUpTree(), expected);
    }
};

QTEST_GUILESS_MAIN(RemindSettingsTest)
#include "remind_settings_test.moc"

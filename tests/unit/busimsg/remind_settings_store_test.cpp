#include <QFile>
#include <QPoint>
#include <QSettings>
#include <QtTest>
#include <atomic>
#include <thread>
#include <vector>

#include "log_capture.h"
#include "remind_settings.h"
#include "remind_settings_fixture.h"

namespace {

/// A record that contains itself until `levels` records are inside each other.
QVariantMap nestedSetting(int levels) {
    QVariantMap setting{{"sound", "deep"}};
    for (int level = 1; level < levels; ++level) {
        setting = {{"a", setting}};
    }
    return setting;
}

}  // namespace

/// What the user chooses holds at once and at the next start.
class RemindSettingsStoreTest : public QObject {
    Q_OBJECT

private slots:
    void store_kind_isReadBackAndSurvivesAStart() {
        RemindFixture f;
        const auto settings = f.start();
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", kChoice));
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), kChoice);
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "2", false), kCatchAll);
        const QSettings file(f.file(), QSettings::IniFormat);
        QCOMPARE(file.value("1/1001_3").toString(),
                 QString(R"({"PopSwitch":true,"RemindSwitch":false,"sound":"gong"})"));
        QCOMPARE(file.allKeys(), QStringList{"1/1001_3"});
        QCOMPARE(f.start()->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), kChoice);
    }

    void store_emptySubType_reachesAllSubTypesOfTheType() {
        RemindFixture f;
        const auto settings = f.start();
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", {{"sound", "before"}}));
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "", "3", kChoice));
        const QSettings file(f.file(), QSettings::IniFormat);
        QCOMPARE(file.allKeys(), (QStringList{"1/1001_3", "1/1002_3", "1/BASE_3"}));
        for (const auto* one : {settings.get(), f.start().release()}) {
            // "1009" is in no table: found through the type.
            for (const char* subType : {"1001", "1002", "BASE", "1009", ""}) {
                QCOMPARE(one->GetBusiMsgRemindSettingInfo("1", subType, "3", false), kChoice);
            }
            // Another level of a listed sub-type falls to the defaults, not to the type.
            QCOMPARE(one->GetBusiMsgRemindSettingInfo("1", "1001", "2", false), kCatchAll);
            QCOMPARE(one->GetBusiMsgRemindSettingInfo("10", "1001", "3", false), kCatchAll);
            if (one != settings.get()) {
                delete one;
            }
        }
    }

    void store_emptySubTypeOfATypeWithoutSubTypes_isForTheTypeAsAWhole() {
        RemindFixture f;
        const auto settings = f.start();
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("2", "", "1", kChoice));
        QCOMPARE(QSettings(f.file(), QSettings::IniFormat).allKeys(), QStringList{"2/BASE_1"});
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("2", "2001", "1", false), kChoice);
    }

    void store_typePrefixOfAnother_sharesItsSubTypes() {
        RemindFixture f;
        const auto settings = f.start();
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("10", "", "1", kChoice));
        QCOMPARE(QSettings(f.file(), QSettings::IniFormat).allKeys(),
                 (QStringList{"10/1001_1", "10/1002_1", "10/BASE_1"}));
    }

    void store_emptySubTypeOfAnUnknownType_storesNothingAndLogsAWarning() {
        RemindFixture f;
        const auto settings = f.start();
        const LogCapture log;
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("unknown", "", "3", kChoice));
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
        QVERIFY(log.contains(QtWarningMsg, "unknown"));
        QVERIFY(!QFile::exists(f.file()));
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("unknown", "", "3", false), kCatchAll);
        QVERIFY(!settings->popUpTree().contains("unknown"));
        // With a sub-type it is stored.
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("unknown", "x", "3", kChoice));
        QCOMPARE(f.start()->GetBusiMsgRemindSettingInfo("unknown", "x", "3", false), kChoice);
    }

    void store_emptyTypeOrLevel_isFalseAndChangesNothing() {
        RemindFixture f;
        const auto settings = f.start();
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", kChoice));
        const QByteArray before = f.bytes();
        QVERIFY(!before.isEmpty());
        QVERIFY(!settings->SetBusiMsgRemindSettingInfo("1", "1001", "", {{"sound", "x"}}));
        QVERIFY(!settings->SetBusiMsgRemindSettingInfo("", "1001", "3", {{"sound", "x"}}));
        QVERIFY(!settings->SetBusiMsgRemindSettingInfo("", "", "", {}));
        QCOMPARE(f.bytes(), before);
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), kChoice);
    }

    void store_emptySetting_leavesTheDefault() {
        RemindFixture f;
        const auto settings = f.start();
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", kChoice));
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", {}));
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), kOfKind);
        QCOMPARE(QSettings(f.file(), QSettings::IniFormat).value("1/1001_3").toString(),
                 QString("{}"));
        QCOMPARE(f.start()->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), kOfKind);
        // The kind pops up by its default again.
        QCOMPARE(settings->popUpTree().value("1").value("1001").value("3"), true);
        QCOMPARE(settings->popUpTree(), f.start()->popUpTree());
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("7", "7001", "1", {}));
        QVERIFY(!settings->popUpTree().contains("7"));
    }

    void store_emptySettingBelowAChoiceForTheType_leavesThatChoice() {
        RemindFixture f;
        const auto settings = f.start();
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "", "3", kChoice));
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", {}));
        const auto next = f.start();
        for (const RemindSettings* one : {settings.get(), next.get()}) {
            QCOMPARE(one->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), kChoice);
            QCOMPARE(one->GetBusiMsgRemindSettingInfo("1", "1002", "3", false), kChoice);
        }
        QCOMPARE(settings->popUpTree(), next->popUpTree());
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "", "3", {}));
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1009", "3", false), kCatchAll);
        QCOMPARE(settings->popUpTree(), RemindFixture(dictionary()).start()->popUpTree());
    }

    void store_emptySetting_leavesTheOtherLevels() {
        RemindFixture f;
        const auto settings = f.start();
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "1001", "2", kChoice));
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", kChoice));
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", {}));
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "2", false), kChoice);
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), kOfKind);
    }

    void store_valuesOfAnyForm_areReadBackAtTheNextStart_data() {
        QTest::addColumn<QVariantMap>("setting");
        QTest::newRow("Chinese") << QVariantMap{{"提示音", "铜锣，“当”；100%=\\ \"x\""}};
        QTest::newRow("emoji") << QVariantMap{{"😀", "𠮷野家🔔"}};
        QTest::newRow("nested") << QVariantMap{
            {"window",
             QVariantMap{{"size", QVariantList{800, 600.5, true}}, {"empty", QVariantMap()}}}};
        QTest::newRow("lines") << QVariantMap{{"text", "a\r\nb\tc"}};
        QTest::newRow("1 MB") << QVariantMap{{"text", QString(1024 * 1024, QChar(0x6d88))}};
        QTest::newRow("1,024 levels") << nestedSetting(1024);
    }
    void store_valuesOfAnyForm_areReadBackAtTheNextStart() {
        QFETCH(QVariantMap, setting);
        RemindFixture f;
        const auto settings = f.start();
        const LogCapture log;
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", setting));
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), setting);
        QCOMPARE(f.start()->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), setting);
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
    }

    void store_valuesThatJsonDoesNotHave_holdForTheRunAndLogAWarning_data() {
        QTest::addColumn<QVariantMap>("setting");
        QTest::addColumn<QString>("warning");
        QTest::newRow("a point") << QVariantMap{{"at", QPoint(1, 2)}}
                                 << "are not read back as they are";
        QTest::newRow("not finite")
            << QVariantMap{{"volume", qInf()}} << "are not read back as they are";
        QTest::newRow("1,025 levels") << nestedSetting(1025) << "nests too deeply";
    }
    void store_valuesThatJsonDoesNotHave_holdForTheRunAndLogAWarning() {
        QFETCH(QVariantMap, setting);
        QFETCH(QString, warning);
        RemindFixture f;
        const auto settings = f.start();
        const LogCapture log;
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", setting));
        const QStringList warnings = log.texts(QtWarningMsg);
        QCOMPARE(warnings.size(), 1);
        QVERIFY2(warnings.first().contains(warning), qPrintable(warnings.first()));
        QVERIFY2(warnings.first().contains("1/1001_3"), qPrintable(warnings.first()));
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), setting);
        QVERIFY(f.start()->GetBusiMsgRemindSettingInfo("1", "1001", "3", false) != setting);
    }

    void store_namesWithMarks_areReadBackAtTheNextStart_data() {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QString>("subType");
        QTest::addColumn<QString>("level");
        QTest::newRow("percent") << "1%"
                                 << "%2F"
                                 << "50%_%";
        QTest::newRow("slash") << "a/b"
                               << "/c/"
                               << "d//e";
        QTest::newRow("backslash") << "a\\b"
                                   << "c\\"
                                   << "\\";
        QTest::newRow("underscore") << "a_b"
                                    << "_c__d_"
                                    << "_";
        QTest::newRow("Chinese and emoji") << "系统消息"
                                           << "网络，连接"
                                           << "紧急😀";
        QTest::newRow("spaces and quotes") << " a b "
                                           << "\"c;\""
                                           << "=[d]";
        QTest::newRow("the file's own group") << "General"
                                              << "general"
                                              << "General";
        QTest::newRow("the same in small letters") << "general"
                                                   << "x"
                                                   << "y";
        QTest::newRow("control characters") << "a\nb" << QString::fromLatin1("c\0d", 3) << "\t";
        QTest::newRow("a long name") << QString(2000, 'x') << QString(2000, 'y') << "1";
    }
    void store_namesWithMarks_areReadBackAtTheNextStart() {
        QFETCH(QString, type);
        QFETCH(QString, subType);
        QFETCH(QString, level);
        RemindFixture f;
        const auto settings = f.start();
        const LogCapture log;
        QVERIFY(settings->SetBusiMsgRemindSettingInfo(type, subType, level, kChoice));
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", kChoice));
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo(type, subType, level, false), kChoice);
        const auto next = f.start();
        QCOMPARE(next->GetBusiMsgRemindSettingInfo(type, subType, level, false), kChoice);
        QCOMPARE(next->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), kChoice);
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
    }

    void threads_storeAndRead_losesNothing() {
        RemindFixture f;
        const auto settings = f.start();
        std::vector<std::thread> threads;
        constexpr int kThreads = 4;
        constexpr int kLevels = 10;
        std::atomic<int> wrong{0};
        threads.reserve(kThreads);
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&, type = QString::number(100 + i)] {
                for (int n = 1; n <= kLevels; ++n) {
                    const QString level = QString::number(n);
                    settings->SetBusiMsgRemindSettingInfo(type, "x", level, kChoice);
                    settings->SetNoMoreRemindInDay();
                    wrong +=
                        settings->GetBusiMsgRemindSettingInfo(type, "x", level, false) == kChoice
                            ? 0
                            : 1;
                    wrong += settings->popUpTree().value(type).value("x").size() == n ? 0 : 1;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(wrong, 0);
        const auto next = f.start();
        QVERIFY(next->GetNoMoreRemindInDayFlag());
        for (int i = 0; i < kThreads; ++i) {
            QCOMPARE(next->popUpTree().value(QString::number(100 + i)).value("x").size(), kLevels);
        }
    }
};

QTEST_GUILESS_MAIN(RemindSettingsStoreTest)
#include "remind_settings_store_test.moc"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtTest>

#include "log_capture.h"
#include "remind_settings.h"
#include "remind_settings_fixture.h"

/// The settings' file: where it is, how it is read, and what happens if it cannot be used.
class RemindSettingsFileTest : public QObject {
    Q_OBJECT

private slots:
    void load_file_readsItsSettings() {
        RemindFixture f;
        f.write({{"1/1001_3", R"({"sound":"one, two"})"},
                 {"类/子%_级", R"({"sound":"中文"})"},
                 {"1/_1002__2_more", R"({"sound":"further parts"})"},
                 {"1/1002_3/deeper", R"({"sound":"further groups"})"},
                 {"1/1003_1", "{}"}});
        const LogCapture log;
        const auto settings = f.start();
        const auto soundOf = [&settings](const QString& type, const QString& subType,
                                         const QString& level) {
            return settings->GetBusiMsgRemindSettingInfo(type, subType, level, false)
                .value("sound")
                .toString();
        };
        QCOMPARE(soundOf("1", "1001", "3"), QString("one, two"));
        QCOMPARE(soundOf("类", "子%", "级"), QString("中文"));
        QCOMPARE(soundOf("1", "1002", "2"), QString("further parts"));
        QCOMPARE(soundOf("1", "1002", "3"), QString("further groups"));
        QCOMPARE(soundOf("1", "1003", "1"), QString("none"));
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
    }

    void load_badEntry_isLoggedAndTheRestIsRead_data() {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
        QTest::newRow("broken JSON") << "1/1001_3"
                                     << R"({"sound":)";
        QTest::newRow("not JSON") << "1/1001_3"
                                  << "loud";
        QTest::newRow("empty") << "1/1001_3"
                               << "";
        QTest::newRow("a list") << "1/1001_3"
                                << "[1,2]";
        QTest::newRow("1,024 levels") << "1/1001_3" << QString(1024, '[') + QString(1024, ']');
        QTest::newRow("2,000 levels")
            << "1/1001_3" << QString(R"({"a":)").repeated(2000) + "1" + QString(2000, '}');
        QTest::newRow("key without group") << "foreign"
                                           << R"({"sound":"x"})";
        QTest::newRow("key without level") << "1/1001"
                                           << R"({"sound":"x"})";
        QTest::newRow("empty parts") << "1/__1001__"
                                     << R"({"sound":"x"})";
        QTest::newRow("group General") << "General/1001_3"
                                       << R"({"sound":"x"})";
    }
    void load_badEntry_isLoggedAndTheRestIsRead() {
        QFETCH(QString, key);
        QFETCH(QString, value);
        RemindFixture f;
        f.write({{key, value}, {"2/BASE_1", R"({"sound":"good"})"}});
        const LogCapture log;
        const auto settings = f.start();
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), kOfKind);
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("2", "x", "1", false),
                 (QVariantMap{{"sound", "good"}}));
        const QStringList lines = log.texts(QtDebugMsg).filter("reminder settings: ");
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.first().contains(key), qPrintable(lines.first()));
        QVERIFY(log.texts(QtWarningMsg).isEmpty());
    }

    void load_damagedFile_isLoggedAndReadAsFarAsPossible() {
        RemindFixture f;
        f.writeBytes("[1]\n1001_3=\"{\\\"sound\\\":\\\"kept\\\"}\"\n[open\nx\n\0\xff\xfe\n");
        const LogCapture log;
        const auto settings = f.start();
        QVERIFY(log.contains(QtWarningMsg, f.file()));
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "3", false),
                 (QVariantMap{{"sound", "kept"}}));
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("2", "x", "1", kChoice));
        QCOMPARE(f.start()->GetBusiMsgRemindSettingInfo("2", "x", "1", false), kChoice);
    }

    void file_isBelowTheApplicationFolder_inAFolderPerLogin() {
        RemindFixture f;
        QVERIFY(!QFileInfo::exists(f.folder()));
        QVERIFY(f.start()->SetBusiMsgRemindSettingInfo("1", "1001", "3", kChoice));
        QVERIFY(QFileInfo(f.folder() + "/work/tester/busiMsgSetting.ini").isFile());
    }

    void file_withoutLogin_isInTheWorkFolderAndLogsAWarning() {
        RemindFixture f(dictionary(), false);
        const LogCapture log;
        const auto settings = f.start();
        const QString file = f.folder() + "/work/busiMsgSetting.ini";
        QCOMPARE(log.texts(QtWarningMsg).filter(file).size(), 1);
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", kChoice));
        QVERIFY(QFileInfo(file).isFile());
    }

    void file_cannotBeWritten_isOneWarningAndTheChoicesHold_data() {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("blockingFile");
        QTest::newRow("a folder in place of the file")
            << "application/work/tester/busiMsgSetting.ini"
            << "";
        QTest::newRow("a file in place of the login's folder") << "application/work"
                                                               << "application/work/tester";
        QTest::newRow("a file in place of the work folder") << "application"
                                                            << "application/work";
    }
    void file_cannotBeWritten_isOneWarningAndTheChoicesHold() {
        QFETCH(QString, folder);
        QFETCH(QString, blockingFile);
        RemindFixture f;
        QVERIFY(QDir(f.world.homeDir()).mkpath(folder));
        if (!blockingFile.isEmpty()) {
            QFile file(f.world.homeDir() + '/' + blockingFile);
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        const auto settings = f.start();
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), kOfKind);
        const LogCapture log;
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "1001", "3", kChoice));
        QVERIFY(settings->SetBusiMsgRemindSettingInfo("1", "", "2", kChoice));
        settings->SetNoMoreRemindInDay();
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), kChoice);
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1002", "2", false), kChoice);
        QVERIFY(settings->GetNoMoreRemindInDayFlag());
        QCOMPARE(log.texts(QtWarningMsg).size(), 1);
        QVERIFY(log.contains(QtWarningMsg, "not written to"));
    }

    void file_folderInItsPlace_isLoggedAtTheStart() {
        RemindFixture f;
        QVERIFY(QDir().mkpath(f.file()));
        const LogCapture log;
        const auto settings = f.start();
        QCOMPARE(log.texts(QtWarningMsg).filter(f.file()).size(), 1);
        QCOMPARE(settings->GetBusiMsgRemindSettingInfo("1", "1001", "3", false), kOfKind);
    }
};

QTEST_GUILESS_MAIN(RemindSettingsFileTest)
#include "remind_settings_file_test.moc"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QtTest>
#include <thread>
#include <vector>

#include "local_platform.h"
#include "log_capture.h"
#include "temp_home.h"
#include "zncore/zn_core.h"

class SettingsTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_home = std::make_unique<TempHome>();
        QVERIFY(LocalPlatform::instance().start(m_home->options(), nullptr));
    }

    void absentKey_isAnInvalidValue() {
        QVERIFY(!core().settings("nothing").isValid());
        QVERIFY(!core().settings(QString()).isValid());
    }

    void savedValue_isReadBack_data() {
        QTest::addColumn<QVariant>("value");
        QTest::newRow("text with a comma") << QVariant("a,b;c=d");
        QTest::newRow("text in another script") << QVariant(QString::fromUtf8("保存当前账号"));
        QTest::newRow("number") << QVariant(12);
        QTest::newRow("truth") << QVariant(true);
        QTest::newRow("list") << QVariant(QStringList{"a", "b,c"});
        QTest::newRow("record") << QVariant(QVariantMap{{"a", 1}, {"b", QVariantMap{{"c", "d"}}}});
        QTest::newRow("empty text") << QVariant(QString(""));
    }

    void savedValue_isReadBack() {
        QFETCH(QVariant, value);
        core().saveSetting("key", value);
        QCOMPARE(core().settings("key"), value);
        // The next run of the client knows the text alone, which must turn back into the value.
        QVERIFY(LocalPlatform::instance().start(m_home->options(), nullptr));
        QVariant read = core().settings("key");
        QVERIFY(read.convert(value.userType()));
        QCOMPARE(read, value);
    }

    void write_isInTheFileWhenItReturns() {
        core().saveSetting("group/key", "v1");
        QFile file(m_home->filePath("settings/client.ini"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray content = file.readAll();
        QVERIFY2(content.contains("[group]") && content.contains("key=v1"), content);
    }

    void file_isUtf8() {
        core().saveSetting("name", QString::fromUtf8("账号"));
        QSettings other(m_home->filePath("settings/client.ini"), QSettings::IniFormat);
        other.setIniCodec("UTF-8");
        QCOMPARE(other.value("name").toString(), QString::fromUtf8("账号"));
    }

    void group_isTheFirstPartOfTheKey() {
        core().saveSetting("key", 1, "group");
        QCOMPARE(core().settings("group/key").toInt(), 1);
        QCOMPARE(core().settings("key", "group").toInt(), 1);
        QVERIFY(!core().settings("key").isValid());
    }

    void fileAndScope_makeNoDifferenceAndAreTold() {
        const LogCapture log;
        core().saveSetting("key", "value", QString(), "other.ini", QSettings::SystemScope);
        QCOMPARE(core().settings("key").toString(), QString("value"));
        QVERIFY(log.contains(QtDebugMsg, "other.ini"));
    }

    void otherHome_holdsOtherSettings() {
        core().saveSetting("key", 1);
        const TempHome other;
        QVERIFY(LocalPlatform::instance().start(other.options(), nullptr));
        QVERIFY(!core().settings("key").isValid());
        QVERIFY(LocalPlatform::instance().start(m_home->options(), nullptr));
        QCOMPARE(core().settings("key").toInt(), 1);
    }

    void settingsFileThatCannotBeUsed_failsToOpenWithItsName() {
        const TempHome other;
        QVERIFY(QDir().mkpath(other.filePath("settings/client.ini")));
        QString error;
        QVERIFY(!LocalPlatform::instance().start(other.options(), &error));
        QVERIFY2(error.contains(other.filePath("settings/client.ini")), qPrintable(error));
        // Nothing is open now: a write is dropped, and told.
        const LogCapture log;
        core().saveSetting("key", 1);
        QVERIFY(log.contains(QtWarningMsg, "no file is open"));
        QVERIFY(!core().settings("key").isValid());
    }

    void homeThatIsAFile_failsToOpenWithItsName() {
        QFile file(m_home->filePath("taken"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        LocalPlatform::Options options;
        options.homeDir = file.fileName();
        QString error;
        QVERIFY(!LocalPlatform::instance().start(options, &error));
        QVERIFY2(error.contains(file.fileName()), qPrintable(error));
    }

    void writeThatFails_isTold() {
        core().saveSetting("key", 1);
        QVERIFY(QDir(m_home->filePath("settings")).removeRecursively());
        QFile blocker(m_home->filePath("settings"));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        const LogCapture log;
        core().saveSetting("key", 2);
        QVERIFY(log.contains(QtWarningMsg, "is not in the file"));
    }

    void manyThreads_loseNoWrite() {
        constexpr int kThreads = 4;
        constexpr int kKeys = 25;
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([t]() {
                for (int k = 0; k < kKeys; ++k) {
                    core().saveSetting(QStringLiteral("t%1/k%2").arg(t).arg(k), k);
                    core().settings(QStringLiteral("t0/k0"));
                }
            });
        }
        // QSettings' own late write takes part through this thread's event loop.
        QCoreApplication::processEvents();
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCoreApplication::processEvents();
        QVERIFY(LocalPlatform::instance().start(m_home->options(), nullptr));
        for (int t = 0; t < kThreads; ++t) {
            for (int k = 0; k < kKeys; ++k) {
                QCOMPARE(core().settings(QStringLiteral("t%1/k%2").arg(t).arg(k)).toInt(), k);
            }
        }
    }

    void board_holdsValuesUntilThePlatformOpensAnew() {
        QVERIFY(!core().getCommonInfo("key").isValid());
        core().setCommonInfo("key", QVariantMap{{"a", 1}});
        QCOMPARE(core().getCommonInfo("key").toMap().value("a").toInt(), 1);
        core().setCommonInfo("key", 2);
        QCOMPARE(core().getCommonInfo("key"), QVariant(2));
        QVERIFY(LocalPlatform::instance().start(m_home->options(), nullptr));
        QVERIFY(!core().getCommonInfo("key").isValid());
    }

    void board_isSharedByThreads() {
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([t]() {
                for (int i = 0; i < 200; ++i) {
                    core().setCommonInfo(QStringLiteral("k%1").arg(i), t);
                    core().getCommonInfo(QStringLiteral("k%1").arg(199 - i));
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        for (int i = 0; i < 200; ++i) {
            QVERIFY(core().getCommonInfo(QStringLiteral("k%1").arg(i)).isValid());
        }
    }

    void coreMadeOnAnotherThread_livesOnTheApplications() {
        QCOMPARE(core().thread(), QCoreApplication::instance()->thread());
    }

    void initTestCase() {
        // The first use of the core, so this thread makes it.
        std::thread([]() { ZnCore::instance(); }).join();
    }

private:
    static ZnCore& core() { return *ZnCore::instance(); }

    std::unique_ptr<TempHome> m_home;
};

QTEST_GUILESS_MAIN(SettingsTest)
#include "settings_test.moc"

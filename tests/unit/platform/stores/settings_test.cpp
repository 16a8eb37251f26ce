#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTextCodec>
#include <QTextStream>
#include <QtTest>
#include <thread>
#include <vector>

#include "child_process.h"
#include "local_platform.h"
#include "log_capture.h"
#include "settings_codec.h"
#include "small_market.h"
#include "static_db_builder.h"
#include "temp_home.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "znbasebusinessdatamgr/zn_system_setting_data_mgr.h"
#include "zncore/zn_core.h"

namespace {

inline const QString kReadSettings = QStringLiteral("read-settings");

/// As hexadecimal digits, which no console changes.
QString hexOf(const QString& text) {
    return QString::fromLatin1(text.toUtf8().toHex());
}

/// What a process of its own runs: prints the settings of the keys in a home folder, lists joined
/// with "|".
int readSettings(const QStringList& arguments) {
    LocalPlatform::Options options;
    options.homeDir = arguments.value(0);
    if (!LocalPlatform::instance().start(options, nullptr)) {
        return 1;
    }
    for (const QString& key : arguments.mid(1)) {
        const QVariant value = ZnCore::instance()->settings(key);
        QTextStream(stdout) << hexOf(value.toStringList().join('|')) << '\n';
    }
    return 0;
}

}  // namespace

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

    void savedText_anyCharacters_isReadByTheNextProcess_data() {
        QTest::addColumn<QString>("text");
        QTest::newRow("beyond the basic plane") << QString::fromUtf8("𠮷野家基金");
        QTest::newRow("only beyond it") << QString::fromUtf8("𠮷𠀀😀");
        QTest::newRow("at the end") << QString::fromUtf8("基金𠮷");
        QTest::newRow("beside what is escaped") << QString::fromUtf8("\"𠮷\\𠮷\n;𠮷,=");
        QTest::newRow("basic plane") << QString::fromUtf8("基金 a é");
    }

    void savedText_anyCharacters_isReadByTheNextProcess() {
        QFETCH(QString, text);
        core().saveSetting("group/key", text);
        core().saveSetting("list", QStringList{text, "a", text});
        const ChildResult child = readInAnotherProcess({"group/key", "list"});
        QVERIFY2(child.succeeded(), qPrintable(child.output));
        QCOMPARE(child.output, hexOf(text) + '\n' + hexOf(text + "|a|" + text) + '\n');
    }

    void savedText_halfACharacter_isLeftOut() {
        const QString text = QString::fromUtf8("𠮷");
        core().saveSetting("key", QString(QString("a") + text.at(0) + "b" + text.at(1) + "c"));
        core().saveSetting("next", QString(text.at(1) + QString("d") + text.at(0)));
        core().saveSetting("last", QString(text.at(1) + QString("e")));
        const ChildResult child = readInAnotherProcess({"key", "next", "last"});
        QVERIFY2(child.succeeded(), qPrintable(child.output));
        QCOMPARE(child.output, QString("%1\n%2\n%3\n").arg(hexOf("abc"), hexOf("d"), hexOf("e")));
    }

    void savedText_ofTwoThreads_keepsEachOnesCharacters() {
        // Two files, each with its lock: their writers meet in the codec.
        const QString text = QString::fromUtf8("𠮷").repeated(50);
        const TempHome other;
        const QString otherFile = other.filePath("other.ini");
        std::thread writer([&otherFile, &text]() {
            QSettings settings(otherFile, QSettings::IniFormat);
            settings.setIniCodec(settingsCodec());
            for (int i = 0; i < 50; ++i) {
                settings.setValue(QStringLiteral("k%1").arg(i), text);
                settings.sync();
            }
        });
        for (int i = 0; i < 50; ++i) {
            core().saveSetting(QStringLiteral("k%1").arg(i), text);
        }
        writer.join();
        for (const QString& file : {otherFile, m_home->filePath("settings/client.ini")}) {
            QFile content(file);
            QVERIFY(content.open(QIODevice::ReadOnly));
            QCOMPARE(content.readAll().count(text.toUtf8()), 50);
        }
    }

    void systemSetting_isReadUntilTheUserSavesAnother() {
        const QString name = SystemSetting::SysMultiTimeOutCount;
        const QString file = m_home->filePath("static.sqlite");
        StaticDbBuilder()
            .reference("setting", name, {{System::itemName, name}, {System::itemValue, "5"}})
            .write(file);
        QVERIFY(LocalPlatform::instance().start(m_home->options(file), nullptr));
        QVERIFY(ZnSystemSettingDataMgr::instance().init());
        QCOMPARE(core().settings(name).toInt(), 5);
        QVERIFY(!core().settings("another").isValid());
        QVERIFY(!core().settings(name, "group").isValid());
        core().saveSetting(name, 7);
        QCOMPARE(core().settings(name).toInt(), 7);
        // A saved empty text is the user's choice too.
        core().saveSetting(name, QString(""));
        QCOMPARE(core().settings(name), QVariant(QString("")));
        // Without the static database the setting is absent again.
        const TempHome other;
        QVERIFY(LocalPlatform::instance().start(other.options(), nullptr));
        QVERIFY(!core().settings(name).isValid());
    }

    void systemSettingsOfTheSampleMarket_areRead() {
        const TempHome market;
        QString error;
        QVERIFY2(makeSampleMarket(market.path(), smallMarket(), {}, &error), qPrintable(error));
        QVERIFY(LocalPlatform::instance().start(m_home->options(staticDatabaseFile(market.path())),
                                                nullptr));
        QVERIFY(ZnSystemSettingDataMgr::instance().init());
        QCOMPARE(core().settings(SystemSetting::SysMultiTimeOutCount).toInt(), 5);
        QCOMPARE(core().settings(SystemSetting::SysMultiTimeOutHandle).toString(), QString("0"));
    }

    void fileAndScope_makeNoDifferenceAndAreLogged() {
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
        // Nothing is open now: a write is dropped with a warning.
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

    void writeThatFails_isLoggedEachTimeAndTheNextGoodOneIsNot() {
        const QString notWritten = QStringLiteral("is not in the file");
        core().saveSetting("key", 1);
        QVERIFY(QDir(m_home->filePath("settings")).removeRecursively());
        QFile blocker(m_home->filePath("settings"));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        LogCapture log;
        core().saveSetting("key", 2);
        QCOMPARE(log.texts(QtWarningMsg).filter(notWritten).size(), 1);
        core().saveSetting("key", 3);
        QCOMPARE(log.texts(QtWarningMsg).filter(notWritten).size(), 2);

        QVERIFY(blocker.remove());
        QVERIFY(QDir().mkpath(m_home->filePath("settings")));
        log.clear();
        core().saveSetting("other", 4);
        QVERIFY2(!log.contains(notWritten), qPrintable(log.texts().join('\n')));
        QFile file(m_home->filePath("settings/client.ini"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray content = file.readAll();
        QVERIFY2(content.contains("key=3") && content.contains("other=4"), content);
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
    ChildResult readInAnotherProcess(const QStringList& keys) const {
        return runChild(QCoreApplication::applicationFilePath(),
                        QStringList{kReadSettings, m_home->path()} + keys,
                        {{"QT_LOGGING_RULES", "*=false"}});
    }

    std::unique_ptr<TempHome> m_home;
};

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == kReadSettings) {
        return readSettings(arguments.mid(2));
    }
    SettingsTest suite;
    return QTest::qExec(&suite, argc, argv);
}

#include "settings_test.moc"

#include "plugin_files.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include "shell_options.h"

class PluginFilesTest : public QObject {
    Q_OBJECT

private slots:
    void folder_librariesAlone_byName() {
        make("libB.so");
        make("libA.so");
        make("notes.txt");
        QVERIFY(QDir().mkpath(path("libFolder.so")));
        QCOMPARE(pluginFilesIn(m_dir.path(), {}), (QStringList{path("libA.so"), path("libB.so")}));
    }

    void folder_fileUnderTwoNames_isListedOnce() {
        make("libA.so");
        QVERIFY(QFile::link(path("libA.so"), path("libZ.so")));
        QCOMPARE(pluginFilesIn(m_dir.path(), {}), QStringList{path("libA.so")});
    }

    void folder_filesNamedBesides_areLeftOut() {
        make("libA.so");
        make("libB.so");
        QCOMPARE(pluginFilesIn(m_dir.path(), {m_dir.path() + "/./libA.so", "/nowhere/libC.so"}),
                 QStringList{path("libB.so")});
    }

    void folder_missing_isEmpty() { QCOMPARE(pluginFilesIn(path("nowhere"), {}), QStringList()); }

    void pluginOption_files_areAbsoluteAndAddUp() {
        make("libA.so");
        make("libB.so");
        ShellOptions options;
        QString error;
        const QString relative = QDir().relativeFilePath(path("libA.so"));
        QVERIFY2(parseShellOptions({"--plugin", relative, "--plugin", path("libB.so")}, &options,
                                   &error),
                 qPrintable(error));
        QCOMPARE(options.pluginFiles, (QStringList{path("libA.so"), path("libB.so")}));
    }

    void pluginOption_thatCannotBe_isRefusedWithAText_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("part");
        make("libA.so");
        const QStringList good{"--plugin", path("libA.so")};
        QTest::newRow("missing file") << QStringList{"--plugin", path("libZ.so")} << "libZ.so";
        QTest::newRow("a folder") << QStringList{"--plugin", m_dir.path()} << m_dir.path();
        QTest::newRow("before a command") << good + QStringList("functions") << "a command";
        QTest::newRow("after a command") << QStringList("functions") + good << "a command";
        QTest::newRow("with a scenario")
            << good + QStringList{"--scenario", "some.scn"} << "--plugin";
    }

    void pluginOption_thatCannotBe_isRefusedWithAText() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, part);
        make("libA.so");
        ShellOptions options;
        QString error;
        QVERIFY(!parseShellOptions(arguments, &options, &error));
        QVERIFY2(error.contains(part), qPrintable(error));
    }

    void cleanup() {
        for (const QFileInfo& file : QDir(m_dir.path()).entryInfoList(QDir::Files)) {
            QFile::remove(file.filePath());
        }
        QDir(m_dir.path()).rmdir("libFolder.so");
    }

private:
    QString path(const QString& name) const { return m_dir.filePath(name); }
    void make(const QString& name) const {
        QFile file(path(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }

    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(PluginFilesTest)
#include "plugin_files_test.moc"

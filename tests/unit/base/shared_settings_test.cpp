#include "shared_settings.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include "log_capture.h"

namespace {

inline const QString kNotWritten = QStringLiteral("not written to");

/// What the file itself holds.
QByteArray contentOf(const QString& name) {
    QFile file(name);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

class SharedSettingsTest : public QObject {
    Q_OBJECT

private slots:
    void write_ordinaryFile_isInItAtOnceAndSaysNothing() {
        const QTemporaryDir dir;
        SharedSettings settings(dir.filePath("a.cfg"), nullptr);
        const LogCapture log;
        settings.lockedSetValue("T1", "账户,一");
        QVERIFY(contentOf(settings.file()).contains("账户,一"));
        QCOMPARE(settings.lockedValue("T1").toString(), QString("账户,一"));
        QVERIFY(!log.contains(kNotWritten));
    }

    void write_folderInTheFilesPlace_isToldWithTheNameAndHoldsForTheProcess() {
        const QTemporaryDir dir;
        const QString name = dir.filePath("a.cfg");
        QVERIFY(QDir().mkdir(name));
        SharedSettings settings(name, nullptr);
        const LogCapture log;
        settings.lockedSetValues({{"T1", "one"}, {"T2", "two"}});
        const QStringList told = log.texts(QtWarningMsg).filter(kNotWritten);
        QCOMPARE(told.size(), 1);
        QVERIFY2(told.first().contains(name), qPrintable(told.first()));
        QVERIFY2(told.first().contains("T2"), qPrintable(told.first()));
        QCOMPARE(settings.lockedValue("T1").toString(), QString("one"));
    }

    void write_onceTheFileCanBeWrittenAgain_bringsTheRestAndSaysNothing() {
        const QTemporaryDir dir;
        const QString name = dir.filePath("a.cfg");
        QVERIFY(QDir().mkdir(name));
        SharedSettings settings(name, nullptr);
        settings.lockedSetValue("T1", "one");
        QVERIFY(QDir().rmdir(name));
        const LogCapture log;
        settings.lockedSetValue("T2", "two");
        QVERIFY(!log.contains(kNotWritten));
        QVERIFY(contentOf(name).contains("T1=one"));
        QVERIFY(contentOf(name).contains("T2=two"));
    }
};

QTEST_GUILESS_MAIN(SharedSettingsTest)
#include "shared_settings_test.moc"

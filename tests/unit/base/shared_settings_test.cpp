#include "shared_settings.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTextStream>
#include <QtTest>

#include "child_process.h"
#include "log_capture.h"

namespace {

inline const QString kNotWritten = QStringLiteral("not written to");
inline const QString kReadSettings = QStringLiteral("read-settings");

/// As hexadecimal digits, which no console changes.
QString hexOf(const QString& text) {
    return QString::fromLatin1(text.toUtf8().toHex());
}

/// The bytes of the file itself.
QByteArray contentOf(const QString& name) {
    QFile file(name);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

class SharedSettingsTest : public QObject {
    Q_OBJECT

private slots:
    void write_ordinaryFile_isInItAtOnceAndLogsNothing() {
        const QTemporaryDir dir;
        SharedSettings settings(dir.filePath("a.cfg"), nullptr);
        const LogCapture log;
        settings.lockedSetValue("T1", "账户,一");
        QVERIFY(contentOf(settings.file()).contains("账户,一"));
        QCOMPARE(settings.lockedValue("T1").toString(), QString("账户,一"));
        QVERIFY(!log.contains(kNotWritten));
    }

    void write_charactersBeyondTheBasicPlane_areReadByTheNextProcess() {
        const QTemporaryDir dir;
        const QString name = QString::fromUtf8("𠮷野家基金😀");
        SharedSettings settings(dir.filePath("a.cfg"), nullptr);
        settings.lockedSetValues({{"T1", name}, {"T2", QString("plain")}});
        QVERIFY(contentOf(settings.file()).contains(name.toUtf8()));
        const ChildResult child = runChild(QCoreApplication::applicationFilePath(),
                                           {kReadSettings, settings.file(), "T1", "T2"});
        QVERIFY2(child.succeeded(), qPrintable(child.output));
        QCOMPARE(child.output, hexOf(name) + '\n' + hexOf("plain") + '\n');
    }

    void write_folderInTheFilesPlace_isLoggedWithTheNameAndHoldsForTheProcess() {
        const QTemporaryDir dir;
        const QString name = dir.filePath("a.cfg");
        QVERIFY(QDir().mkdir(name));
        SharedSettings settings(name, nullptr);
        const LogCapture log;
        settings.lockedSetValues({{"T1", "one"}, {"T2", "two"}});
        const QStringList lines = log.texts(QtWarningMsg).filter(kNotWritten);
        QCOMPARE(lines.size(), 1);
        QVERIFY2(lines.first().contains(name), qPrintable(lines.first()));
        QVERIFY2(lines.first().contains("T2"), qPrintable(lines.first()));
        QCOMPARE(settings.lockedValue("T1").toString(), QString("one"));
        settings.lockedSetValue("T3", "three");
        QCOMPARE(log.texts(QtWarningMsg).filter(kNotWritten).size(), 2);
    }

    void write_onceTheFileCanBeWrittenAgain_writesTheRestAndLogsNothing() {
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

/// What a process of its own runs: prints the values of keys in a file.
int readSettings(const QStringList& arguments) {
    const SharedSettings settings(arguments.value(0), nullptr);
    for (const QString& key : arguments.mid(1)) {
        QTextStream(stdout) << hexOf(settings.lockedValue(key).toString()) << '\n';
    }
    return 0;
}

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == kReadSettings) {
        return readSettings(arguments.mid(2));
    }
    SharedSettingsTest suite;
    return QTest::qExec(&suite, argc, argv);
}

#include "shared_settings_test.moc"

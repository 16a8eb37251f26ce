#include "shared_settings.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>
#include <QtTest>

#include "child_process.h"
#include "log_capture.h"
#include "run_on_thread.h"

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

    void clear_groupsAndKeys_emptiesTheFileAtOnce() {
        const QTemporaryDir dir;
        SharedSettings settings(dir.filePath("a.cfg"), nullptr);
        settings.lockedSetValues({{"T1", "one"}, {"group/T2", "two"}});
        const LogCapture log;
        settings.lockedClear();
        QVERIFY(settings.lockedAll().isEmpty());
        QVERIFY(!contentOf(settings.file()).contains("one"));
        QVERIFY(!contentOf(settings.file()).contains("two"));
        QVERIFY(!log.contains(kNotWritten));
        settings.lockedSetValue("T3", "three");
        QCOMPARE(settings.lockedAll(), (QVariantMap{{"T3", "three"}}));
    }

    void clear_keyOfAnotherProcess_isRemovedToo() {
        const QTemporaryDir dir;
        SharedSettings settings(dir.filePath("a.cfg"), nullptr);
        settings.lockedSetValue("T1", "one");
        QFile file(settings.file());
        QVERIFY(file.open(QFile::Append));
        QVERIFY(file.write("\n[group]\nT2=two\n") > 0);
        file.close();
        settings.lockedClear();
        QVERIFY(!contentOf(settings.file()).contains("two"));
    }

    void all_keyOfAnotherProcess_isThere() {
        const QTemporaryDir dir;
        SharedSettings settings(dir.filePath("a.cfg"), nullptr);
        settings.lockedSetValue("T1", "one");
        QFile file(settings.file());
        QVERIFY(file.open(QFile::Append));
        QVERIFY(file.write("\n[group]\nT2=two\n") > 0);
        file.close();
        QCOMPARE(settings.lockedAll(), (QVariantMap{{"T1", "one"}, {"group/T2", "two"}}));
    }

    void clear_fileThatCannotBeWritten_isLoggedAndHoldsForTheProcess() {
        const QTemporaryDir dir;
        const QString name = dir.filePath("a.cfg");
        QVERIFY(QDir().mkdir(name));
        SharedSettings settings(name, nullptr);
        settings.lockedSetValue("T1", "one");
        const LogCapture log;
        settings.lockedClear();
        QCOMPARE(log.texts(QtWarningMsg).filter(kNotWritten).size(), 1);
        QVERIFY(settings.lockedAll().isEmpty());
    }

    void write_warnOnce_isLoggedAgainOnlyAfterASuccess() {
        const QTemporaryDir dir;
        const QString name = dir.filePath("a.cfg");
        QVERIFY(QDir().mkdir(name));
        SharedSettings settings(name, nullptr, SharedSettings::WhenNotWritten::WarnOnce);
        const LogCapture log;
        const auto warnings = [&log] { return log.texts(QtWarningMsg).filter(kNotWritten).size(); };
        settings.lockedSetValue("T1", "one");
        settings.lockedSetValue("T2", "two");
        QCOMPARE(warnings(), 1);
        QCOMPARE(settings.lockedValue("T2").toString(), QString("two"));
        QVERIFY(QDir().rmdir(name));
        settings.lockedSetValue("T3", "three");
        QCOMPARE(warnings(), 1);
        QVERIFY(QFile::remove(name));
        QVERIFY(QDir().mkdir(name));
        settings.lockedSetValue("T4", "four");
        settings.lockedSetValue("T5", "five");
        QCOMPARE(warnings(), 2);
    }

    void owner_onThisThread_isTheParentAtOnce() {
        const QTemporaryDir dir;
        QObject owner;
        new SharedSettings(dir.filePath("a.cfg"), &owner);
        QCOMPARE(owner.children().size(), 1);
    }

    void owner_onARunningThread_becomesTheParentThere() {
        const QTemporaryDir dir;
        QThread thread;
        thread.start();
        auto* const owner = new QObject;
        owner->moveToThread(&thread);
        auto* const settings = new SharedSettings(dir.filePath("a.cfg"), owner);
        settings->lockedSetValue("T1", "one");
        bool isChildThere = false;
        runOnThreadAndWait(owner, [owner, &thread, &isChildThere] {
            const QObject* const child = owner->children().value(0);
            isChildThere = child && child->parent() == owner && child->thread() == &thread;
        });
        QVERIFY(isChildThere);
        owner->deleteLater();  // with its children, at the end of the thread
        thread.quit();
        QVERIFY(thread.wait());
    }

    void owner_onAThreadThatIsNotStarted_isTheParentAtOnce() {
        const QTemporaryDir dir;
        QThread thread;
        QObject owner;
        owner.moveToThread(&thread);
        new SharedSettings(dir.filePath("a.cfg"), &owner);
        QCOMPARE(owner.children().size(), 1);
        QCOMPARE(owner.children().first()->thread(), &thread);
    }

    void all_isEveryKeyWithItsGroup() {
        const QTemporaryDir dir;
        SharedSettings settings(dir.filePath("a.cfg"), nullptr);
        settings.lockedSetValues({{"T1", "one"}, {"组/键", "二"}});
        SharedSettings again(settings.file(), nullptr);
        QCOMPARE(again.lockedAll(), (QVariantMap{{"T1", "one"}, {"组/键", "二"}}));
        QVERIFY(again.lockedIsReadable());
    }

    void readable_isFalseForADamagedFileOrAFolder() {
        const QTemporaryDir dir;
        QVERIFY(SharedSettings(dir.filePath("missing.cfg"), nullptr).lockedIsReadable());
        QFile file(dir.filePath("a.cfg"));
        QVERIFY(file.open(QFile::WriteOnly));
        file.write("T1=one\n[open\nT2=two\n");
        file.close();
        const SharedSettings damaged(file.fileName(), nullptr);
        QVERIFY(!damaged.lockedIsReadable());
        QCOMPARE(damaged.lockedValue("T1").toString(), QString("one"));
        QVERIFY(QDir().mkdir(dir.filePath("b.cfg")));
        QVERIFY(!SharedSettings(dir.filePath("b.cfg"), nullptr).lockedIsReadable());
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

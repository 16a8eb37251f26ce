#include "row_target.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

class RowTargetTest : public QObject {
    Q_OBJECT

private slots:
    void keptFile_replacesTheOneOfItsName() {
        QTemporaryDir dir;
        const QString name = dir.filePath("rows.csv");
        write(name, "old and longer");
        RowTarget target(name);
        QVERIFY2(target.open(), qPrintable(target.error()));
        QVERIFY(target.put("new"));
        QCOMPARE(contentOf(name), QByteArray("old and longer"));
        QVERIFY(target.keep());
        QCOMPARE(contentOf(name), QByteArray("new"));
    }

    void fileThatIsNotKept_leavesTheOldOne() {
        QTemporaryDir dir;
        const QString name = dir.filePath("rows.csv");
        write(name, "old");
        {
            RowTarget target(name);
            QVERIFY(target.open() && target.put("new"));
        }
        QCOMPARE(contentOf(name), QByteArray("old"));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files).size(), 1);
    }

    void fileInAMissingFolder_isNamed() {
        QTemporaryDir dir;
        RowTarget target(dir.filePath("none/rows.csv"));
        QVERIFY(!target.open());
        QVERIFY2(target.error().contains("none/rows.csv cannot be written: "),
                 qPrintable(target.error()));
    }

    void folder_isRefused() {
        QTemporaryDir dir;
        RowTarget target(dir.path());
        QVERIFY(!target.open());
        QVERIFY(!target.error().isEmpty());
    }

    void fullDevice_isAnErrorAndStays() {
        if (!QFile::exists("/dev/full")) {
            QSKIP("no /dev/full");
        }
        RowTarget target("/dev/full");
        QVERIFY2(target.open(), qPrintable(target.error()));
        const bool isPut = target.put(QByteArray(100, 'x'));
        QVERIFY(!isPut || !target.keep());
        QVERIFY2(target.error().startsWith("/dev/full cannot be written: "),
                 qPrintable(target.error()));
        QVERIFY(!QFileInfo("/dev/full").isFile());
    }

private:
    static void write(const QString& name, const QByteArray& bytes) {
        QFile file(name);
        QVERIFY(file.open(QFile::WriteOnly));
        QCOMPARE(file.write(bytes), qint64(bytes.size()));
    }
    static QByteArray contentOf(const QString& name) {
        QFile file(name);
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }
};

QTEST_APPLESS_MAIN(RowTargetTest)
#include "row_target_test.moc"

#include <QTemporaryDir>
#include <QtTest>

#include "log_capture.h"
#include "small_disk.h"
#include "work_database.h"

namespace {

WorkDatabase::Options optionsIn(const QString& folder) {
    WorkDatabase::Options options;
    options.folder = folder;
    options.login = [] { return QStringLiteral("u1"); };
    return options;
}

QString insertOf(const QString& key, int size) {
    return QStringLiteral("INSERT INTO t VALUES('%1','%2')").arg(key, QString(size, 'x'));
}

QString keysIn(WorkDatabase& database) {
    const QList<QVariant> rows =
        database.rows("SELECT group_concat(a) AS k FROM (SELECT a FROM t ORDER BY a)");
    return rows.isEmpty() ? QStringLiteral("no rows") : rows.first().toMap().value("k").toString();
}

}  // namespace

class WorkDatabaseFullDiskTest : public QObject {
    Q_OBJECT

private slots:
    void openingOnAFullDisk_namesTheDisk_andMovesNothing() {
        const QString text = onSmallDisk([](const QString& dir) {
            SmallDisk::fill(dir, 0);
            WorkDatabase database;
            database.open(optionsIn(dir));
            const LogCapture log;
            const int changed = database.update("CREATE TABLE t(a, b)");
            return QStringLiteral("%1|%2|%3")
                .arg(QString::number(changed), log.texts().join(' '),
                     QDir(dir).entryList({"*.damaged-*"}).join(' '));
        });
        if (!text.isEmpty()) {
            QVERIFY2(
                text.startsWith("-1|") && text.contains("the disk is full") && text.endsWith('|'),
                qPrintable(text));
        }
    }

    void statementThatFillsTheDisk_losesOnlyItself() {
        const QString text = onSmallDisk([](const QString& dir) {
            WorkDatabase database;
            database.open(optionsIn(dir));
            database.update("CREATE TABLE t(a PRIMARY KEY, b)");
            const LogCapture log;
            const int changed = database.updateAll({insertOf("a", 10), insertOf("large", 400000),
                                                    insertOf("b", 10), insertOf("c", 10)});
            return QStringLiteral("%1 %2|%3")
                .arg(QString::number(changed), keysIn(database), log.texts().join(' '));
        });
        if (!text.isEmpty()) {
            QVERIFY2(text.startsWith("3 a,b,c|") && text.contains("the disk is full"),
                     qPrintable(text));
        }
    }

    void databaseOnAFullDisk_worksAgain_onceSpaceIsFree() {
        const QString text = onSmallDisk([](const QString& dir) {
            WorkDatabase database;
            database.open(optionsIn(dir));
            database.updateAll({"CREATE TABLE t(a PRIMARY KEY, b)", insertOf("before", 10)});
            SmallDisk::fill(dir, 0);
            const LogCapture log;
            const int lost = database.updateAll({insertOf("lost1", 10), insertOf("lost2", 10)});
            const bool isNamed = log.contains("the disk is full");
            SmallDisk::removeFill(dir);
            const int after = database.updateAll({insertOf("after", 10)});
            return QStringLiteral("%1 %2 %3 %4")
                .arg(QString::number(lost), QString::number(after),
                     isNamed ? "named" : log.texts().join(' '), keysIn(database));
        });
        if (!text.isEmpty()) {
            QCOMPARE(text, QString("0 1 named after,before"));
        }
    }

private:
    /// What `body` returned in a process with a small disk; empty when the system allows none.
    static QString onSmallDisk(const std::function<QString(const QString&)>& body) {
        const QTemporaryDir dir;
        QString text;
        const SmallDisk::Result result = SmallDisk::run(
            dir.path(), [&dir, &body] { return body(dir.path()); }, &text);
        if (result == SmallDisk::Result::NotAllowed) {
            QTest::qSkip("this system does not allow a test to mount a disk", __FILE__, __LINE__);
            return {};
        }
        return result == SmallDisk::Result::Done ? text : QStringLiteral("the child failed");
    }
};

QTEST_GUILESS_MAIN(WorkDatabaseFullDiskTest)
#include "work_database_full_disk_test.moc"

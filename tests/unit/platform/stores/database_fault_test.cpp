#include "database_fault.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include "sqlite_connection.h"

Q_DECLARE_METATYPE(DatabaseFault::Kind)

namespace {

using Kind = DatabaseFault::Kind;

inline const QString kRepair = QStringLiteral("remove it");
inline const QString kCreate = QStringLiteral("CREATE TABLE t(a TEXT)");
inline const QString kNoWait = QStringLiteral("QSQLITE_BUSY_TIMEOUT=0");

}  // namespace

class DatabaseFaultTest : public QObject {
    Q_OBJECT

private slots:
    void init() { m_dir = std::make_unique<QTemporaryDir>(); }

    void soundFile_hasNoFault() {
        const SqliteConnection connection(file());
        QVERIFY(!connection.openFault());
        QVERIFY(!connection.run(kCreate, {}, {}));
    }

    void fullDatabase_isReportedAsFull() {
        const SqliteConnection connection(file());
        QVERIFY(!connection.run(kCreate, {}, {}));
        QVERIFY(!connection.run("PRAGMA max_page_count = 3", {}, {}));
        const DatabaseFault fault =
            connection.run("INSERT INTO t VALUES(?)", {QString(100000, 'x')}, {});
        QCOMPARE(fault.kind, Kind::DiskFull);
        expectAdvice(fault, "space");
        QVERIFY2(fault.text.startsWith("cannot be written: the disk is full (Unable to") &&
                     fault.text.contains(": database or disk is full)"),
                 qPrintable(fault.text));
    }

    void fileThatAnotherHolds_isReportedAsBusy() {
        const SqliteConnection holder(file());
        QVERIFY(!holder.run(kCreate, {}, {}));
        QVERIFY(!holder.run("BEGIN EXCLUSIVE", {}, {}));
        const SqliteConnection other(file(), kNoWait);
        const DatabaseFault fault = other.run("SELECT * FROM t", {}, {});
        QCOMPARE(fault.kind, Kind::Busy);
        expectAdvice(fault, "wait");
    }

    void folderInPlaceOfTheFile_isReportedAsUnreadable() {
        QVERIFY(QDir().mkpath(file()));
        const SqliteConnection connection(file());
        QCOMPARE(connection.openFault().kind, Kind::Unreadable);
        // A statement on it fails for the same reason.
        QCOMPARE(connection.run(kCreate, {}, {}).kind, Kind::Unreadable);
        expectAdvice(connection.openFault(), "permissions");
    }

    void writingToAReadOnlyFile_isReportedAsUnreadable() {
        QVERIFY(!SqliteConnection(file()).run(kCreate, {}, {}));
        const SqliteConnection reader(file(), SqliteConnection::readOnly());
        QCOMPARE(reader.run("DELETE FROM t", {}, {}).kind, Kind::Unreadable);
    }

    void garbage_isReportedAsDamaged_withTheRepair() {
        QFile garbage(file());
        QVERIFY(garbage.open(QIODevice::WriteOnly));
        garbage.write(QByteArray(5000, '\x5a'));
        garbage.close();
        const DatabaseFault fault =
            SqliteConnection(file()).run("SELECT * FROM sqlite_master", {}, {});
        QCOMPARE(fault.kind, Kind::Damaged);
        QVERIFY(fault.sentence(file(), kRepair).endsWith("; " + kRepair));
        QVERIFY(fault.sentence(file(), kRepair).startsWith(file() + " is damaged"));
    }

    void badStatement_isNoFaultOfTheFile() {
        const DatabaseFault fault = SqliteConnection(file()).run("SELECT a FROM nowhere", {}, {});
        QCOMPARE(fault.kind, Kind::Other);
        QVERIFY2(fault.text.contains("nowhere"), qPrintable(fault.text));
    }

private:
    QString file() const { return m_dir->filePath(QStringLiteral("a.sqlite")); }

    void expectAdvice(const DatabaseFault& fault, const QString& word) {
        const QString text = fault.sentence(file(), kRepair);
        QVERIFY2(text.startsWith(file()) && text.contains(word), qPrintable(text));
        QVERIFY2(!text.contains(kRepair) && !text.contains("damaged"), qPrintable(text));
    }

    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(DatabaseFaultTest)
#include "database_fault_test.moc"

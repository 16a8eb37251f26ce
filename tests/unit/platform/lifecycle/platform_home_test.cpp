#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QtTest>

#include "data_stores.h"
#include "log_capture.h"
#include "scripted_link.h"
#include "temp_home.h"
#include "vocabulary/fields.h"
#include "znbusinessdata/c_db_work_info_manager.h"
#include "zndatabase/zn_sql_query.h"

namespace {

void startIn(const TempHome& home) {
    QString error;
    QVERIFY2(LocalPlatform::instance().start(home.options(), &error), qPrintable(error));
}

int executed(const QString& sql) {
    ZnSqlQuery query;
    return query.prepare(sql) ? CDBWorkInfoManager::getInstance()->executeUpdate(query) : -1;
}

QList<QVariant> selected(const QString& sql) {
    ZnSqlQuery query;
    return query.prepare(sql) ? CDBWorkInfoManager::getInstance()->executeQuery(query)
                              : QList<QVariant>();
}

QStringList workFiles(const TempHome& home) {
    return QDir(home.filePath("work_database")).entryList({"*.sqlite"}, QDir::Files);
}

}  // namespace

class PlatformHomeTest : public QObject {
    Q_OBJECT

private slots:
    void cleanup() { LocalPlatform::instance().close(); }

    void workDatabase_isAFileOfTheLogin_belowTheHome() {
        const TempHome home;
        startIn(home);
        // It is made at the first use.
        QVERIFY(workFiles(home).isEmpty());
        DataStores::businessData().setLogin({{UserAccount::userID, "U000001"}});
        QCOMPARE(executed("CREATE TABLE t(a)"), 0);
        QCOMPARE(executed("INSERT INTO t VALUES('x'),('y')"), 2);
        QCOMPARE(workFiles(home), QStringList("user_U000001.sqlite"));
        // Another login goes on with the file.
        DataStores::businessData().setLogin({{UserAccount::userID, "U000002"}});
        QCOMPARE(selected("SELECT a FROM t").size(), 2);
        QCOMPARE(workFiles(home), QStringList("user_U000001.sqlite"));
    }

    void nextStart_findsTheRows_andThoseOfAnotherHomeAreApart() {
        const TempHome first;
        const TempHome second;
        startIn(first);
        DataStores::businessData().setLogin({{UserAccount::userID, "U1"}});
        executed("CREATE TABLE t(a)");
        executed("INSERT INTO t VALUES('first')");
        LocalPlatform::instance().close();
        startIn(second);
        DataStores::businessData().setLogin({{UserAccount::userID, "U1"}});
        QCOMPARE(executed("CREATE TABLE t(a)"), 0);
        QVERIFY(selected("SELECT a FROM t").isEmpty());
        // Also without a close in between.
        startIn(first);
        DataStores::businessData().setLogin({{UserAccount::userID, "U1"}});
        QCOMPARE(selected("SELECT a FROM t"), QList<QVariant>{QVariantMap({{"a", "first"}})});
    }

    void workDatabase_beforeTheLogIn_hasAFileOfItsOwn_withAWarning() {
        const TempHome home;
        startIn(home);
        const LogCapture log;
        QCOMPARE(executed("CREATE TABLE t(a)"), 0);
        QCOMPARE(workFiles(home), QStringList("no_login.sqlite"));
        QVERIFY(log.contains(QtWarningMsg, "the work database is used before a log-in"));
    }

    void workDatabase_ofAPlatformThatDidNotStart_isNotOpen() {
        const TempHome home;
        QString error;
        QVERIFY(!LocalPlatform::instance().start(home.options(home.filePath("missing")), &error));
        const LogCapture log;
        QCOMPARE(executed("CREATE TABLE t(a)"), -1);
        QVERIFY(log.contains(QtWarningMsg, "the work database is not open"));
        QVERIFY(!QFileInfo::exists(home.filePath("work_database")));
    }
};

QTEST_GUILESS_MAIN(PlatformHomeTest)
#include "platform_home_test.moc"

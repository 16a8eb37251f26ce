#include <QFile>
#include <QtTest>

#include "local_platform.h"
#include "quantity_sections.h"
#include "static_db_builder.h"
#include "temp_home.h"
#include "znbasebusinessdatamgr/zn_bond_data_mgr.h"
#include "znbasebusinessdatamgr/zn_etf_data_handler.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

using Errors = QMap<QString, int>;

CBusinessDataBase& base() {
    return *CBusinessDataBase::GetInstance();
}

}  // namespace

/// The errors and the records of the static database, and how far the business clock is ahead.
class StaticDbFiguresTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_home = std::make_unique<TempHome>();
        m_file = m_home->filePath("static.db");
    }
    void cleanup() {
        LocalPlatform::instance().setClock({});
        LocalPlatform::instance().close();
    }

    void withoutADatabase_thereIsNothing() {
        start({});
        QCOMPARE(base().GetStaticInfoDbErrorInfo(), Errors());
        QCOMPARE(base().GetLoadLocalStaticDbRecordCount(), 0);
    }

    void soundDatabase_hasRecordsAndNoErrors() {
        StaticDbBuilder()
            .section("One", {{"a", "1"}, {"b", "2"}})
            .section("Two", {{"a", "1"}})
            .write(m_file);
        start(m_file);
        QCOMPARE(base().GetLoadLocalStaticDbRecordCount(), 3);
        QCOMPARE(base().GetStaticInfoDbErrorInfo(), Errors());
    }

    void referenceRows_countOnceTheyWereRead() {
        StaticDbBuilder()
            .section("One", {{"a", "1"}})
            .reference("bond", "S1", {{"a", 1}})
            .reference("bond", "S2", {{"a", 1}})
            .reference("etf", "S1", {{"a", 1}})
            .write(m_file);
        start(m_file);
        QCOMPARE(base().GetLoadLocalStaticDbRecordCount(), 1);
        QVERIFY(ZnBondDataMgr::instance().load());
        QCOMPARE(base().GetLoadLocalStaticDbRecordCount(), 3);
        QVERIFY(ZnBondDataMgr::instance().load());
        QCOMPARE(base().GetLoadLocalStaticDbRecordCount(), 3);
        QVERIFY(ZnEtfDataHandler::instance().load());
        QCOMPARE(base().GetLoadLocalStaticDbRecordCount(), 4);
    }

    void rowsThatCannotBeUsed_areErrorsAndNoRecords() {
        StaticDbBuilder()
            .section(QuantitySection::step, {{"good", "100"}, {"zero", "0"}, {"word", "many"}})
            .reference("bond", "S1", {{"a", 1}})
            .referenceText("bond", "S2", "{")
            .referenceText("bond", "S3", "")
            .write(m_file);
        start(m_file);
        QVERIFY(ZnBondDataMgr::instance().load());
        QCOMPARE(base().GetLoadLocalStaticDbRecordCount(), 2);
        const Errors expected{
            {QStringLiteral("a row of section %1 cannot be used").arg(QuantitySection::step), 2},
            {"a reference row of kind bond cannot be used", 2}};
        QCOMPARE(base().GetStaticInfoDbErrorInfo(), expected);
    }

    void errors_areThoseSinceTheLastCall() {
        StaticDbBuilder().referenceText("bond", "S1", "{").write(m_file);
        start(m_file);
        const Errors expected{{"a reference row of kind bond cannot be used", 1}};
        QVERIFY(ZnBondDataMgr::instance().load());
        QCOMPARE(base().GetStaticInfoDbErrorInfo(), expected);
        QCOMPARE(base().GetStaticInfoDbErrorInfo(), Errors());
        QVERIFY(ZnBondDataMgr::instance().load());
        QCOMPARE(base().GetStaticInfoDbErrorInfo(), expected);
    }

    void databaseThatIsGone_isAnError() {
        StaticDbBuilder().reference("bond", "S1", {{"a", 1}}).write(m_file);
        start(m_file);
        QVERIFY(ZnBondDataMgr::instance().load());
        QCOMPARE(base().GetLoadLocalStaticDbRecordCount(), 1);
        QVERIFY(QFile::remove(m_file));
        QVERIFY(!ZnBondDataMgr::instance().load());
        QCOMPARE(base().GetStaticInfoDbErrorInfo(),
                 (Errors{{"reference rows of kind bond are not loaded", 1}}));
        QCOMPARE(base().GetLoadLocalStaticDbRecordCount(), 0);
    }

    void nextStart_beginsAnew() {
        StaticDbBuilder()
            .section("One", {{"a", "1"}})
            .referenceText("bond", "S1", "{")
            .reference("bond", "S2", {{"a", 1}})
            .write(m_file);
        start(m_file);
        QVERIFY(ZnBondDataMgr::instance().load());
        start(m_file);
        QCOMPARE(base().GetStaticInfoDbErrorInfo(), Errors());
        QCOMPARE(base().GetLoadLocalStaticDbRecordCount(), 1);
    }

    void clockDifference_isThatToTheMachine_data() {
        QTest::addColumn<qint64>("ahead");
        QTest::newRow("ahead") << qint64(3600000);
        QTest::newRow("behind") << qint64(-3600000);
    }
    void clockDifference_isThatToTheMachine() {
        QFETCH(qint64, ahead);
        start({});
        LocalPlatform::instance().setClock(
            [ahead] { return QDateTime::currentDateTime().addMSecs(ahead); });
        const qint64 difference = base().getCurrentBusinessDateTimeDiff();
        // The two clocks are read one after the other.
        QVERIFY(difference >= ahead);
        QVERIFY(difference < ahead + 600000);
    }

    void clockDifference_ofAClockInAnotherZone_isNotTheZones() {
        start({});
        LocalPlatform::instance().setClock(
            [] { return QDateTime::currentDateTimeUtc().toOffsetFromUtc(9 * 3600); });
        const qint64 difference = base().getCurrentBusinessDateTimeDiff();
        QVERIFY(difference >= 0);
        QVERIFY(difference < 600000);
    }

private:
    void start(const QString& file) {
        QString error;
        const bool started = LocalPlatform::instance().start(m_home->options(file), &error);
        QVERIFY2(started, qPrintable(error));
    }

    std::unique_ptr<TempHome> m_home;
    QString m_file;
};

QTEST_GUILESS_MAIN(StaticDbFiguresTest)
#include "static_db_figures_test.moc"

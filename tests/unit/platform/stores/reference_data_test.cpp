#include <QFile>
#include <QtTest>
#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include "local_platform.h"
#include "log_capture.h"
#include "reference_table.h"
#include "static_db_builder.h"
#include "temp_home.h"
#include "vocabulary/fields.h"
#include "znbasebusinessdatamgr/zn_bond_data_mgr.h"
#include "znbasebusinessdatamgr/zn_etf_data_handler.h"
#include "znbasebusinessdatamgr/zn_gold_etf_data_mgr.h"
#include "znbasebusinessdatamgr/zn_new_stock_data_handler.h"
#include "znbasebusinessdatamgr/zn_rqt_base_data_handler.h"
#include "znbasebusinessdatamgr/zn_system_setting_data_mgr.h"

Q_DECLARE_METATYPE(ReferenceKind)
Q_DECLARE_METATYPE(std::function<bool()>)

namespace {

ZnNewStockDataHandler& newStock() {
    return ZnNewStockDataHandler::instance();
}

int countOf(ReferenceKind kind) {
    return ReferenceTable::of(kind).count();
}

}  // namespace

class ReferenceDataTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_home = std::make_unique<TempHome>();
        m_file = m_home->filePath("static.db");
        newStock().SetTradingAccount({});
    }

    void load_readsTheRowsOfItsKindAlone_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<ReferenceKind>("table");
        QTest::addColumn<std::function<bool()>>("load");
        using Load = std::function<bool()>;
        QTest::newRow("etf") << "etf" << ReferenceKind::Etf
                             << Load([]() { return ZnEtfDataHandler::instance().load(); });
        QTest::newRow("bond") << "bond" << ReferenceKind::Bond
                              << Load([]() { return ZnBondDataMgr::instance().load(); });
        QTest::newRow("gold") << "gold" << ReferenceKind::Gold
                              << Load([]() { return ZnGoldEtfDataMgr::instance()->load(0, 0); });
        QTest::newRow("setting") << "setting" << ReferenceKind::Setting << Load([]() {
            return ZnSystemSettingDataMgr::instance().init();
        });
        QTest::newRow("newstock") << "newstock" << ReferenceKind::NewStock << Load([]() {
            newStock().init(ZnNewStockDataHandler::Issues);
            return true;
        });
        QTest::newRow("rqt") << "rqt" << ReferenceKind::Rqt << Load([]() {
            ZnRqtBaseDataHandler::instance().initData(ZnRqtBaseDataHandler::Symbols);
            return true;
        });
    }

    void load_readsTheRowsOfItsKindAlone() {
        QFETCH(QString, kind);
        QFETCH(ReferenceKind, table);
        QFETCH(std::function<bool()>, load);
        StaticDbBuilder builder;
        for (const char* other :
             {"security", "etf", "bond", "gold", "newstock", "rqt", "setting"}) {
            builder.reference(other, "S1", {{Security::symbol, other}});
        }
        builder.reference(kind, "S2", {{Security::symbol, "second"}, {"n", 7}});
        builder.write(m_file);
        open();
        QCOMPARE(countOf(table), 0);
        QVERIFY(load());
        QCOMPARE(countOf(table), 2);
        ReferenceTable& rows = ReferenceTable::of(table);
        QCOMPARE(rows.record("S1").value(Security::symbol).toString(), kind);
        QCOMPARE(rows.record("S2").value("n").toInt(), 7);
        QVERIFY(rows.record("S3").isEmpty());
        // A second call reads again.
        StaticDbBuilder().reference(kind, "S9", {}).write(m_file);
        QVERIFY(load());
        QCOMPARE(countOf(table), 1);
    }

    void quotas_areThoseOfTheAccountsSet() {
        StaticDbBuilder()
            .reference("quota", "q1", {{UserAccount::tradingAccount, "A"}})
            .reference("quota", "q2", {{UserAccount::tradingAccount, "B"}})
            .reference("quota", "q3", {{UserAccount::tradingAccount, "A"}})
            .reference("quota", "q4", {{"other", "A"}})
            .write(m_file);
        open();
        newStock().init(ZnNewStockDataHandler::Quotas);
        QCOMPARE(countOf(ReferenceKind::Quota), 0);
        newStock().SetTradingAccount({"A", "C"});
        QCOMPARE(countOf(ReferenceKind::Quota), 0);
        newStock().init(ZnNewStockDataHandler::Quotas);
        QCOMPARE(countOf(ReferenceKind::Quota), 2);
        QVERIFY(!ReferenceTable::of(ReferenceKind::Quota).record("q3").isEmpty());
        QVERIFY(ReferenceTable::of(ReferenceKind::Quota).record("q2").isEmpty());
    }

    void unknownKind_isLoggedAndChangesNothing() {
        StaticDbBuilder().reference("newstock", "S1", {}).reference("rqt", "S1", {}).write(m_file);
        open();
        const LogCapture log;
        newStock().init(static_cast<ZnNewStockDataHandler::DataType>(1));
        QVERIFY(log.contains(QtWarningMsg, "unknown kind of new share data"));
        QCOMPARE(countOf(ReferenceKind::NewStock), 0);
    }

    void rowThatIsNotARecord_isSkippedAndLogged() {
        StaticDbBuilder()
            .reference("bond", "good", {{"a", 1}})
            .referenceText("bond", "bad", "{\"a\":")
            .referenceText("bond", "list", "[1]")
            .write(m_file);
        open();
        const LogCapture log;
        QVERIFY(ZnBondDataMgr::instance().load());
        QCOMPARE(countOf(ReferenceKind::Bond), 1);
        QVERIFY(log.contains(QtWarningMsg, "row bad of kind bond"));
        QVERIFY(log.contains(QtWarningMsg, "row list of kind bond"));
    }

    void fileThatIsMissing_failsWithALineThatNamesIt() {
        StaticDbBuilder().reference("etf", "S1", {}).write(m_file);
        open();
        QVERIFY(ZnEtfDataHandler::instance().load());
        QVERIFY(QFile::remove(m_file));
        const LogCapture log;
        QVERIFY(!ZnEtfDataHandler::instance().load());
        QVERIFY(log.contains(QtWarningMsg, m_file));
        QVERIFY(log.contains(QtWarningMsg, "./run --rebuild"));
        QCOMPARE(countOf(ReferenceKind::Etf), 0);
        QVERIFY(!QFile::exists(m_file));
    }

    void fileThatGotDamaged_failsWithALineThatNamesIt() {
        StaticDbBuilder().reference("etf", "S1", {}).write(m_file);
        open();
        QFile file(m_file);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(5000, 'x'));
        file.close();
        const LogCapture log;
        QVERIFY(!ZnEtfDataHandler::instance().load());
        QVERIFY(log.contains(QtWarningMsg, m_file));
    }

    void withoutStaticData_loadsNoRows() {
        QVERIFY(LocalPlatform::instance().start(m_home->options(), nullptr));
        QVERIFY(ZnBondDataMgr::instance().load());
        QCOMPARE(countOf(ReferenceKind::Bond), 0);
    }

    void startingAgain_forgetsTheRows() {
        StaticDbBuilder().reference("bond", "S1", {}).write(m_file);
        open();
        QVERIFY(ZnBondDataMgr::instance().load());
        QCOMPARE(countOf(ReferenceKind::Bond), 1);
        open();
        QCOMPARE(countOf(ReferenceKind::Bond), 0);
    }

    void loadOnOtherThreads_readsTheSame() {
        StaticDbBuilder builder;
        for (int i = 0; i < 300; ++i) {
            builder.reference("etf", QString::number(i), {{"n", i}});
        }
        builder.write(m_file);
        open();
        std::atomic<int> failures{0};
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&failures]() {
                for (int i = 0; i < 5; ++i) {
                    const bool loaded = ZnEtfDataHandler::instance().load();
                    failures += loaded && countOf(ReferenceKind::Etf) == 300 ? 0 : 1;
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(failures.load(), 0);
    }

private:
    void open() {
        QString error;
        const bool opened = LocalPlatform::instance().start(m_home->options(m_file), &error);
        QVERIFY2(opened, qPrintable(error));
    }

    std::unique_ptr<TempHome> m_home;
    QString m_file;
};

QTEST_GUILESS_MAIN(ReferenceDataTest)
#include "reference_data_test.moc"

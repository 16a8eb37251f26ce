#include <QElapsedTimer>
#include <QtTest>
#include <atomic>
#include <limits>
#include <thread>

#include "account_fixture.h"
#include "local_platform.h"
#include "log_capture.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "wait_for.h"
#include "zncore/zn_core.h"

namespace {

inline const QString kQuery = QStringLiteral("120006");
inline const QString kPauseLine = QStringLiteral("InitFundAccountList: next pass in 100 ms");

}  // namespace

class FundAccountTableTest : public QObject {
    Q_OBJECT

private slots:
    void load_treeRecord_isTakenFieldByField() {
        QVariantMap tree;
        for (const QString& key :
             {UserAccount::investorName, UserAccount::productName, UserAccount::assetAccountName,
              UserAccount::tradingAccountName, UserAccount::investorAccount,
              UserAccount::productAccount, UserAccount::assetAccount, UserAccount::securityAccount,
              UserAccount::securityExchange, UserAccount::isMainAccount, UserAccount::seatNo,
              UserAccount::investType, UserAccount::assetAccountList, UserAccount::userType,
              UserAccount::organCode}) {
            tree.insert(key, "v-" + key);
        }
        tree.insert(UserAccount::tradingAccount, "T1");
        TestAccount account("T1");
        account.tree = tree;
        AccountFixture fixture({account});
        fixture.world.login();
        QVERIFY(fixture.load());
        const tagUserAccountInfo record = fixture.record("T1");
        QCOMPARE(record.investorName, "v-" + UserAccount::investorName);
        QCOMPARE(record.productName, "v-" + UserAccount::productName);
        QCOMPARE(record.assetAccountName, "v-" + UserAccount::assetAccountName);
        QCOMPARE(record.tradingAccountName, "v-" + UserAccount::tradingAccountName);
        QCOMPARE(record.investorAccount, "v-" + UserAccount::investorAccount);
        QCOMPARE(record.productAccount, "v-" + UserAccount::productAccount);
        QCOMPARE(record.assetAccount, "v-" + UserAccount::assetAccount);
        QCOMPARE(record.tradingAccount, QString("T1"));
        QCOMPARE(record.securityAccount, "v-" + UserAccount::securityAccount);
        QCOMPARE(record.securityExchange, "v-" + UserAccount::securityExchange);
        QCOMPARE(record.isMainAccount, "v-" + UserAccount::isMainAccount);
        QCOMPARE(record.seatNo, "v-" + UserAccount::seatNo);
        QCOMPARE(record.investType, "v-" + UserAccount::investType);
        QCOMPARE(record.assetAccountList, "v-" + UserAccount::assetAccountList);
        QCOMPARE(record.userType, "v-" + UserAccount::userType);
        QCOMPARE(record.organCode, "v-" + UserAccount::organCode);
        QVERIFY(record.securityAccountMap.isEmpty());
        QVERIFY(record.extText1.isEmpty() && record.extText2.isEmpty());
    }

    void load_treeRecordWithoutAKey_leavesAnEmptyText() {
        TestAccount account("T1");
        account.tree = {{UserAccount::tradingAccount, "T1"}};
        AccountFixture fixture({account});
        fixture.world.login();
        fixture.load();
        QCOMPARE(fixture.record("T1").investorName, QString());
        QCOMPARE(fixture.record("T1").tradingAccount, QString("T1"));
    }

    void load_authorityTypes_setTheirBits_data() {
        QTest::addColumn<QStringList>("types");
        QTest::addColumn<int>("flags");
        QTest::newRow("query") << QStringList{AuthorityType::AccountQuery} << 1;
        QTest::newRow("edit") << QStringList{AuthorityType::AccountEdit} << 2;
        QTest::newRow("authority") << QStringList{AuthorityType::AccountAuthority} << 4;
        QTest::newRow("subscribe") << QStringList{AuthorityType::AccountSubscribe} << 8;
        QTest::newRow("trade") << QStringList{AuthorityType::AccountTrade} << 16;
        QTest::newRow("two") << QStringList{AuthorityType::AccountTrade,
                                            AuthorityType::AccountQuery}
                             << 17;
        QTest::newRow("another type beside")
            << QStringList{AuthorityType::AccountEdit, "other"} << 2;
    }
    void load_authorityTypes_setTheirBits() {
        QFETCH(QStringList, types);
        QFETCH(int, flags);
        AccountFixture fixture({TestAccount("T1").withAuthorities(types)});
        fixture.world.login();
        LogCapture log;
        fixture.load();
        QCOMPARE(fixture.record("T1").authorityFlags, flags);
        QVERIFY(log.contains("ZnBusinessDataManager::InitFundAccountList  authority type list:"));
    }

    void load_accountWithoutAuthorities_hasNoFlags() {
        // The platform lists such an account under no authority, so only the counter reports it.
        AccountFixture fixture({TestAccount("T1"), TestAccount("T2").withAuthorities({"other"})});
        fixture.world.login();
        fixture.world.link().on(kQuery, [](const QVariant& body) {
            return makeAnswer(body, {TestAccount("T1").counter, TestAccount("T2").counter});
        });
        fixture.load();
        QCOMPARE(fixture.world.requestedAccounts().first(), QStringList{"T1"});
        QCOMPARE(fixture.record("T2").authorityFlags, 0);
        QVERIFY(fixture.lookups.GetTradingAccountList(true, 0, true).contains("T2"));
        QVERIFY(!fixture.lookups.GetTradingAccountList(true, 1, true).contains("T2"));
    }

    void order_savedWithAGoneAccount_losesItAndGainsTheNewOnes() {
        AccountFixture fixture(numberedAccounts(3));
        ZnCore::instance()->saveSetting(SettingFieldName::AccountListOrder,
                                        "T0003,gone,T0001,gone,,");
        fixture.world.login();
        LogCapture log;
        fixture.load();
        QCOMPARE(fixture.order(), (QStringList{"T0003", "T0001", "T0002"}));
        QVERIFY(log.contains("初始化账号优先级排序： (\"T0003\", \"gone\", \"T0001\", \"gone\")"));
        QVERIFY(log.contains("修改后账号优先级排序： (\"T0003\", \"T0001\", \"T0002\")"));
        QCOMPARE(fixture.lookups.GetTradingAccountList(true, 0, true),
                 (QStringList{"T0003", "T0001", "T0002"}));
    }

    void order_savedEmpty_becomesThePlatformsList() {
        AccountFixture fixture({TestAccount("T2"), TestAccount("T1"), TestAccount("T3")});
        fixture.world.login();
        fixture.load();
        QCOMPARE(fixture.order(), (QStringList{"T2", "T1", "T3"}));
    }

    void order_savedAsAListByHand_isReadAlike() {
        AccountFixture fixture(numberedAccounts(2));
        ZnCore::instance()->saveSetting(SettingFieldName::AccountListOrder,
                                        QStringList{"T0002", "T0001"});
        fixture.world.login();
        fixture.load();
        QCOMPARE(fixture.order(), (QStringList{"T0002", "T0001"}));
    }

    void load_externalQueryFails_repeatsThePassUntilItSucceeds() {
        AccountFixture fixture(numberedAccounts(150));
        fixture.world.login();
        fixture.world.link().onOccurrence(kQuery, 2, ScriptedReply::refusal("busy"));
        // The second pass reports another fund account of an account that is in the table already.
        fixture.world.link().onOccurrence(
            kQuery, 3, ScriptedReply::with([&fixture](const QVariant& body) {
                QList<QVariantMap> rows = rowsOf(fixture.world.counterAnswer(body));
                rows[0].insert("10081", "changed");
                return makeAnswer(body, rows);
            }));
        LogCapture log;
        QVERIFY(fixture.load());
        QCOMPARE(fixture.world.link().requestCount(kQuery), 4);
        QCOMPARE(log.count(QtDebugMsg, "第1次InitFundAccountList开始执行"), 1);
        QCOMPARE(log.count(QtDebugMsg, "第1次InitFundAccountList处理完毕"), 1);
        QCOMPARE(log.count(QtDebugMsg, "第2次InitFundAccountList开始执行"), 1);
        QCOMPARE(log.count(QtDebugMsg, "第2次InitFundAccountList处理完毕"), 1);
        QCOMPARE(log.count(QtDebugMsg, "开始查询外部绑定表信息"), 2);
        QCOMPARE(log.count(QtDebugMsg, "结束查询外部绑定表信息"), 2);
        QVERIFY(log.contains("++++++++InitFundAccountList获取到交易交易帐号："));
        QCOMPARE(fixture.record("T0001").fundAccount, QString("fundT0001"));
        QCOMPARE(fixture.lookups.GetTradingAccountList(true, 0, true).size(), 150);
        QVERIFY(fixture.state.m_fundInitStarted);
    }

    void load_firstPassFails_pauses100MsBeforeTheNext() {
        AccountFixture fixture(numberedAccounts(1));
        fixture.world.login();
        fixture.world.link().onOccurrence(kQuery, 1, ScriptedReply::refusal("busy"));
        const LogCapture log;
        QElapsedTimer timer;
        timer.start();
        QVERIFY(fixture.load());
        QVERIFY(timer.elapsed() >= 100);
        QCOMPARE(log.count(QtDebugMsg, kPauseLine), 1);
    }

    void load_firstPassSucceeds_endsWithoutPause() {
        // Other work on the machine only adds time, so one fast load is proof.
        qint64 fastest = std::numeric_limits<qint64>::max();
        for (int i = 0; i < 20 && fastest >= 100; ++i) {
            AccountFixture fixture(numberedAccounts(1));
            fixture.world.login();
            const LogCapture log;
            QElapsedTimer timer;
            timer.start();
            QVERIFY(fixture.load());
            fastest = qMin(fastest, timer.elapsed());
            QVERIFY(!log.contains(kPauseLine));
        }
        QVERIFY2(fastest < 100, qPrintable(QString::number(fastest)));
    }

    void load_done_opensTheTablesAndPublishesOnce() {
        AccountFixture fixture(numberedAccounts(1));
        fixture.world.login();
        QVERIFY(!fixture.state.m_fundAccountInited);
        LogCapture log;
        QVERIFY(fixture.load());
        QVERIFY(fixture.state.m_fundAccountInited);
        QVERIFY(waitFor([&fixture] { return fixture.presenter->events().size() == 1; }));
        const RecordingPresenter::Event event = fixture.presenter->events().first();
        QCOMPARE(event.id, AccountFixture::initedEvent());
        QCOMPARE(event.source, fixture.presenter->pluginPid());
        QVERIFY(!event.body.isValid());
        QCOMPARE(log.count(QtDebugMsg, QString("InitFundAccountList over putevent: %1")
                                           .arg(AccountFixture::initedEvent())),
                 1);
    }

    void secondLoad_afterTheFirst_onlyOpensAndPublishesAgain() {
        AccountFixture fixture(numberedAccounts(1));
        fixture.world.login();
        QVERIFY(fixture.load());
        QVERIFY(!fixture.load());
        QCOMPARE(fixture.world.link().requestCount(kQuery), 1);
        QVERIFY(fixture.state.m_fundAccountInited);
        QVERIFY(waitFor([&fixture] { return fixture.presenter->events().size() == 2; }));
    }

    void secondLoad_whileOneRuns_waitsForItAndNeverLetsReadersInEarly() {
        AccountFixture fixture(numberedAccounts(150));
        fixture.world.login();
        fixture.world.link().onOccurrence(kQuery, 2,
                                          ScriptedReply::with([&fixture](const QVariant& body) {
                                              return fixture.world.counterAnswer(body);
                                          }).held());
        std::atomic<bool> secondDone{false};
        const LogCapture log;
        std::thread first([&fixture] { fixture.load(); });
        const bool held = waitFor([&fixture] { return fixture.world.link().heldCount() == 1; });
        std::thread second([&fixture, &secondDone] {
            fixture.load();
            secondDone = true;
        });
        const bool waits = log.waitFor("InitFundAccountList waits for the load that is running");
        const bool early = secondDone || fixture.state.m_fundAccountInited;
        fixture.world.link().release();
        first.join();
        second.join();
        QVERIFY(held);
        QVERIFY(waits);
        QVERIFY(!early);
        QVERIFY(fixture.state.m_fundAccountInited);
        QCOMPARE(fixture.world.link().requestCount(kQuery), 2);
        QCOMPARE(fixture.lookups.GetTradingAccountList(false, 0, true).size(), 150);
        QVERIFY(waitFor([&fixture] { return fixture.presenter->events().size() == 2; }));
    }

    void secondLoad_whileTheFirstIsRefusedForever_endsWithItsPresenter() {
        AccountFixture fixture(numberedAccounts(1));
        fixture.world.login();
        fixture.world.link().on(kQuery, ScriptedReply::refusal("never"));
        fixture.startLoad();
        QVERIFY(fixture.world.link().waitForRequestCount(kQuery, 1));
        auto* const other = new RecordingPresenter("Test.Other");
        other->initPresenter();
        std::atomic<bool> began{false};
        std::atomic<bool> result{true};
        runOnThreadOf(other, [&] {
            began = true;
            result = fixture.table.InitFundAccountList(other);
        });
        QVERIFY(waitFor([&began] { return began.load(); }));
        other->deleteLater();  // joins the thread that waits for the first load
        QVERIFY(!result);
        LocalPlatform::instance().close();
        QVERIFY(!fixture.state.m_fundAccountInited);
    }

    void reader_beforeTheLoad_waitsForIt() {
        AccountFixture fixture(numberedAccounts(1));
        fixture.world.login();
        LogCapture log;
        QStringList seen;
        std::thread reader([&] { seen = fixture.lookups.GetTradingAccountList(true, 0, true); });
        QVERIFY(waitFor(
            [&log] { return log.contains("GetFundAccountList wait for FundAccountInit"); }));
        fixture.load();
        reader.join();
        QCOMPARE(seen, QStringList{"T0001"});
    }

    void reader_hostCloses_returnsWhatIsLoaded() {
        AccountFixture fixture(numberedAccounts(1));
        LogCapture log;
        bool wasEmpty = false;
        std::thread reader(
            [&] { wasEmpty = fixture.lookups.GetTradingAccountList(true, 0, true).isEmpty(); });
        QVERIFY(waitFor(
            [&log] { return log.contains("GetFundAccountList wait for FundAccountInit"); }));
        LocalPlatform::instance().close();
        reader.join();
        QVERIFY(wasEmpty);
    }

    void load_nullPresenter_triesAgainEvery10MsUntilTheHostCloses() {
        AccountFixture fixture(numberedAccounts(1));
        fixture.world.login();
        LogCapture log;
        bool result = true;
        QElapsedTimer timer;
        timer.start();
        std::thread load([&] { result = fixture.table.InitFundAccountList(nullptr); });
        const QString line = "InitFundAccountList GetFundAccountList PresenterClass is null";
        const bool repeats = waitFor([&] { return log.count(QtDebugMsg, line) >= 6; });
        const int turns = log.count(QtDebugMsg, line);
        const qint64 elapsed = timer.elapsed();
        LocalPlatform::instance().close();
        load.join();
        QVERIFY(repeats);
        QVERIFY2(elapsed >= (turns - 1) * 10, qPrintable(QString::number(turns)));
        QVERIFY(!result);
        QVERIFY(!fixture.state.m_fundAccountInited);
        QVERIFY(!log.contains("第2次InitFundAccountList开始执行"));
    }

    void load_serverRefusesForever_endsUnopenedWhenTheHostCloses() {
        AccountFixture fixture(numberedAccounts(1));
        fixture.world.login();
        fixture.world.link().on(kQuery, ScriptedReply::refusal("never"));
        LogCapture log;
        fixture.startLoad();
        QVERIFY(waitFor([&log] { return log.contains("第2次InitFundAccountList开始执行"); }));
        LocalPlatform::instance().close();
        QVERIFY(!fixture.state.m_fundAccountInited);
        QVERIFY(!fixture.state.m_fundInitStarted);
    }

    void load_answerOutstanding_endsWhenTheHostCloses() {
        AccountFixture fixture(numberedAccounts(1));
        fixture.world.login();
        fixture.world.link().on(kQuery, ScriptedReply::never());
        fixture.startLoad();
        QVERIFY(fixture.world.link().waitForRequestCount(kQuery, 1));
        LocalPlatform::instance().close();
        QVERIFY(!fixture.state.m_fundAccountInited);
    }
};

QTEST_GUILESS_MAIN(FundAccountTableTest)
#include "fund_account_table_test.moc"

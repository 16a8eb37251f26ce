#include <QtTest>
#include <atomic>
#include <thread>

#include "account_room.h"
#include "local_platform.h"
#include "log_capture.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "wait_for.h"
#include "zncore/zn_core.h"

namespace {

inline const QString kQuery = QStringLiteral("120006");

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
        AccountRoom room({account});
        room.world.login();
        QVERIFY(room.load());
        const tagUserAccountInfo record = room.record("T1");
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

    void load_treeRecordWithoutAKey_givesAnEmptyText() {
        TestAccount account("T1");
        account.tree = {{UserAccount::tradingAccount, "T1"}};
        AccountRoom room({account});
        room.world.login();
        room.load();
        QCOMPARE(room.record("T1").investorName, QString());
        QCOMPARE(room.record("T1").tradingAccount, QString("T1"));
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
        AccountRoom room({TestAccount("T1").withAuthorities(types)});
        room.world.login();
        LogCapture log;
        room.load();
        QCOMPARE(room.record("T1").authorityFlags, flags);
        QVERIFY(log.contains("ZnBusinessDataManager::InitFundAccountList  authority type list:"));
    }

    void load_accountWithoutAuthorities_hasNoFlags() {
        // The platform lists such an account under no authority, so only the counter can tell of
        // it.
        AccountRoom room({TestAccount("T1"), TestAccount("T2").withAuthorities({"other"})});
        room.world.login();
        room.world.link().on(kQuery, [](const QVariant& body) {
            return makeAnswer(body, {TestAccount("T1").counter, TestAccount("T2").counter});
        });
        room.load();
        QCOMPARE(room.world.askedAccounts().first(), QStringList{"T1"});
        QCOMPARE(room.record("T2").authorityFlags, 0);
        QVERIFY(room.lookups.GetTradingAccountList(true, 0, true).contains("T2"));
        QVERIFY(!room.lookups.GetTradingAccountList(true, 1, true).contains("T2"));
    }

    void order_savedWithAGoneAccount_losesItAndGainsTheNewOnes() {
        AccountRoom room(numberedAccounts(3));
        ZnCore::instance()->saveSetting(SettingFieldName::AccountListOrder,
                                        "T0003,gone,T0001,gone,,");
        room.world.login();
        LogCapture log;
        room.load();
        QCOMPARE(room.order(), (QStringList{"T0003", "T0001", "T0002"}));
        QVERIFY(log.contains("初始化账号优先级排序： (\"T0003\", \"gone\", \"T0001\", \"gone\")"));
        QVERIFY(log.contains("修改后账号优先级排序： (\"T0003\", \"T0001\", \"T0002\")"));
        QCOMPARE(room.lookups.GetTradingAccountList(true, 0, true),
                 (QStringList{"T0003", "T0001", "T0002"}));
    }

    void order_savedEmpty_becomesThePlatformsList() {
        AccountRoom room({TestAccount("T2"), TestAccount("T1"), TestAccount("T3")});
        room.world.login();
        room.load();
        QCOMPARE(room.order(), (QStringList{"T2", "T1", "T3"}));
    }

    void order_savedAsAListByHand_isReadAlike() {
        AccountRoom room(numberedAccounts(2));
        ZnCore::instance()->saveSetting(SettingFieldName::AccountListOrder,
                                        QStringList{"T0002", "T0001"});
        room.world.login();
        room.load();
        QCOMPARE(room.order(), (QStringList{"T0002", "T0001"}));
    }

    void load_externalQueryFails_repeatsThePassUntilItSucceeds() {
        AccountRoom room(numberedAccounts(150));
        room.world.login();
        room.world.link().onOccurrence(kQuery, 2, ScriptedReply::refusal("busy"));
        // The second pass shows other facts of an account that the first pass has taken already.
        room.world.link().onOccurrence(
            kQuery, 3, ScriptedReply::with([&room](const QVariant& body) {
                QList<QVariantMap> rows = rowsOf(room.world.counterAnswer(body));
                rows[0].insert("10081", "changed");
                return makeAnswer(body, rows);
            }));
        LogCapture log;
        QVERIFY(room.load());
        QCOMPARE(room.world.link().requestCount(kQuery), 4);
        QCOMPARE(log.count(QtDebugMsg, "第1次InitFundAccountList开始执行"), 1);
        QCOMPARE(log.count(QtDebugMsg, "第1次InitFundAccountList处理完毕"), 1);
        QCOMPARE(log.count(QtDebugMsg, "第2次InitFundAccountList开始执行"), 1);
        QCOMPARE(log.count(QtDebugMsg, "第2次InitFundAccountList处理完毕"), 1);
        QCOMPARE(log.count(QtDebugMsg, "开始查询外部绑定表信息"), 2);
        QCOMPARE(log.count(QtDebugMsg, "结束查询外部绑定表信息"), 2);
        QVERIFY(log.contains("++++++++InitFundAccountList获取到交易交易帐号："));
        QCOMPARE(room.record("T0001").fundAccount, QString("fundT0001"));
        QCOMPARE(room.lookups.GetTradingAccountList(true, 0, true).size(), 150);
        QVERIFY(room.state.m_fundInitStarted);
    }

    void load_done_opensTheTablesAndPublishesOnce() {
        AccountRoom room(numberedAccounts(1));
        room.world.login();
        QVERIFY(!room.state.m_fundAccountInited);
        LogCapture log;
        QVERIFY(room.load());
        QVERIFY(room.state.m_fundAccountInited);
        QVERIFY(waitFor([&room] { return room.presenter->events().size() == 1; }));
        const RecordingPresenter::Event event = room.presenter->events().first();
        QCOMPARE(event.id, AccountRoom::initedEvent());
        QCOMPARE(event.source, room.presenter->pluginPid());
        QVERIFY(!event.body.isValid());
        QCOMPARE(
            log.count(
                QtDebugMsg,
                QString("InitFundAccountList over putevent: %1").arg(AccountRoom::initedEvent())),
            1);
    }

    void secondLoad_afterTheFirst_onlyOpensAndPublishesAgain() {
        AccountRoom room(numberedAccounts(1));
        room.world.login();
        QVERIFY(room.load());
        QVERIFY(!room.load());
        QCOMPARE(room.world.link().requestCount(kQuery), 1);
        QVERIFY(room.state.m_fundAccountInited);
        QVERIFY(waitFor([&room] { return room.presenter->events().size() == 2; }));
    }

    void secondLoad_whileOneRuns_waitsForItAndNeverLetsReadersInEarly() {
        AccountRoom room(numberedAccounts(150));
        room.world.login();
        room.world.link().onOccurrence(kQuery, 2,
                                       ScriptedReply::with([&room](const QVariant& body) {
                                           return room.world.counterAnswer(body);
                                       }).held());
        std::atomic<bool> secondDone{false};
        std::thread first([&room] { room.load(); });
        QVERIFY(waitFor([&room] { return room.world.link().heldCount() == 1; }));
        std::thread second([&room, &secondDone] {
            room.load();
            secondDone = true;
        });
        QVERIFY(!waitFor([&] { return secondDone || room.state.m_fundAccountInited; }, 100));
        room.world.link().release();
        first.join();
        second.join();
        QVERIFY(room.state.m_fundAccountInited);
        QCOMPARE(room.world.link().requestCount(kQuery), 2);
        QCOMPARE(room.lookups.GetTradingAccountList(false, 0, true).size(), 150);
        QVERIFY(waitFor([&room] { return room.presenter->events().size() == 2; }));
    }

    void secondLoad_whileTheFirstIsRefusedForEver_endsWithItsPresenter() {
        AccountRoom room(numberedAccounts(1));
        room.world.login();
        room.world.link().on(kQuery, ScriptedReply::refusal("never"));
        room.startLoad();
        QVERIFY(room.world.link().waitForRequestCount(kQuery, 1));
        auto* const other = new RecordingPresenter("Test.Other");
        other->initPresenter();
        std::atomic<bool> began{false};
        std::atomic<bool> result{true};
        runOnThreadOf(other, [&] {
            began = true;
            result = room.table.InitFundAccountList(other);
        });
        QVERIFY(waitFor([&began] { return began.load(); }));
        other->deleteLater();  // joins the thread that waits for the first load
        QVERIFY(!result);
        LocalPlatform::instance().close();
        QVERIFY(!room.state.m_fundAccountInited);
    }

    void reader_beforeTheLoad_waitsForIt() {
        AccountRoom room(numberedAccounts(1));
        room.world.login();
        LogCapture log;
        QStringList seen;
        std::thread reader([&] { seen = room.lookups.GetTradingAccountList(true, 0, true); });
        QVERIFY(waitFor(
            [&log] { return log.contains("GetFundAccountList wait for FundAccountInit"); }));
        room.load();
        reader.join();
        QCOMPARE(seen, QStringList{"T0001"});
    }

    void reader_hostCloses_returnsWithWhatStands() {
        AccountRoom room(numberedAccounts(1));
        LogCapture log;
        bool wasEmpty = false;
        std::thread reader(
            [&] { wasEmpty = room.lookups.GetTradingAccountList(true, 0, true).isEmpty(); });
        QVERIFY(waitFor(
            [&log] { return log.contains("GetFundAccountList wait for FundAccountInit"); }));
        LocalPlatform::instance().close();
        reader.join();
        QVERIFY(wasEmpty);
    }

    void load_nullPresenter_runsOnUntilTheHostCloses() {
        AccountRoom room(numberedAccounts(1));
        room.world.login();
        LogCapture log;
        bool result = true;
        std::thread load([&] { result = room.table.InitFundAccountList(nullptr); });
        const QString said = "InitFundAccountList GetFundAccountList PresenterClass is null";
        QVERIFY(waitFor([&] { return log.count(QtDebugMsg, said) >= 3; }));
        LocalPlatform::instance().close();
        load.join();
        QVERIFY(!result);
        QVERIFY(!room.state.m_fundAccountInited);
        QVERIFY(!log.contains("第2次InitFundAccountList开始执行"));
    }

    void load_serverRefusesForever_endsUnopenedWhenTheHostCloses() {
        AccountRoom room(numberedAccounts(1));
        room.world.login();
        room.world.link().on(kQuery, ScriptedReply::refusal("never"));
        LogCapture log;
        room.startLoad();
        QVERIFY(waitFor([&log] { return log.contains("第2次InitFundAccountList开始执行"); }));
        LocalPlatform::instance().close();
        QVERIFY(!room.state.m_fundAccountInited);
        QVERIFY(!room.state.m_fundInitStarted);
    }

    void load_answerOutstanding_endsWhenTheHostCloses() {
        AccountRoom room(numberedAccounts(1));
        room.world.login();
        room.world.link().on(kQuery, ScriptedReply::never());
        room.startLoad();
        QVERIFY(room.world.link().waitForRequestCount(kQuery, 1));
        LocalPlatform::instance().close();
        QVERIFY(!room.state.m_fundAccountInited);
    }
};

QTEST_GUILESS_MAIN(FundAccountTableTest)
#include "fund_account_table_test.moc"

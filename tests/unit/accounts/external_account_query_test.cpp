#include <QtTest>

#include "account_fixture.h"
#include "log_capture.h"
#include "shared_settings.h"
#include "vocabulary/fields.h"
#include "vocabulary/net_state.h"
#include "vocabulary/values.h"
#include "zncore/zn_core.h"

namespace {

inline const QString kQuery = QStringLiteral("120006");

bool isInAnyIndex(const AccountTables& tables, const QString& account) {
    bool found = tables.m_normalAccounts.contains(account) ||
                 tables.m_distributedAccounts.contains(account) ||
                 tables.m_centralAccounts.contains(account);
    for (const auto& accounts :
         {tables.m_fundAccounts, tables.m_assetAccounts, tables.m_productAccounts}) {
        for (const QStringList& list : accounts) {
            found = found || list.contains(account);
        }
    }
    for (const QSet<QString>& set : tables.m_clientNoAccounts) {
        found = found || set.contains(account);
    }
    for (const auto& accounts : {tables.m_fundPropAccounts, tables.m_authorityAccounts}) {
        for (const QSet<QString>& set : accounts) {
            found = found || set.contains(account);
        }
    }
    return found;
}

/// The records that the load prepares before it queries the counter.
QMap<QString, tagUserAccountInfo> prepared(const QStringList& accounts) {
    QMap<QString, tagUserAccountInfo> records;
    for (const QString& account : accounts) {
        tagUserAccountInfo record;
        record.tradingAccount = account;
        record.productAccount = "P1";
        record.productName = "产品一";
        record.authorityFlags = 17;
        records.insert(account, record);
    }
    return records;
}

}  // namespace

class ExternalAccountQueryTest : public QObject {
    Q_OBJECT

private slots:
    void query_250Accounts_makesRequestsOf100And100And50() {
        AccountFixture fixture(numberedAccounts(250));
        fixture.world.login();
        fixture.load();
        const QList<QStringList> batches = fixture.world.requestedAccounts();
        QCOMPARE(batches.size(), 3);
        QCOMPARE(batches.at(0).size(), 100);
        QCOMPARE(batches.at(1).size(), 100);
        QCOMPARE(batches.at(2).size(), 50);
        QCOMPARE(batches.at(0).first(), QString("T0001"));
        QCOMPARE(batches.at(2).last(), QString("T0250"));
        QCOMPARE(fixture.lookups.GetTradingAccountList(true, 0, true).size(), 250);
    }

    void query_accountsAtTheBatchSize_makesNoEmptyRequest_data() {
        QTest::addColumn<int>("accounts");
        QTest::addColumn<QList<int>>("batches");
        QTest::newRow("none") << 0 << QList<int>{};
        QTest::newRow("1") << 1 << QList<int>{1};
        QTest::newRow("100") << 100 << QList<int>{100};
        QTest::newRow("101") << 101 << QList<int>{100, 1};
        QTest::newRow("200") << 200 << QList<int>{100, 100};
    }
    void query_accountsAtTheBatchSize_makesNoEmptyRequest() {
        QFETCH(int, accounts);
        QFETCH(QList<int>, batches);
        AccountFixture fixture(numberedAccounts(accounts));
        fixture.world.login();
        QVERIFY(fixture.load());
        QList<int> sizes;
        QStringList all;
        for (const QStringList& batch : fixture.world.requestedAccounts()) {
            sizes.append(batch.size());
            all += batch;
        }
        QCOMPARE(sizes, batches);
        QCOMPARE(QSet<QString>(all.begin(), all.end()).size(), accounts);
        QCOMPARE(fixture.lookups.GetTradingAccountList(true, 0, true).size(), accounts);
    }

    void query_request_carriesItsFieldsInOneHeaderRow() {
        AccountFixture fixture(numberedAccounts(2));
        fixture.world.login();
        fixture.load();
        const ScriptedLink::Request request = fixture.world.link().lastRequest(kQuery);
        QCOMPARE(request.envelopeType, kQuery);
        QCOMPARE(request.sourceId, fixture.presenter->pluginPid());
        QVERIFY(request.rows.isEmpty());
        const QVariantMap expected{{System::msgType, kQuery},
                                   {UserAccount::loginUserId, "tester"},
                                   {UserAccount::tradingAccount, "T0001,T0002"},
                                   {"10094", 2}};
        QCOMPARE(request.header, expected);
    }

    void row_counterFields_completeTheRecord() {
        AccountFixture fixture({TestAccount("T1")});
        fixture.world.login();
        fixture.load();
        const tagUserAccountInfo record = fixture.record("T1");
        QCOMPARE(record.fundAccount, QString("fundT1"));
        QCOMPARE(record.fundAccountType, FundAccountType::Cash);
        QCOMPARE(record.counterAccountName, QString("柜台T1"));
        QCOMPARE(record.accountName, QString("柜台T1"));
        QCOMPARE(record.abbrName, QString());
        QCOMPARE(record.extCounterCode, CounterSysCode::Normal_ZN);
        QCOMPARE(record.clientNo, QString("client1"));
        QCOMPARE(record.extNodeNo, QString("node1"));
        QCOMPARE(record.branchNo, 11);
        QCOMPARE(record.extOrgCode, QString("org1"));
        QCOMPARE(record.passStatus, QString("1"));
        QCOMPARE(record.otcFundAccount, QString("otcT1"));
        QCOMPARE(record.counterSiteType, 0);
        QCOMPARE(record.accountStatus, QString("0"));
    }

    void row_abbreviationInTheFile_isTheDisplayName() {
        AccountFixture fixture({TestAccount("T1"), TestAccount("T2")});
        {
            SharedSettings file(VelmarUtils::GetUserCfgFileDir() + "fundAbbr.cfg", nullptr);
            file.lockedSetValue("T1", "简称,一");
        }
        fixture.world.login();
        fixture.load();
        QCOMPARE(fixture.record("T1").abbrName, QString("简称,一"));
        QCOMPARE(fixture.record("T1").accountName, QString("简称,一"));
        QCOMPARE(fixture.record("T2").accountName, QString("柜台T2"));
    }

    void row_accountNotQueried_createsARecordAndIsIndexed() {
        AccountFixture fixture({TestAccount("T1")});
        fixture.world.login();
        QVariantMap stranger = TestAccount("S9").counter;
        fixture.world.link().on(kQuery, [&fixture, stranger](const QVariant& body) {
            QList<QVariantMap> rows = rowsOf(fixture.world.counterAnswer(body));
            rows.prepend(stranger);
            return makeAnswer(body, rows);
        });
        LogCapture log;
        fixture.load();
        QCOMPARE(fixture.record("S9").tradingAccount, QString("S9"));
        QCOMPARE(fixture.record("S9").fundAccount, QString("fundS9"));
        QVERIFY(fixture.lookups.GetTradingAccountList(true, 0, true).contains("S9"));
        QVERIFY(fixture.lookups.GetTradingAccountList(true, 0, true).contains("T1"));
        QVERIFY(log.contains("row of an account that was not asked about: \"S9\""));
        const auto tables = fixture.state.m_accountLock.read();
        QCOMPARE(tables->m_fundAccounts.value("fundS9"), QStringList{"S9"});
    }

    void row_frozenAccount_isARecordAndInNoIndex() {
        AccountFixture fixture(
            {TestAccount("T1").under("PF", "冻结产品").frozen(), TestAccount("T2")});
        fixture.world.login();
        LogCapture log;
        fixture.load();
        QCOMPARE(fixture.record("T1").accountStatus, AccountStatus::freezing);
        QCOMPARE(fixture.lookups.GetTradingAccountList(true, 0, true), QStringList{"T2"});
        QVERIFY(log.contains("账号状态：停用"));
        QVERIFY(log.contains("账号状态：正常"));
        const auto tables = fixture.state.m_accountLock.read();
        QVERIFY(!isInAnyIndex(*tables, "T1"));
        QVERIFY(isInAnyIndex(*tables, "T2"));
        QVERIFY(!tables->m_allProductMap.contains("PF"));
    }

    void row_counterSiteTypeOne_isListedAsDistributed() {
        AccountFixture fixture({TestAccount("T1").distributed(), TestAccount("T2")});
        fixture.world.login();
        fixture.load();
        const auto records = fixture.lookups.GetDistributedAccountList();
        QCOMPARE(records.size(), 1);
        QCOMPARE(records.first().tradingAccount, QString("T1"));
        QCOMPARE(records.first().counterSiteType, 1);
        QCOMPARE(fixture.lookups.GetTradingAccountList(true, 0, false), QStringList{"T2"});
    }

    void row_fundAccountType_selectsTheFundProperty_data() {
        QTest::addColumn<QString>("type");
        QTest::addColumn<int>("prop");
        QTest::newRow("cash") << FundAccountType::Cash << Torvi_InnerFundProp::normalTrade;
        QTest::newRow("credit") << FundAccountType::Credit << Torvi_InnerFundProp::marginTrade;
        QTest::newRow("future") << FundAccountType::Future << Torvi_InnerFundProp::futuresTrade;
        QTest::newRow("option") << FundAccountType::Option << Torvi_InnerFundProp::optionTrade;
        QTest::newRow("metal") << FundAccountType::Metal << Torvi_InnerFundProp::metalTrade;
        QTest::newRow("other") << "other" << 0;
        QTest::newRow("empty") << "" << 0;
    }
    void row_fundAccountType_selectsTheFundProperty() {
        QFETCH(QString, type);
        QFETCH(int, prop);
        AccountFixture fixture({TestAccount("T1").withCounter("10086", type)});
        fixture.world.login();
        fixture.load();
        const auto tables = fixture.state.m_accountLock.read();
        QHash<int, QSet<QString>> expected;
        if (prop) {
            expected.insert(prop, {"T1"});
        }
        QCOMPARE(tables->m_fundPropAccounts, expected);
    }

    void products_queryRightsOnly_areNotAmongTheTraded() {
        AccountFixture fixture(
            {TestAccount("T1").under("PA", "甲"),
             TestAccount("T2").under("PB", "乙").withAuthorities({AuthorityType::AccountQuery})});
        fixture.world.login();
        LogCapture log;
        fixture.load();
        const QMap<QString, QString> all{{"PA", "甲"}, {"PB", "乙"}};
        const QMap<QString, QString> traded{{"PA", "甲"}};
        QCOMPARE(fixture.lookups.GetAllProductAccountMap(), all);
        QCOMPARE(fixture.lookups.GetAuthTradeProductAccountList(), traded);
        QCOMPARE(log.count(QtDebugMsg, "产品PA-甲下交易账号：T1"), 1);
        QCOMPARE(log.count(QtDebugMsg, "产品PB-没有授权交易账号下交易账号：T2"), 1);
    }

    void products_passRepeatedAfterARefusedBatch_areThoseOfAllAccountsThatAreNotFrozen() {
        QList<TestAccount> accounts = numberedAccounts(102);
        for (int i = 0; i < accounts.size(); ++i) {
            accounts[i].under(i < 100 ? "PA" : "PB", i < 100 ? "甲" : "乙");
        }
        accounts[1].under("PQ", "查询").withAuthorities({AuthorityType::AccountQuery});
        accounts[2].under("PF", "冻结").frozen();
        AccountFixture fixture(accounts);
        fixture.world.login();
        fixture.world.link().onOccurrence(kQuery, 2, ScriptedReply::refusal("柜台忙"));
        fixture.load();
        QCOMPARE(fixture.world.link().requestCount(kQuery), 4);
        QCOMPARE(fixture.lookups.GetTradingAccountList(true, 0, true).size(), 101);
        QMap<QString, QString> products{{"PA", "甲"}, {"PB", "乙"}};
        QCOMPARE(fixture.lookups.GetAuthTradeProductAccountList(), products);
        products.insert("PQ", "查询");
        QCOMPARE(fixture.lookups.GetAllProductAccountMap(), products);
    }

    void indexes_sharedFundAssetAndCustomer_collectTheirAccounts() {
        AccountFixture fixture(
            {TestAccount("T1").withCounter("10081", "F").with("assetAccount", "A"),
             TestAccount("T2").withCounter("10081", "F").with("assetAccount", "A")});
        fixture.world.login();
        fixture.load();
        const auto tables = fixture.state.m_accountLock.read();
        QCOMPARE(tables->m_fundAccounts.value("F"), (QStringList{"T1", "T2"}));
        QCOMPARE(tables->m_assetAccounts.value("A"), (QStringList{"T1", "T2"}));
        QCOMPARE(tables->m_productAccounts.value("P1"), (QStringList{"T1", "T2"}));
        QCOMPARE(tables->m_clientNoAccounts.value("client1"), (QSet<QString>{"T1", "T2"}));
        QCOMPARE(tables->m_authorityAccounts.value(16), (QSet<QString>{"T1", "T2"}));
        QCOMPARE(tables->m_authorityAccounts.value(1), (QSet<QString>{"T1", "T2"}));
        QVERIFY(!tables->m_authorityAccounts.contains(2));
    }

    void done_qfiiAmongTheAccounts_isOnTheBoard_data() {
        QTest::addColumn<QString>("code");
        QTest::addColumn<bool>("expected");
        QTest::newRow("with") << CounterSysCode::QFII_ZN << true;
        QTest::newRow("without") << CounterSysCode::PUBLICRAISE << false;
    }
    void done_qfiiAmongTheAccounts_isOnTheBoard() {
        QFETCH(QString, code);
        QFETCH(bool, expected);
        AccountFixture fixture({TestAccount("T1").withCounter("10078", code), TestAccount("T2")});
        fixture.world.login();
        fixture.load();
        QCOMPARE(ZnCore::instance()->getCommonInfo("hasQfii"), QVariant(expected));
    }

    void done_qfiiInAFurtherRowOfAnAccount_isOnTheBoard() {
        AccountFixture fixture({TestAccount("T1")});
        fixture.world.login();
        fixture.world.link().on(kQuery, [](const QVariant& body) {
            TestAccount again("T1");
            again.withCounter("10078", CounterSysCode::QFII_ZN);
            return makeAnswer(body, {TestAccount("T1").counter, again.counter});
        });
        fixture.load();
        QCOMPARE(ZnCore::instance()->getCommonInfo("hasQfii"), QVariant(true));
        QCOMPARE(fixture.record("T1").extCounterCode, CounterSysCode::Normal_ZN);
    }

    void query_nullPresenter_isLoggedAsCriticalAndClearsTheFlag() {
        AccountFixture fixture;
        LogCapture log;
        fixture.state.m_fundInitStarted = true;
        QMap<QString, tagUserAccountInfo> records = prepared({"T1"});
        fixture.query.batchQueryExtAccountInfo(nullptr, records);
        QCOMPARE(log.count(QtCriticalMsg, "syncQueryExFundAccount PresenterClass is null"), 1);
        QVERIFY(!fixture.state.m_fundInitStarted);
        QCOMPARE(fixture.world.link().requestCount(kQuery), 0);
    }

    void query_secondBatchFails_stopsAndKeepsTheFirst_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("line");
        const QString tag = "syncQueryExFundAccount------ get response code: ";
        QTest::newRow("time-out") << 0 << tag + "1";
        QTest::newRow("failure") << 1 << tag + "2";
        QTest::newRow("refusal") << 2 << tag + R"(7 info : "柜台忙")";
        QTest::newRow("garbage") << 3 << tag + "2";
        QTest::newRow("disconnect") << 4 << tag + "2";
        QTest::newRow("status that is not a number") << 5 << tag + R"(-1 info : "")";
    }
    void query_secondBatchFails_stopsAndKeepsTheFirst() {
        QFETCH(int, kind);
        QFETCH(QString, line);
        const ScriptedReply replies[] = {
            ScriptedReply::timeOut(),
            ScriptedReply::failure("broken"),
            ScriptedReply::rows({}, {{System::requestExeStatus, 7}, {"58", "柜台忙"}}),
            ScriptedReply::garbage(),
            ScriptedReply::disconnect(),
            ScriptedReply::rows({TestAccount("T0101").counter},
                                {{System::requestExeStatus, "broken"}}),
        };
        AccountFixture fixture(numberedAccounts(250));
        fixture.world.login();
        fixture.world.link().onOccurrence(kQuery, 2, replies[kind]);
        ZnCore::instance()->setCommonInfo("hasQfii", "untouched");
        QStringList accounts;
        for (const TestAccount& account : numberedAccounts(250)) {
            accounts.append(account.account);
        }
        QMap<QString, tagUserAccountInfo> records = prepared(accounts);
        fixture.state.m_fundInitStarted = true;
        LogCapture log;
        fixture.query.batchQueryExtAccountInfo(fixture.presenter, records);

        QVERIFY(!fixture.state.m_fundInitStarted);
        QCOMPARE(fixture.world.link().requestCount(kQuery), 2);
        QCOMPARE(log.count(QtDebugMsg, line), 1);
        QCOMPARE(log.count(QtInfoMsg, "syncQueryExFundAccount------ begin send request"), 2);
        QCOMPARE(ZnCore::instance()->getCommonInfo("hasQfii"), QVariant("untouched"));
        const auto tables = fixture.state.m_accountLock.read();
        QCOMPARE(tables->m_accountInfoMap.size(), 100);
        QVERIFY(tables->m_allProductMap.isEmpty());
    }

    void query_rowCount_countsDataRowsOnly() {
        AccountFixture fixture(numberedAccounts(3));
        fixture.world.login();
        LogCapture log;
        fixture.load();
        QCOMPARE(log.count(QtDebugMsg,
                           "syncQueryExFundAccount------ get response code: 0 info : \"\" "
                           "ResultSize: 3"),
                 1);
        const auto tables = fixture.state.m_accountLock.read();
        QCOMPARE(tables->m_accountInfoMap.size(), 3);
    }

    void answer_fewerRowsThanItsCount_createsNoPhantomAccount() {
        AccountFixture fixture(numberedAccounts(3));
        fixture.world.login();
        fixture.world.link().on(kQuery, [](const QVariant& body) {
            return makeAnswer(body, {TestAccount("T0001").counter}, {{System::subGroupNumber, 3}});
        });
        fixture.load();
        const auto tables = fixture.state.m_accountLock.read();
        QCOMPARE(tables->m_accountInfoMap.keys(), QStringList{"T0001"});
    }

    void answer_emptyKeyAndDuplicates_leaveTheTablesWhole() {
        AccountFixture fixture(numberedAccounts(1));
        fixture.world.login();
        QVariantMap nameless = TestAccount("X").counter;
        nameless.insert(UserAccount::tradingAccount, QString());
        QVariantMap again = TestAccount("T0001").counter;
        again.insert("10081", "other");
        fixture.world.link().on(kQuery, [nameless, again](const QVariant& body) {
            return makeAnswer(body, {nameless, TestAccount("T0001").counter, again, QVariantMap()});
        });
        LogCapture log;
        fixture.load();
        QCOMPARE(log.count(QtWarningMsg,
                           "syncQueryExFundAccount------ row without a trading "
                           "account dropped"),
                 2);
        QCOMPARE(log.count(QtWarningMsg,
                           "syncQueryExFundAccount------ a further row of an account "
                           "dropped: \"T0001\""),
                 1);
        QCOMPARE(fixture.record("T0001").fundAccount, QString("fundT0001"));
        const auto tables = fixture.state.m_accountLock.read();
        QCOMPARE(tables->m_accountInfoMap.keys(), QStringList{"T0001"});
        QCOMPARE(tables->m_fundAccounts.value("fundT0001"), QStringList{"T0001"});
        QVERIFY(!tables->m_fundAccounts.contains("other"));
    }

    void answer_statusMissing_readsAsSuccess() {
        AccountFixture fixture(numberedAccounts(1));
        fixture.world.login();
        fixture.world.link().on(
            kQuery, [](const QVariant&) { return packRows({}, {TestAccount("T0001").counter}); });
        fixture.load();
        QCOMPARE(fixture.record("T0001").fundAccount, QString("fundT0001"));
    }

    void log_account_containsItsTenValues() {
        AccountFixture fixture(
            {TestAccount("T1").under("PA", "甲%2乙").withCounter("11354", "名%1")});
        fixture.world.login();
        LogCapture log;
        fixture.load();
        QCOMPARE(log.count(QtDebugMsg,
                           "获取到账号信息，交易账号T1，资金账号fundT1，账号名称名%1，外部通道号" +
                               CounterSysCode::Normal_ZN +
                               "，客户号client1，外部节点号node1，分支机构号11，产品名称甲%2乙，"
                               "产品账号PA，账号状态：正常"),
                 1);
    }
};

QTEST_GUILESS_MAIN(ExternalAccountQueryTest)
#include "external_account_query_test.moc"

#include <QtTest>
#include <functional>
#include <thread>

#include "account_fixture.h"
#include "log_capture.h"
#include "lookups_over.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

TestAccount account(const QString& name, const QString& product, const QString& asset,
                    const QString& client, const QString& fund, const QString& realFund,
                    const QString& type = FundAccountType::Cash) {
    return TestAccount(name)
        .under(product, "产品" + product)
        .with(UserAccount::assetAccount, asset)
        .withCounter("10079", client)
        .withCounter("10081", fund)
        .withCounter("10086", type)
        .withCounter(UserAccount::OTCFundAccount, realFund);
}

/// A small tree, in the platform's order; "cold" is frozen and is in the same nodes as "near1".
QList<TestAccount> tree() {
    return {account("near2", "P1", "S1", "c1", "F1", "R1", FundAccountType::Credit)
                .withSecurityAccount("G", "g2"),
            account("near1", "P1", "S1", "c1", "F1", "R1")
                .withSecurityAccount("G", "g1")
                .withSecurityAccount("Q", "q1"),
            account("cold", "P1", "S1", "c1", "F1", "R1")
                .frozen()
                .withSecurityAccount("G", "g0")
                .withSecurityAccount("Q", "q0"),
            account("far", "P1", "S2", "c1", "F2", "R2")
                .distributed()
                .withSecurityAccount("G", "g3")
                .withSecurityAccount("Q", "q3"),
            account("query", "P2", "S2", "c2", "F3", "R2")
                .withAuthorities({AuthorityType::AccountQuery})
                .withSecurityAccount("S", "s4"),
            account("south", "P2", "S2", "c2", "F3", "R3").withSecurityAccount("S", "s5")};
}

using List = QStringList;

}  // namespace

using Ask = std::function<QStringList(const AccountLookups&, bool wait)>;
Q_DECLARE_METATYPE(Ask)

/// The lists over tables that the load itself filled.
class AccountListsTest : public QObject {
    Q_OBJECT

    std::unique_ptr<AccountFixture> m_fixture;
    const AccountLookups& lookups() const { return m_fixture->lookups; }

    /// Every list function, with the widest arguments.
    static QList<QPair<QByteArray, Ask>> everyList() {
        return {
            {"accounts", [](auto& l, bool w) { return l.GetTradingAccountList(w, 0, true); }},
            {"accounts of a product",
             [](auto& l, bool w) { return l.GetTradingAccountListByProduct("P1", w, 0, true); }},
            {"records", [](auto& l, bool w) { return namesOf(l.GetFundAccountList(w, 0, true)); }},
            {"by property",
             [](auto& l, bool w) {
                 return namesOf(l.GetFundAccountListByFundProp(31, 0, true, {}, w));
             }},
            {"of a product",
             [](auto& l, bool w) {
                 return namesOf(l.GetAccountInfoListFromProduct("P1", w, 0, true));
             }},
            {"of an asset account",
             [](auto& l, bool w) { return namesOf(l.GetAccountInfoListFromAsset("S1", w, true)); }},
            {"of a customer",
             [](auto& l, bool w) {
                 return namesOf(l.GetAccountInfoListFromClientNo("c1", 31, w, true));
             }},
            {"of a fund account",
             [](auto& l, bool w) { return namesOf(l.GetAccountInfoListFromFund("F1", w)); }},
            {"one",
             [](auto& l, bool w) { return namesOf(l.GetAccountInfoListFromTrade("near1", w)); }},
            {"some",
             [](auto& l, bool w) {
                 return namesOf(l.GetAccountInfoListFromTradeList({"cold", "near1"}, w));
             }},
        };
    }
    static QList<QPair<QByteArray, Ask>> everyListThatAlwaysWaits() {
        return {
            {"distributed", [](auto& l, bool) { return namesOf(l.GetDistributedAccountList()); }},
            {"Hong Kong", [](auto& l, bool) { return namesOf(l.GetHKAccountInfoList()); }},
            {"H shares", [](auto& l, bool) { return namesOf(l.GetHStockCirculateAccountList()); }},
            {"customers", [](auto& l, bool) { return l.GetAllClientNoList(0, true); }},
            {"asset property",
             [](auto& l, bool) { return List{l.GetAccountAssetPropByTradingAccount("near1")}; }},
            {"counter code",
             [](auto& l, bool) { return List{l.GetExtCounterCodeByTradingAccount("near1")}; }},
            {"normal counter",
             [](auto& l, bool) {
                 return l.IsAccountNormalCounter("near1") ? List{"yes"} : List{};
             }},
        };
    }

private slots:
    void init() {
        m_fixture = std::make_unique<AccountFixture>(tree());
        m_fixture->world.login();
    }
    void cleanup() { m_fixture.reset(); }

    void frozenAccount_hasARecordAndIsInNoList() {
        m_fixture->load();
        QCOMPARE(lookups().GetAccountInfoByTradingAccount("cold", true).fundAccount, QString("F1"));
        for (const auto& list : everyList() + everyListThatAlwaysWaits()) {
            const QStringList names = list.second(lookups(), true);
            QVERIFY2(!names.isEmpty(), list.first);
            QVERIFY2(!names.contains("cold"), list.first);
        }
        QVERIFY(lookups().GetAccountInfoListFromTrade("cold", true).isEmpty());
        QCOMPARE(namesOf(lookups().GetAccountInfoListFromTradingWithSameRealFund("near1")),
                 (List{"near2", "near1"}));
    }

    void everyList_withoutWaitBeforeTheLoad_isEmptyAtOnce() {
        LogCapture log;
        for (const auto& list : everyList()) {
            QVERIFY2(list.second(lookups(), false).isEmpty(), list.first);
        }
        QVERIFY(lookups().GetAccountInfoListFromTradingWithSameRealFund("near1").isEmpty());
        QVERIFY(lookups().GetAllProductAccountMap().isEmpty());
        QVERIFY(lookups().GetAuthTradeProductAccountList().isEmpty());
        QVERIFY(!log.contains("GetFundAccountList wait for FundAccountInit"));
    }

    void everyWaitingList_beforeTheLoad_returnsOnlyAfterIt_data() {
        QTest::addColumn<Ask>("ask");
        for (const auto& list : everyList() + everyListThatAlwaysWaits()) {
            QTest::newRow(list.first) << list.second;
        }
    }
    void everyWaitingList_beforeTheLoad_returnsOnlyAfterIt() {
        QFETCH(Ask, ask);
        LogCapture log;
        QStringList got;
        std::atomic<bool> returned{false};
        std::thread reader([&] {
            got = ask(lookups(), true);
            returned = true;
        });
        const bool waits = log.waitFor("GetFundAccountList wait for FundAccountInit");
        const bool early = returned;
        m_fixture->load();
        reader.join();
        QVERIFY(waits);
        QVERIFY(!early);
        QVERIFY(!got.isEmpty());
    }

    void oneField_ofARecord_isThatOfTheRecord() {
        m_fixture->load();
        QCOMPARE(lookups().GetAccountAssetPropByTradingAccount("near2"), FundAccountType::Credit);
        QCOMPARE(lookups().GetAccountAssetPropByTradingAccount("nobody"), QString());
        QCOMPARE(lookups().GetExtCounterCodeByTradingAccount("near2"), CounterSysCode::Normal_ZN);
        QCOMPARE(lookups().GetExtCounterCodeByTradingAccount("nobody"), QString());
    }

    void normalCounter_record_dependsOnItsCode() {
        m_fixture->load();
        tagUserAccountInfo record;
        QVERIFY(!lookups().IsAccountNormalCounter(record));
        record.extCounterCode = CounterSysCode::QFII_ZN;
        QVERIFY(!lookups().IsAccountNormalCounter(record));
        record.extCounterCode = CounterSysCode::Normal_ZN;
        QVERIFY(lookups().IsAccountNormalCounter(record));
        QVERIFY(lookups().IsAccountNormalCounter(QString("near1")));
        QVERIFY(!lookups().IsAccountNormalCounter(QString("nobody")));
    }

    void product_list_isNarrowedByAuthorityAndCounter_data() {
        QTest::addColumn<QString>("product");
        QTest::addColumn<int>("authority");
        QTest::addColumn<bool>("distributed");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("all") << "P1" << 0 << true << List{"near2", "near1", "far"};
        QTest::newRow("central") << "P1" << 0 << false << List{"near2", "near1"};
        QTest::newRow("any right") << "P2" << 0 << true << List{"query", "south"};
        QTest::newRow("trade") << "P2" << 16 << true << List{"south"};
        QTest::newRow("edit") << "P2" << 2 << true << List{};
        QTest::newRow("unknown") << "P9" << 0 << true << List{};
    }
    void product_list_isNarrowedByAuthorityAndCounter() {
        QFETCH(QString, product);
        QFETCH(int, authority);
        QFETCH(bool, distributed);
        QFETCH(QStringList, expected);
        m_fixture->load();
        QCOMPARE(lookups().GetTradingAccountListByProduct(product, true, authority, distributed),
                 expected);
        QCOMPARE(
            namesOf(lookups().GetAccountInfoListFromProduct(product, true, authority, distributed)),
            expected);
    }

    void asset_list_containsTheAccountsBelowIt() {
        m_fixture->load();
        const auto below = [this](const QString& asset, bool distributed) {
            return namesOf(lookups().GetAccountInfoListFromAsset(asset, true, distributed));
        };
        QCOMPARE(below("S1", false), (List{"near2", "near1"}));
        QCOMPARE(below("S2", true), (List{"far", "query", "south"}));
        QCOMPARE(below("S2", false), (List{"query", "south"}));
        QCOMPARE(below("unknown", true), List());
    }

    void clientNo_mask_narrowsTheCustomersAccounts_data() {
        QTest::addColumn<QString>("client");
        QTest::addColumn<int>("mask");
        QTest::addColumn<bool>("distributed");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("none") << "c1" << 0 << true << List{};
        QTest::newRow("cash") << "c1" << 1 << true << List{"near1", "far"};
        QTest::newRow("cash, central") << "c1" << 1 << false << List{"near1"};
        QTest::newRow("credit") << "c1" << 2 << true << List{"near2"};
        QTest::newRow("both") << "c1" << 3 << true << List{"near2", "near1", "far"};
        QTest::newRow("futures") << "c1" << 8 << true << List{};
        QTest::newRow("unknown") << "c9" << 31 << true << List{};
    }
    void clientNo_mask_narrowsTheCustomersAccounts() {
        QFETCH(QString, client);
        QFETCH(int, mask);
        QFETCH(bool, distributed);
        QFETCH(QStringList, expected);
        m_fixture->load();
        QCOMPARE(namesOf(lookups().GetAccountInfoListFromClientNo(client, mask, true, distributed)),
                 expected);
    }

    void fund_list_containsTheAccountsBelowIt() {
        m_fixture->load();
        QCOMPARE(namesOf(lookups().GetAccountInfoListFromFund("F1", true)),
                 (List{"near2", "near1"}));
        QCOMPARE(namesOf(lookups().GetAccountInfoListFromFund("F2", true)), List{"far"});
        QCOMPARE(namesOf(lookups().GetAccountInfoListFromFund("F9", true)), List());
    }

    void trade_oneOrSome_areThoseKnownInAccountOrder() {
        m_fixture->load();
        QCOMPARE(namesOf(lookups().GetAccountInfoListFromTrade("far", true)), List{"far"});
        QCOMPARE(namesOf(lookups().GetAccountInfoListFromTrade("nobody", true)), List());
        QCOMPARE(namesOf(lookups().GetAccountInfoListFromTradeList(
                     {"south", "nobody", "near1", "south", "cold", "near2"}, true)),
                 (List{"near2", "near1", "south"}));
        QCOMPARE(namesOf(lookups().GetAccountInfoListFromTradeList({}, true)), List());
    }

    void realFund_ofAnAccount_isSharedByTheOthersOfIt() {
        m_fixture->load();
        const auto sharing = [this](const QString& name) {
            return namesOf(lookups().GetAccountInfoListFromTradingWithSameRealFund(name));
        };
        QCOMPARE(sharing("near1"), (List{"near2", "near1"}));
        QCOMPARE(sharing("cold"), (List{"near2", "near1"}));
        QCOMPARE(sharing("far"), (List{"far", "query"}));
        QCOMPARE(sharing("south"), List{"south"});
        QCOMPARE(sharing("nobody"), List());
    }

    void hongKong_lists_areTradableCentralCashAccountsThere() {
        m_fixture->load();
        QCOMPARE(namesOf(lookups().GetHKAccountInfoList()), (List{"near1", "south"}));
        QCOMPARE(namesOf(lookups().GetHStockCirculateAccountList()), List{"near1"});
    }

    void hongKong_noSecurityAccountsLoadedYet_loadsThem() {
        AccountState state;
        {
            const auto tables = state.m_accountLock.write();
            tagUserAccountInfo record;
            record.tradingAccount = "near1";
            tables->m_accountInfoMap.insert("near1", record);
            tables->m_normalAccounts = tables->m_centralAccounts = {"near1"};
            tables->m_authorityAccounts[16] = {"near1"};
            tables->m_fundPropAccounts[1] = {"near1"};
        }
        state.m_fundAccountInited = true;
        QCOMPARE(namesOf(LookupsOver(state).GetHKAccountInfoList()), List{"near1"});
        AccountState again;
        again.m_fundAccountInited = true;
        LookupsOver(again).GetHStockCirculateAccountList();
        const auto tables = again.m_accountLock.read();
        QVERIFY(tables->m_hStockCirculateAccounts.value("Q").contains("near1"));
    }

    void customers_ofAllAccounts_areListedOnceInAccountOrder() {
        m_fixture->load();
        QCOMPARE(lookups().GetAllClientNoList(0, true), (List{"c1", "c2"}));
        QCOMPARE(lookups().GetAllClientNoList(2, true), List());
        m_fixture->edits.SetAccountOrderList({"south", "near1"});
        QCOMPARE(lookups().GetAllClientNoList(16, false), (List{"c1", "c2"}));
        m_fixture->edits.SetAccountOrderList({"south", "near1", "near2"});
        QCOMPARE(lookups().GetAllClientNoList(16, false), (List{"c2", "c1"}));
    }

    void products_maps_areThoseOfTheLoad() {
        m_fixture->load();
        const QMap<QString, QString> both{{"P1", "产品P1"}, {"P2", "产品P2"}};
        QCOMPARE(lookups().GetAllProductAccountMap(), both);
        QCOMPARE(lookups().GetAuthTradeProductAccountList(), both);
    }
};

QTEST_GUILESS_MAIN(AccountListsTest)
#include "account_lists_test.moc"

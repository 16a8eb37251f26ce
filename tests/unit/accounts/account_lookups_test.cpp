#include <QtTest>
#include <atomic>
#include <functional>
#include <thread>

#include "account_lookups.h"
#include "account_state.h"
#include "log_capture.h"
#include "lookups_over.h"
#include "vocabulary/values.h"

namespace {

struct Entry {
    QString account;
    int authority = 31;
    int prop = 1;
    bool distributed = false;
};

void fill(AccountState& state, const QList<Entry>& entries) {
    const auto tables = state.m_accountLock.write();
    for (const Entry& entry : entries) {
        tagUserAccountInfo record;
        record.tradingAccount = entry.account;
        tables->m_accountInfoMap.insert(entry.account, record);
        tables->m_normalAccounts.insert(entry.account);
        (entry.distributed ? tables->m_distributedAccounts : tables->m_centralAccounts)
            .insert(entry.account);
        tables->m_fundPropAccounts[entry.prop].insert(entry.account);
        for (const int bit : {1, 2, 4, 8, 16}) {
            if (entry.authority & bit) {
                tables->m_authorityAccounts[bit].insert(entry.account);
            }
        }
    }
    state.m_fundAccountInited = true;
}

void setOrder(AccountState& state, const QStringList& order) {
    const auto list = state.m_accountOrderLock.write();
    list->assign(order);
}

}  // namespace

using Ask = std::function<int(const AccountLookups&)>;
Q_DECLARE_METATYPE(Ask)

class AccountLookupsTest : public QObject {
    Q_OBJECT

private slots:
    void accountsOfType_keepsOrderAndRepetitions() {
        AccountState state;
        {
            const auto tables = state.m_accountLock.write();
            const QMap<QString, QString> types{{"C1", FundAccountType::Cash},
                                               {"C2", FundAccountType::Cash},
                                               {"M1", FundAccountType::Credit},
                                               {"none", QString()}};
            for (auto type = types.cbegin(); type != types.cend(); ++type) {
                tagUserAccountInfo record;
                record.tradingAccount = type.key();
                record.fundAccountType = type.value();
                tables->m_accountInfoMap.insert(type.key(), record);
            }
        }
        // The tables are not loaded yet, and the question does not wait for that.
        const LookupsOver lookups(state);
        const QStringList given{"C2", "M1", "unknown", "", "none", "C1", "C2"};
        QCOMPARE(lookups.accountsOfType(given, FundAccountType::Cash),
                 (QStringList{"C2", "C1", "C2"}));
        QCOMPARE(lookups.accountsOfType(given, FundAccountType::Credit), QStringList{"M1"});
        QCOMPARE(lookups.accountsOfType({}, FundAccountType::Cash), QStringList());
        QCOMPARE(lookups.accountsOfType({"unknown", ""}, FundAccountType::Cash), QStringList());
    }

    void record_unknownAccount_isDefault() {
        AccountState state;
        fill(state, {{"A"}});
        const LookupsOver lookups(state);
        const tagUserAccountInfo record = lookups.GetAccountInfoByTradingAccount("nobody", true);
        QVERIFY(record.tradingAccount.isEmpty());
        QVERIFY(record.accountName.isEmpty());
        QCOMPARE(record.authorityFlags, 0);
        QCOMPARE(record.branchNo, 0);
        QCOMPARE(record.counterSiteType, 0);
    }

    void list_authorityMask_needsEveryBit_data() {
        QTest::addColumn<int>("mask");
        QTest::addColumn<bool>("includeDistributed");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("no condition") << 0 << true << QStringList{"all", "none", "query", "trade"};
        QTest::newRow("query") << 1 << true << QStringList{"all", "query"};
        QTest::newRow("trade") << 16 << true << QStringList{"all", "trade"};
        QTest::newRow("query and trade") << 17 << true << QStringList{"all"};
        QTest::newRow("edit") << 2 << true << QStringList{"all"};
        QTest::newRow("authority") << 4 << true << QStringList{"all"};
        QTest::newRow("subscribe") << 8 << true << QStringList{"all"};
        QTest::newRow("central only") << 0 << false << QStringList{"all", "none", "query"};
        QTest::newRow("central and trade") << 16 << false << QStringList{"all"};
        QTest::newRow("unknown bit") << 32 << true << QStringList{"all", "none", "query", "trade"};
    }
    void list_authorityMask_needsEveryBit() {
        QFETCH(int, mask);
        QFETCH(bool, includeDistributed);
        QFETCH(QStringList, expected);
        AccountState state;
        fill(state, {{"all", 31}, {"none", 0}, {"query", 1}, {"trade", 16, 1, true}});
        const LookupsOver lookups(state);
        QCOMPARE(lookups.GetTradingAccountList(true, mask, includeDistributed), expected);
        QCOMPARE(namesOf(lookups.GetFundAccountList(true, mask, includeDistributed)), expected);
    }

    void anyWaitingLookup_beforeTheLoad_returnsOnlyAfterIt_data() {
        QTest::addColumn<Ask>("ask");
        QTest::newRow("record") << Ask([](const AccountLookups& lookups) {
            return lookups.GetAccountInfoByTradingAccount("A", false).tradingAccount.size();
        });
        QTest::newRow("accounts") << Ask([](const AccountLookups& lookups) {
            return lookups.GetTradingAccountList(true, 0, true).size();
        });
        QTest::newRow("records") << Ask([](const AccountLookups& lookups) {
            return lookups.GetFundAccountList(true, 0, true).size();
        });
        QTest::newRow("by property") << Ask([](const AccountLookups& lookups) {
            return lookups.GetFundAccountListByFundProp(1, 0, true, {}, true).size();
        });
        QTest::newRow("distributed") << Ask([](const AccountLookups& lookups) {
            return lookups.GetDistributedAccountList().size();
        });
    }
    void anyWaitingLookup_beforeTheLoad_returnsOnlyAfterIt() {
        QFETCH(Ask, ask);
        AccountState state;
        const LookupsOver lookups(state);
        LogCapture log;
        std::atomic<int> got{-1};
        std::thread reader([&] { got = ask(lookups); });
        const bool waits = log.waitFor("GetFundAccountList wait for FundAccountInit");
        const int early = got;
        fill(state, {{"A", 31, 1, true}});
        reader.join();
        QVERIFY(waits);
        QCOMPARE(early, -1);
        QCOMPARE(got.load(), 1);
    }

    void list_noWaitBeforeTheLoad_isEmptyAtOnce() {
        AccountState state;
        const LookupsOver lookups(state);
        QVERIFY(lookups.GetTradingAccountList(false, 0, true).isEmpty());
        QVERIFY(lookups.GetFundAccountList(false, 0, true).isEmpty());
        QVERIFY(lookups.GetFundAccountListByFundProp(31, 0, true, {}, false).isEmpty());
        QVERIFY(lookups.GetAllProductAccountMap().isEmpty());
        QVERIFY(lookups.GetAuthTradeProductAccountList().isEmpty());
    }

    void fundProp_mask_combinesItsBits_data() {
        QTest::addColumn<int>("mask");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("none") << 0 << QStringList{};
        QTest::newRow("normal") << 1 << QStringList{"n"};
        QTest::newRow("margin") << 2 << QStringList{"m"};
        QTest::newRow("option") << 4 << QStringList{"o"};
        QTest::newRow("futures") << 8 << QStringList{"f"};
        QTest::newRow("metal") << 16 << QStringList{"g"};
        QTest::newRow("normal and margin") << 3 << QStringList{"m", "n"};
        QTest::newRow("all") << 31 << QStringList{"f", "g", "m", "n", "o"};
    }
    void fundProp_mask_combinesItsBits() {
        QFETCH(int, mask);
        QFETCH(QStringList, expected);
        AccountState state;
        fill(state, {{"n", 16, Torvi_InnerFundProp::normalTrade},
                     {"m", 16, Torvi_InnerFundProp::marginTrade},
                     {"o", 16, Torvi_InnerFundProp::optionTrade},
                     {"f", 16, Torvi_InnerFundProp::futuresTrade},
                     {"g", 16, Torvi_InnerFundProp::metalTrade}});
        const LookupsOver lookups(state);
        QCOMPARE(namesOf(lookups.GetFundAccountListByFundProp(mask, 16, true, {}, true)), expected);
    }

    void fundProp_exchanges_narrowToAccountsThatHaveOneThere() {
        AccountState state;
        fill(state, {{"sh"}, {"sz"}, {"both"}, {"neither"}});
        {
            const auto tables = state.m_accountLock.write();
            tables->m_hStockCirculateAccounts["1"] = {"sh", "both"};
            tables->m_hStockCirculateAccounts["2"] = {"sz", "both"};
        }
        const LookupsOver lookups(state);
        const auto on = [&lookups](const QStringList& exchanges) {
            return namesOf(lookups.GetFundAccountListByFundProp(1, 0, true, exchanges, true));
        };
        QCOMPARE(on({"1"}), (QStringList{"both", "sh"}));
        QCOMPARE(on({"1", "2"}), (QStringList{"both", "sh", "sz"}));
        QCOMPARE(on({"9"}), QStringList());
        QCOMPARE(on({}), (QStringList{"both", "neither", "sh", "sz"}));
    }

    void fundProp_moreExchangesThanBits_allNarrowTheList() {
        AccountState state;
        fill(state, {{"even"}, {"odd"}, {"none"}});
        {
            const auto tables = state.m_accountLock.write();
            for (int i = 0; i < 150; ++i) {
                tables->m_hStockCirculateAccounts[QString::number(i)] = {i % 2 ? "odd" : "even"};
            }
        }
        const LookupsOver lookups(state);
        for (int i = 0; i < 150; ++i) {
            const auto records =
                lookups.GetFundAccountListByFundProp(1, 0, true, {QString::number(i), "x"}, true);
            QCOMPARE(namesOf(records), QStringList{i % 2 ? "odd" : "even"});
        }
    }

    void distributed_list_containsTradableOnesOnly() {
        AccountState state;
        fill(state, {{"far", 16, 1, true}, {"farQuery", 1, 1, true}, {"near", 16, 1, false}});
        const LookupsOver lookups(state);
        QCOMPARE(namesOf(lookups.GetDistributedAccountList()), QStringList{"far"});
    }

    void order_accountsOutsideTheList_comeFirstInAStableOrder() {
        AccountState state;
        fill(state, {{"a"}, {"b"}, {"c"}, {"d"}});
        setOrder(state, {"d", "b"});
        const LookupsOver lookups(state);
        QCOMPARE(lookups.GetTradingAccountList(true, 0, true), (QStringList{"a", "c", "d", "b"}));
        QCOMPARE(lookups.GetTradingAccountList(true, 0, true), (QStringList{"a", "c", "d", "b"}));
    }

    void order_fortyAccountsOfWhichOneIsListed_sortsAll() {
        AccountState state;
        QList<Entry> entries;
        QStringList expected;
        for (int i = 0; i < 40; ++i) {
            const QString account = QStringLiteral("T%1").arg(i, 2, 10, QLatin1Char('0'));
            entries.append({account});
            if (i != 7) {
                expected.append(account);
            }
        }
        expected.append("T07");
        fill(state, entries);
        setOrder(state, {"T07"});
        QCOMPARE(LookupsOver(state).GetTradingAccountList(true, 0, true), expected);
    }

    void order_accountListedTwice_isAtItsFirstPlace() {
        AccountState state;
        fill(state, {{"a"}, {"b"}, {"c"}});
        setOrder(state, {"c", "a", "b", "c"});
        QCOMPARE(LookupsOver(state).GetTradingAccountList(true, 0, true),
                 (QStringList{"c", "a", "b"}));
    }

    void list_tablesChanged_reflectsTheChange() {
        AccountState state;
        fill(state, {{"a"}, {"b", 16, 2}});
        const LookupsOver lookups(state);
        QCOMPARE(lookups.GetTradingAccountList(true, 0, true), (QStringList{"a", "b"}));
        fill(state, {{"c", 16, 2}});
        QCOMPARE(lookups.GetTradingAccountList(true, 0, true), (QStringList{"a", "b", "c"}));
        {
            const auto tables = state.m_accountLock.write();
            tables->m_accountInfoMap["b"].accountName = "changed";
            tables->m_normalAccounts.remove("c");
        }
        setOrder(state, {"b", "a"});
        QCOMPARE(lookups.GetTradingAccountList(true, 0, true), (QStringList{"b", "a"}));
        const auto records = lookups.GetFundAccountListByFundProp(2, 16, true, {}, true);
        QCOMPARE(records.size(), 1);
        QCOMPARE(records.first().accountName, QString("changed"));
        // The order alone.
        setOrder(state, {"a", "b"});
        QCOMPARE(lookups.GetTradingAccountList(true, 0, true), (QStringList{"a", "b"}));
    }

    void list_accountWithoutARecord_isSkippedInRecords() {
        AccountState state;
        fill(state, {{"a"}, {"b"}});
        {
            const auto tables = state.m_accountLock.write();
            tables->m_accountInfoMap.remove("a");
        }
        const LookupsOver lookups(state);
        QCOMPARE(lookups.GetTradingAccountList(true, 0, true), (QStringList{"a", "b"}));
        QCOMPARE(namesOf(lookups.GetFundAccountList(true, 0, true)), QStringList{"b"});
    }
};

QTEST_GUILESS_MAIN(AccountLookupsTest)
#include "account_lookups_test.moc"

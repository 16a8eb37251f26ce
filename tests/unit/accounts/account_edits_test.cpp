#include <QtTest>
#include <algorithm>
#include <thread>
#include <vector>

#include "account_room.h"
#include "log_capture.h"
#include "shared_settings.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "wait_for.h"
#include "zncore/zn_core.h"

namespace {

inline const QString kQuery = QStringLiteral("120006");

QString savedOrder() {
    return ZnCore::instance()->settings(SettingFieldName::AccountListOrder).toString();
}

/// What the file itself holds, read by another object.
QString inFile(const QString& account) {
    const SharedSettings file(VelmarUtils::GetUserCfgFileDir() + "fundAbbr.cfg", nullptr);
    return file.lockedValue(account).toString();
}

}  // namespace

class AccountEditsTest : public QObject {
    Q_OBJECT

private slots:
    void order_set_isTakenSavedAndLogged() {
        AccountRoom room(numberedAccounts(3));
        room.world.login();
        room.load();
        LogCapture log;
        QVERIFY(room.edits.SetAccountOrderList({"T0003", "T0001", "T0002"}));
        QCOMPARE(room.lookups.GetTradingAccountList(true, 0, true),
                 (QStringList{"T0003", "T0001", "T0002"}));
        QCOMPARE(savedOrder(), QString("T0003,T0001,T0002"));
        QCOMPARE(log.count(QtDebugMsg,
                           "ZnBusinessDataManager::SetAccountOrderList "
                           "(\"T0003\", \"T0001\", \"T0002\") (\"T0001\", \"T0002\", \"T0003\")"),
                 1);
    }

    void order_fewerEntriesThanAccounts_letsTheOthersLead() {
        AccountRoom room(numberedAccounts(3));
        room.world.login();
        room.load();
        QVERIFY(room.edits.SetAccountOrderList({"T0001"}));
        QCOMPARE(room.lookups.GetTradingAccountList(true, 0, true),
                 (QStringList{"T0002", "T0003", "T0001"}));
        QVERIFY(room.edits.SetAccountOrderList({}));
        QCOMPARE(savedOrder(), QString());
    }

    void order_moreEntriesThanAccounts_isRefusedAndChangesNothing() {
        AccountRoom room(numberedAccounts(2));
        room.world.login();
        room.load();
        QVERIFY(room.edits.SetAccountOrderList({"T0002", "T0001"}));
        QVERIFY(!room.edits.SetAccountOrderList({"T0001", "T0002", "T0003"}));
        QCOMPARE(room.order(), (QStringList{"T0002", "T0001"}));
        QCOMPARE(savedOrder(), QString("T0002,T0001"));
    }

    void order_asManyEntriesAsRecords_countsTheFrozenOnes() {
        AccountRoom room({TestAccount("T1"), TestAccount("T2"), TestAccount("cold").frozen()});
        room.world.login();
        room.load();
        QCOMPARE(room.lookups.GetTradingAccountList(true, 0, true).size(), 2);
        const LogCapture log;
        QVERIFY(room.edits.SetAccountOrderList({"cold", "T2", "T1"}));
        QCOMPARE(savedOrder(), QString("cold,T2,T1"));
        QVERIFY(!room.edits.SetAccountOrderList({"T1", "T2", "cold", "more"}));
        QCOMPARE(savedOrder(), QString("cold,T2,T1"));
        // Told before it is refused.
        QCOMPARE(log.count(QtDebugMsg,
                           "ZnBusinessDataManager::SetAccountOrderList "
                           "(\"T1\", \"T2\", \"cold\", \"more\") (\"T1\", \"T2\", \"cold\")"),
                 1);
    }

    void order_beforeTheLoad_takesNoEntry() {
        AccountRoom room(numberedAccounts(2));
        LogCapture log;
        QVERIFY(!room.edits.SetAccountOrderList({"T0001"}));
        QVERIFY(room.edits.SetAccountOrderList({}));
        QVERIFY(!log.contains("GetFundAccountList wait for FundAccountInit"));
    }

    void abbreviation_set_isTheDisplayNameAndInTheFile() {
        AccountRoom room(numberedAccounts(2));
        room.world.login();
        room.load();
        room.edits.SetFundAbbrName({{"T0001", "简称,一"}});
        QCOMPARE(room.record("T0001").abbrName, QString("简称,一"));
        QCOMPARE(room.record("T0001").accountName, QString("简称,一"));
        QCOMPARE(room.record("T0002").accountName, QString("柜台T0002"));
        QCOMPARE(inFile("T0001"), QString("简称,一"));
    }

    void abbreviation_emptied_givesTheCountersNameBack() {
        AccountRoom room(numberedAccounts(1));
        room.world.login();
        room.load();
        room.edits.SetFundAbbrName({{"T0001", "short"}});
        room.edits.SetFundAbbrName({{"T0001", ""}});
        QCOMPARE(room.record("T0001").abbrName, QString());
        QCOMPARE(room.record("T0001").accountName, QString("柜台T0001"));
        QCOMPARE(inFile("T0001"), QString());
    }

    void abbreviation_unknownAccountAfterTheLoad_hasARecordAndNoPlaceInAList() {
        AccountRoom room(numberedAccounts(1));
        room.world.login();
        room.load();
        room.edits.SetFundAbbrName({{"nobody", "short"}});
        QCOMPARE(room.record("nobody").accountName, QString("short"));
        QCOMPARE(room.record("nobody").fundAccount, QString());
        QCOMPARE(room.lookups.GetTradingAccountList(true, 0, true), QStringList{"T0001"});
        QVERIFY(room.lookups.GetAccountInfoListFromTrade("nobody", true).isEmpty());
        QCOMPARE(inFile("nobody"), QString("short"));
    }

    void abbreviation_beforeTheLoad_isFoundByIt() {
        AccountRoom room(numberedAccounts(1));
        room.edits.SetFundAbbrName({{"T0001", "early"}});
        QCOMPARE(inFile("T0001"), QString("early"));
        room.world.login();
        room.load();
        QCOMPARE(room.record("T0001").accountName, QString("early"));
        QCOMPARE(room.record("T0001").fundAccount, QString("fundT0001"));
        QCOMPARE(room.lookups.GetTradingAccountList(true, 0, true), QStringList{"T0001"});
    }

    void abbreviation_whileTheLoadRuns_reachesRowsBeforeAndAfter() {
        AccountRoom room(numberedAccounts(101));
        room.world.login();
        room.world.link().onOccurrence(kQuery, 2,
                                       ScriptedReply::with([&room](const QVariant& body) {
                                           return room.world.counterAnswer(body);
                                       }).held());
        room.startLoad();
        QVERIFY(waitFor([&room] { return room.world.link().heldCount() == 1; }));
        room.edits.SetFundAbbrName({{"T0001", "published"}, {"T0101", "to come"}});
        room.world.link().release();
        QCOMPARE(room.record("T0001").accountName, QString("published"));
        QCOMPARE(room.record("T0101").accountName, QString("to come"));
        QCOMPARE(room.record("T0101").fundAccount, QString("fundT0101"));
    }

    void abbreviations_fromTwoThreads_areAllInTheFile() {
        AccountRoom room(numberedAccounts(40));
        room.world.login();
        room.load();
        const auto name = [&room](int first) {
            for (int i = first; i <= 40; i += 2) {
                const QString account = QStringLiteral("T%1").arg(i, 4, 10, QLatin1Char('0'));
                room.edits.SetFundAbbrName({{account, "n" + account}});
            }
        };
        std::thread other([&name] { name(2); });
        name(1);
        other.join();
        for (const QString& account : room.lookups.GetTradingAccountList(true, 0, true)) {
            QCOMPARE(inFile(account), "n" + account);
            QCOMPARE(room.record(account).accountName, "n" + account);
        }
    }

    void edits_whileOthersList_leaveEveryListWhole() {
        AccountRoom room(numberedAccounts(30));
        room.world.login();
        room.load();
        std::atomic<bool> done{false};
        std::atomic<int> wrong{0};
        std::vector<std::thread> readers;
        for (int i = 0; i < 3; ++i) {
            readers.emplace_back([&] {
                while (!done) {
                    const auto records = room.lookups.GetFundAccountList(true, 16, true);
                    wrong += records.size() == 30 ? 0 : 1;
                    // Either end of the order leads, nothing in between.
                    const QString first = records.value(0).tradingAccount;
                    wrong += first == "T0001" || first == "T0030" ? 0 : 1;
                }
            });
        }
        QStringList order = room.order();
        for (int i = 0; i < 30; ++i) {
            std::reverse(order.begin(), order.end());
            room.edits.SetAccountOrderList(order);
            room.edits.SetFundAbbrName({{"T0002", QString::number(i)}});
            room.edits.UpdateFundAccountInfo("T0003", QString::number(i), FundAccountType::Cash);
        }
        done = true;
        for (std::thread& reader : readers) {
            reader.join();
        }
        QCOMPARE(wrong.load(), 0);
        const auto records = room.lookups.GetAccountInfoListFromTradeList({"T0002", "T0003"}, true);
        QCOMPARE(records.value(0).accountName, QString("29"));
        QCOMPARE(records.value(1).accountName, QString("29"));
    }

    void update_fundOfOneAccount_changesThatRecord() {
        AccountRoom room(numberedAccounts(2));
        room.world.login();
        room.load();
        LogCapture log;
        room.edits.UpdateFundAccountInfo("T0001", "new name", FundAccountType::Credit);
        QCOMPARE(room.record("T0001").accountName, QString("new name"));
        QCOMPARE(room.record("T0001").fundAccountType, FundAccountType::Credit);
        QCOMPARE(room.record("T0002").accountName, QString("柜台T0002"));
        QCOMPARE(log.count(QtDebugMsg, "ZnBusinessDataManager::UpdateFundAccountInfo  detected"),
                 1);
    }

    void update_fundOfSeveral_changesThemAll() {
        AccountRoom room({TestAccount("T1").withCounter("10081", "F"),
                          TestAccount("T2").withCounter("10081", "F"), TestAccount("T3")});
        room.world.login();
        room.load();
        room.edits.UpdateFundAccountInfo("T2", "shared", FundAccountType::Option);
        for (const char* account : {"T1", "T2"}) {
            QCOMPARE(room.record(account).accountName, QString("shared"));
            QCOMPARE(room.record(account).fundAccountType, FundAccountType::Option);
        }
        QCOMPARE(room.record("T3").accountName, QString("柜台T3"));
    }

    void update_fundSharedWithAFrozenAccount_leavesThatOneAsItWas() {
        AccountRoom room({TestAccount("T1").withCounter("10081", "F"),
                          TestAccount("T2").withCounter("10081", "F"),
                          TestAccount("cold").withCounter("10081", "F").frozen()});
        room.world.login();
        room.load();
        room.edits.UpdateFundAccountInfo("T1", "shared", FundAccountType::Option);
        QCOMPARE(room.record("T2").accountName, QString("shared"));
        QCOMPARE(room.record("cold").accountName, QString("柜台cold"));
        QCOMPARE(room.record("cold").fundAccountType, FundAccountType::Cash);
    }

    void update_kindOfFund_leavesTheAccountInTheListsOfTheOldOne() {
        AccountRoom room(numberedAccounts(1));
        room.world.login();
        room.load();
        room.edits.UpdateFundAccountInfo("T0001", "new", FundAccountType::Option);
        const auto accountsOf = [&room](int fundProp) {
            return room.lookups.GetFundAccountListByFundProp(fundProp, 0, true, {}, true);
        };
        QVERIFY(accountsOf(Torvi_InnerFundProp::optionTrade).isEmpty());
        const auto normal = accountsOf(Torvi_InnerFundProp::normalTrade);
        QCOMPARE(normal.size(), 1);
        QCOMPARE(normal.first().fundAccountType, FundAccountType::Option);
    }

    void update_unknownAccount_changesNothing() {
        AccountRoom room(numberedAccounts(1));
        room.world.login();
        room.load();
        const LogCapture log;
        room.edits.UpdateFundAccountInfo("nobody", "name", FundAccountType::Credit);
        QCOMPARE(log.count(QtDebugMsg, "ZnBusinessDataManager::UpdateFundAccountInfo  detected"),
                 1);
        QCOMPARE(room.record("nobody").accountName, QString());
        QCOMPARE(room.record("T0001").accountName, QString("柜台T0001"));
        const auto tables = room.state.m_accountLock.read();
        QCOMPARE(tables->m_accountInfoMap.size(), 1);
    }
};

QTEST_GUILESS_MAIN(AccountEditsTest)
#include "account_edits_test.moc"

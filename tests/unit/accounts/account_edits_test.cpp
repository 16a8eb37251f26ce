#include <QDir>
#include <QtTest>
#include <algorithm>
#include <functional>
#include <thread>
#include <vector>

#include "account_fixture.h"
#include "log_capture.h"
#include "log_hook.h"
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

/// What the file contains, read through another object.
QString inFile(const QString& account) {
    const SharedSettings file(VelmarUtils::GetUserCfgFileDir() + "fundAbbr.cfg", nullptr);
    return file.lockedValue(account).toString();
}

/// Whether another thread can finish `read` while `edit` is logging a line that contains `part`.
bool canReadDuring(const QString& part, const std::function<void()>& edit,
                   const std::function<void()>& read) {
    std::thread reader;
    std::atomic<bool> done{false};
    bool finished = false;
    {
        const LogHook hook(part, [&] {
            if (!reader.joinable()) {
                reader = std::thread([&] {
                    read();
                    done = true;
                });
                finished = waitFor([&done] { return done.load(); });
            }
        });
        // Not on this thread, where waiting runs the settings' own events, which need their lock.
        std::thread(edit).join();
    }
    if (reader.joinable()) {
        reader.join();
    }
    return finished;
}

}  // namespace

class AccountEditsTest : public QObject {
    Q_OBJECT

private slots:
    void order_set_takesEffectAndIsSavedAndLogged() {
        AccountFixture fixture(numberedAccounts(3));
        fixture.world.login();
        fixture.load();
        LogCapture log;
        QVERIFY(fixture.edits.SetAccountOrderList({"T0003", "T0001", "T0002"}));
        QCOMPARE(fixture.lookups.GetTradingAccountList(true, 0, true),
                 (QStringList{"T0003", "T0001", "T0002"}));
        QCOMPARE(savedOrder(), QString("T0003,T0001,T0002"));
        QCOMPARE(log.count(QtDebugMsg,
                           "ZnBusinessDataManager::SetAccountOrderList "
                           "(\"T0003\", \"T0001\", \"T0002\") (\"T0001\", \"T0002\", \"T0003\")"),
                 1);
    }

    void order_fewerEntriesThanAccounts_putsTheOthersFirst() {
        AccountFixture fixture(numberedAccounts(3));
        fixture.world.login();
        fixture.load();
        QVERIFY(fixture.edits.SetAccountOrderList({"T0001"}));
        QCOMPARE(fixture.lookups.GetTradingAccountList(true, 0, true),
                 (QStringList{"T0002", "T0003", "T0001"}));
        QVERIFY(fixture.edits.SetAccountOrderList({}));
        QCOMPARE(savedOrder(), QString());
    }

    void order_moreEntriesThanAccounts_isRefusedAndChangesNothing() {
        AccountFixture fixture(numberedAccounts(2));
        fixture.world.login();
        fixture.load();
        QVERIFY(fixture.edits.SetAccountOrderList({"T0002", "T0001"}));
        QVERIFY(!fixture.edits.SetAccountOrderList({"T0001", "T0002", "T0003"}));
        QCOMPARE(fixture.order(), (QStringList{"T0002", "T0001"}));
        QCOMPARE(savedOrder(), QString("T0002,T0001"));
    }

    void order_asManyEntriesAsRecords_countsTheFrozenOnes() {
        AccountFixture fixture(
            {TestAccount("T1"), TestAccount("T2"), TestAccount("cold").frozen()});
        fixture.world.login();
        fixture.load();
        QCOMPARE(fixture.lookups.GetTradingAccountList(true, 0, true).size(), 2);
        const LogCapture log;
        QVERIFY(fixture.edits.SetAccountOrderList({"cold", "T2", "T1"}));
        QCOMPARE(savedOrder(), QString("cold,T2,T1"));
        QVERIFY(!fixture.edits.SetAccountOrderList({"T1", "T2", "cold", "more"}));
        QCOMPARE(savedOrder(), QString("cold,T2,T1"));
        // Logged before it is refused.
        QCOMPARE(log.count(QtDebugMsg,
                           "ZnBusinessDataManager::SetAccountOrderList "
                           "(\"T1\", \"T2\", \"cold\", \"more\") (\"T1\", \"T2\", \"cold\")"),
                 1);
    }

    void order_beforeTheLoad_refusesAnyEntry() {
        AccountFixture fixture(numberedAccounts(2));
        LogCapture log;
        QVERIFY(!fixture.edits.SetAccountOrderList({"T0001"}));
        QVERIFY(fixture.edits.SetAccountOrderList({}));
        QVERIFY(!log.contains("GetFundAccountList wait for FundAccountInit"));
    }

    void abbreviation_set_isTheDisplayNameAndInTheFile() {
        AccountFixture fixture(numberedAccounts(2));
        fixture.world.login();
        fixture.load();
        fixture.edits.SetFundAbbrName({{"T0001", "简称,一"}});
        QCOMPARE(fixture.record("T0001").abbrName, QString("简称,一"));
        QCOMPARE(fixture.record("T0001").accountName, QString("简称,一"));
        QCOMPARE(fixture.record("T0002").accountName, QString("柜台T0002"));
        QCOMPARE(inFile("T0001"), QString("简称,一"));
    }

    void abbreviation_emptied_restoresTheCountersName() {
        AccountFixture fixture(numberedAccounts(1));
        fixture.world.login();
        fixture.load();
        fixture.edits.SetFundAbbrName({{"T0001", "short"}});
        fixture.edits.SetFundAbbrName({{"T0001", ""}});
        QCOMPARE(fixture.record("T0001").abbrName, QString());
        QCOMPARE(fixture.record("T0001").accountName, QString("柜台T0001"));
        QCOMPARE(inFile("T0001"), QString());
    }

    void abbreviation_unknownAccountAfterTheLoad_hasARecordAndIsInNoList() {
        AccountFixture fixture(numberedAccounts(1));
        fixture.world.login();
        fixture.load();
        fixture.edits.SetFundAbbrName({{"nobody", "short"}});
        QCOMPARE(fixture.record("nobody").tradingAccount, QString("nobody"));
        QCOMPARE(fixture.record("nobody").accountName, QString("short"));
        QCOMPARE(fixture.record("nobody").fundAccount, QString());
        QCOMPARE(fixture.lookups.GetTradingAccountList(true, 0, true), QStringList{"T0001"});
        QVERIFY(fixture.lookups.GetAccountInfoListFromTrade("nobody", true).isEmpty());
        QCOMPARE(inFile("nobody"), QString("short"));
    }

    void abbreviation_beforeTheLoad_isFoundByIt() {
        AccountFixture fixture(numberedAccounts(1));
        fixture.edits.SetFundAbbrName({{"T0001", "early"}});
        QCOMPARE(inFile("T0001"), QString("early"));
        fixture.world.login();
        fixture.load();
        QCOMPARE(fixture.record("T0001").accountName, QString("early"));
        QCOMPARE(fixture.record("T0001").fundAccount, QString("fundT0001"));
        QCOMPARE(fixture.lookups.GetTradingAccountList(true, 0, true), QStringList{"T0001"});
    }

    void abbreviation_whileTheLoadRuns_reachesRowsBeforeAndAfter() {
        AccountFixture fixture(numberedAccounts(101));
        fixture.world.login();
        fixture.world.link().onOccurrence(kQuery, 2,
                                          ScriptedReply::with([&fixture](const QVariant& body) {
                                              return fixture.world.counterAnswer(body);
                                          }).held());
        fixture.startLoad();
        QVERIFY(waitFor([&fixture] { return fixture.world.link().heldCount() == 1; }));
        fixture.edits.SetFundAbbrName({{"T0001", "published"}, {"T0101", "to come"}});
        fixture.world.link().release();
        QCOMPARE(fixture.record("T0001").accountName, QString("published"));
        QCOMPARE(fixture.record("T0101").accountName, QString("to come"));
        QCOMPARE(fixture.record("T0101").fundAccount, QString("fundT0101"));
    }

    void abbreviation_whileTheFileIsWritten_leavesTheTableToReaders() {
        AccountFixture fixture(numberedAccounts(1));
        fixture.world.login();
        fixture.load();
        // The file cannot be written, and that is logged in the middle of the save.
        QVERIFY(QDir().mkpath(VelmarUtils::GetUserCfgFileDir() + "fundAbbr.cfg"));
        const LogCapture log;
        QVERIFY(canReadDuring(
            "not written to",
            [&] {
                fixture.edits.SetFundAbbrName({{"T0001", "new"}});
            },
            [&] { fixture.record("T0001"); }));
        QCOMPARE(fixture.record("T0001").accountName, QString("new"));
    }

    void order_whileTheSettingIsWritten_leavesTheListsToReaders() {
        AccountFixture fixture(numberedAccounts(2));
        fixture.world.login();
        fixture.load();
        // The settings cannot be written, and that is logged in the middle of the save.
        const QString folder = fixture.world.homeDir() + "/settings";
        QVERIFY(QDir(folder).removeRecursively());
        QFile blocker(folder);
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        const LogCapture log;
        QVERIFY(canReadDuring(
            SettingFieldName::AccountListOrder,
            [&] {
                fixture.edits.SetAccountOrderList({"T0002", "T0001"});
            },
            [&] { fixture.lookups.GetTradingAccountList(true, 0, true); }));
        QCOMPARE(fixture.order(), (QStringList{"T0002", "T0001"}));
    }

    void abbreviations_fromTwoThreads_areAllInTheFile() {
        AccountFixture fixture(numberedAccounts(40));
        fixture.world.login();
        fixture.load();
        const auto name = [&fixture](int first) {
            for (int i = first; i <= 40; i += 2) {
                const QString account = QStringLiteral("T%1").arg(i, 4, 10, QLatin1Char('0'));
                fixture.edits.SetFundAbbrName({{account, "n" + account}});
            }
        };
        std::thread other([&name] { name(2); });
        name(1);
        other.join();
        for (const QString& account : fixture.lookups.GetTradingAccountList(true, 0, true)) {
            QCOMPARE(inFile(account), "n" + account);
            QCOMPARE(fixture.record(account).accountName, "n" + account);
        }
    }

    void edits_whileOthersList_leaveEveryListWhole() {
        AccountFixture fixture(numberedAccounts(30));
        fixture.world.login();
        fixture.load();
        std::atomic<bool> done{false};
        std::atomic<int> wrong{0};
        std::vector<std::thread> readers;
        for (int i = 0; i < 3; ++i) {
            readers.emplace_back([&] {
                while (!done) {
                    const auto records = fixture.lookups.GetFundAccountList(true, 16, true);
                    wrong += records.size() == 30 ? 0 : 1;
                    // Either end of the order is first, nothing in between.
                    const QString first = records.value(0).tradingAccount;
                    wrong += first == "T0001" || first == "T0030" ? 0 : 1;
                }
            });
        }
        QStringList order = fixture.order();
        for (int i = 0; i < 30; ++i) {
            std::reverse(order.begin(), order.end());
            fixture.edits.SetAccountOrderList(order);
            fixture.edits.SetFundAbbrName({{"T0002", QString::number(i)}});
            fixture.edits.UpdateFundAccountInfo("T0003", QString::number(i), FundAccountType::Cash);
        }
        done = true;
        for (std::thread& reader : readers) {
            reader.join();
        }
        QCOMPARE(wrong.load(), 0);
        const auto records =
            fixture.lookups.GetAccountInfoListFromTradeList({"T0002", "T0003"}, true);
        QCOMPARE(records.value(0).accountName, QString("29"));
        QCOMPARE(records.value(1).accountName, QString("29"));
    }

    void update_fundOfOneAccount_changesThatRecord() {
        AccountFixture fixture(numberedAccounts(2));
        fixture.world.login();
        fixture.load();
        LogCapture log;
        fixture.edits.UpdateFundAccountInfo("T0001", "new name", FundAccountType::Credit);
        QCOMPARE(fixture.record("T0001").accountName, QString("new name"));
        QCOMPARE(fixture.record("T0001").fundAccountType, FundAccountType::Credit);
        QCOMPARE(fixture.record("T0002").accountName, QString("柜台T0002"));
        QCOMPARE(log.count(QtDebugMsg, "ZnBusinessDataManager::UpdateFundAccountInfo  detected"),
                 1);
    }

    void update_fundOfSeveral_changesThemAll() {
        AccountFixture fixture({TestAccount("T1").withCounter("10081", "F"),
                                TestAccount("T2").withCounter("10081", "F"), TestAccount("T3")});
        fixture.world.login();
        fixture.load();
        fixture.edits.UpdateFundAccountInfo("T2", "shared", FundAccountType::Option);
        for (const char* account : {"T1", "T2"}) {
            QCOMPARE(fixture.record(account).accountName, QString("shared"));
            QCOMPARE(fixture.record(account).fundAccountType, FundAccountType::Option);
        }
        QCOMPARE(fixture.record("T3").accountName, QString("柜台T3"));
    }

    void update_fundSharedWithAFrozenAccount_leavesThatOneAsItWas() {
        AccountFixture fixture({TestAccount("T1").withCounter("10081", "F"),
                                TestAccount("T2").withCounter("10081", "F"),
                                TestAccount("cold").withCounter("10081", "F").frozen()});
        fixture.world.login();
        fixture.load();
        fixture.edits.UpdateFundAccountInfo("T1", "shared", FundAccountType::Option);
        QCOMPARE(fixture.record("T2").accountName, QString("shared"));
        QCOMPARE(fixture.record("cold").accountName, QString("柜台cold"));
        QCOMPARE(fixture.record("cold").fundAccountType, FundAccountType::Cash);
    }

    void update_frozenAccount_changesTheOthersOnlyWhenTwoShareTheFund_data() {
        QTest::addColumn<int>("others");
        QTest::addColumn<QString>("name");
        QTest::newRow("one other") << 1 << "柜台T0001";
        QTest::newRow("two others") << 2 << "shared";
    }
    void update_frozenAccount_changesTheOthersOnlyWhenTwoShareTheFund() {
        QFETCH(int, others);
        QFETCH(QString, name);
        QList<TestAccount> accounts = numberedAccounts(others);
        accounts.append(TestAccount("cold").frozen());
        for (TestAccount& account : accounts) {
            account.withCounter("10081", "F");
        }
        AccountFixture fixture(accounts);
        fixture.world.login();
        fixture.load();
        fixture.edits.UpdateFundAccountInfo("cold", "shared", FundAccountType::Cash);
        QCOMPARE(fixture.record("cold").accountName, QString("shared"));
        QCOMPARE(fixture.record("T0001").accountName, name);
    }

    void update_kindOfFund_leavesTheAccountInTheListsOfTheOldOne() {
        AccountFixture fixture(numberedAccounts(1));
        fixture.world.login();
        fixture.load();
        fixture.edits.UpdateFundAccountInfo("T0001", "new", FundAccountType::Option);
        const auto accountsOf = [&fixture](int fundProp) {
            return fixture.lookups.GetFundAccountListByFundProp(fundProp, 0, true, {}, true);
        };
        QVERIFY(accountsOf(Torvi_InnerFundProp::optionTrade).isEmpty());
        const auto normal = accountsOf(Torvi_InnerFundProp::normalTrade);
        QCOMPARE(normal.size(), 1);
        QCOMPARE(normal.first().fundAccountType, FundAccountType::Option);
    }

    void update_unknownAccount_changesNothing() {
        AccountFixture fixture(numberedAccounts(1));
        fixture.world.login();
        fixture.load();
        const LogCapture log;
        fixture.edits.UpdateFundAccountInfo("nobody", "name", FundAccountType::Credit);
        QCOMPARE(log.count(QtDebugMsg, "ZnBusinessDataManager::UpdateFundAccountInfo  detected"),
                 1);
        QCOMPARE(fixture.record("nobody").accountName, QString());
        QCOMPARE(fixture.record("T0001").accountName, QString("柜台T0001"));
        const auto tables = fixture.state.m_accountLock.read();
        QCOMPARE(tables->m_accountInfoMap.size(), 1);
    }
};

QTEST_GUILESS_MAIN(AccountEditsTest)
#include "account_edits_test.moc"

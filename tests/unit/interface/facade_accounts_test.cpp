#include <QtTest>
#include <functional>

#include "account_edits.h"
#include "account_lookups.h"
#include "client_world.h"
#include "facade_value.h"
#include "first_load.h"
#include "local_platform.h"
#include "log_capture.h"
#include "process_per_case.h"
#include "run_on_thread.h"
#include "security_accounts.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager_presenter_class.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "wait_for.h"
#include "zn_business_data_manager.h"

namespace {

using Facade = VelmarBusinessDataInterface;

QList<TestAccount> accounts() {
    return {TestAccount("T1")
                .withCounter("10079", "c1")
                .withCounter("10081", "F1")
                .withCounter(UserAccount::OTCFundAccount, "R1")
                .with(UserAccount::assetAccount, "S1")
                .withSecurityAccount("1", "A1")
                .withSecurityAccount("1", "A2")
                .withSecurityAccount("G", "G1")
                .withSecurityAccount("Q", "Q1"),
            TestAccount("T2")
                .distributed()
                .under("P2", "产品二")
                .withCounter("10079", "c2")
                .withCounter("10086", FundAccountType::Credit)
                .withCounter("10078", CounterSysCode::QFII_ZN)
                .withSecurityAccount("2", "B1"),
            TestAccount("T3").withAuthorities({AuthorityType::AccountQuery})};
}

template <class T>
QJsonValue json(const T& value) {
    return FacadeValue<T>::toJson(value);
}

/// The answers of the exported class and of the core to one question.
struct Question {
    QByteArray name;
    std::function<QJsonValue()> facade;
    std::function<QJsonValue()> core;
};

#define VELMAR_ASK(companion, ...)                        \
    Question {                                            \
#__VA_ARGS__, [] { return json(Facade::__VA_ARGS__); }, \
            [] { return json(ZnBusinessDataManager::instance()->companion().__VA_ARGS__); } \
    }

QList<Question> questions() {
    return {
        VELMAR_ASK(lookups, GetAccountInfoByTradingAccount("T1", true)),
        VELMAR_ASK(lookups, GetAccountAssetPropByTradingAccount("T2")),
        VELMAR_ASK(lookups, GetExtCounterCodeByTradingAccount("T2")),
        VELMAR_ASK(lookups, IsAccountNormalCounter(QString("T1"))),
        VELMAR_ASK(lookups,
                   IsAccountNormalCounter(Facade::GetAccountInfoByTradingAccount("T1", false))),
        VELMAR_ASK(lookups, GetTradingAccountList(true, 16, true)),
        VELMAR_ASK(lookups, GetTradingAccountListByProduct("P1", true, 1, false)),
        VELMAR_ASK(lookups, GetFundAccountList(true, 1, false)),
        VELMAR_ASK(lookups, GetFundAccountListByFundProp(1, 16, false, {"1", "2"}, true)),
        VELMAR_ASK(lookups, GetAccountInfoListFromProduct("P2", true, 16, true)),
        VELMAR_ASK(lookups, GetAccountInfoListFromAsset("S1", true, false)),
        VELMAR_ASK(lookups, GetAccountInfoListFromClientNo("c2", 2, true, true)),
        VELMAR_ASK(lookups, GetAccountInfoListFromFund("F1", true)),
        VELMAR_ASK(lookups, GetAccountInfoListFromTrade("T2", true)),
        VELMAR_ASK(lookups, GetAccountInfoListFromTradeList({"T3", "T1"}, true)),
        VELMAR_ASK(lookups, GetAccountInfoListFromTradingWithSameRealFund("T1")),
        VELMAR_ASK(lookups, GetDistributedAccountList()),
        VELMAR_ASK(lookups, GetHKAccountInfoList()),
        VELMAR_ASK(lookups, GetHStockCirculateAccountList()),
        VELMAR_ASK(lookups, GetAllClientNoList(16, true)),
        VELMAR_ASK(lookups, GetAllProductAccountMap()),
        VELMAR_ASK(lookups, GetAuthTradeProductAccountList()),
        VELMAR_ASK(securityAccounts, GetAllSecurityAccountMap()),
        VELMAR_ASK(securityAccounts, GetSecurityAccountListByTradingAccountAndExchange("T1", "1")),
        VELMAR_ASK(securityAccounts, GetAllMainSecurityAccount()),
        VELMAR_ASK(securityAccounts, GetMainSecurityAccount("T1", "G")),
        VELMAR_ASK(securityAccounts, GetCurrentSecurityAccountMap()),
        VELMAR_ASK(securityAccounts, GetCurrentSecurityAccountByTradingAccount("T1")),
        VELMAR_ASK(securityAccounts, GetCurrentSecurityAccountByTradingAndExchange("T2", "2")),
    };
}

#undef VELMAR_ASK

bool saysSomething(const QJsonValue& value) {
    return !(value.isArray() && value.toArray().isEmpty()) &&
           !(value.isObject() && value.toObject().isEmpty()) && value != QJsonValue("") &&
           value != QJsonValue(false);
}

/// A list of accounts with the flags for waiting and for distributed counters.
struct WaitingList {
    QByteArray name;
    std::function<QStringList(bool wait, bool includeDistributed)> ask;
};

QStringList accountsOf(const QList<tagUserAccountInfo>& records) {
    QStringList accounts;
    for (const tagUserAccountInfo& record : records) {
        accounts.append(record.tradingAccount);
    }
    return accounts;
}

/// Each called with what "T2", a distributed account, belongs to.
QList<WaitingList> waitingLists() {
    return {
        {"list", [](bool wait, bool all) { return Facade::GetTradingAccountList(wait, 16, all); }},
        {"list by product",
         [](bool wait, bool all) {
             return Facade::GetTradingAccountListByProduct("P2", wait, 16, all);
         }},
        {"records",
         [](bool wait, bool all) { return accountsOf(Facade::GetFundAccountList(wait, 16, all)); }},
        {"by fund property",
         [](bool wait, bool all) {
             return accountsOf(Facade::GetFundAccountListByFundProp(
                 Torvi_InnerFundProp::marginTrade, 16, all, {}, wait));
         }},
        {"from product",
         [](bool wait, bool all) {
             return accountsOf(Facade::GetAccountInfoListFromProduct("P2", wait, 16, all));
         }},
        {"from asset",
         [](bool wait, bool all) {
             return accountsOf(Facade::GetAccountInfoListFromAsset("assetT2", wait, all));
         }},
        {"from client number", [](bool wait, bool all) {
             return accountsOf(Facade::GetAccountInfoListFromClientNo(
                 "c2", Torvi_InnerFundProp::marginTrade, wait, all));
         }}};
}

/// A presenter of another plug-in that subscribes to changes of security accounts.
RecordingPresenter* changeListener() {
    auto* const listener = new RecordingPresenter("Test.Listener");
    listener->SubEvent(
        listener->pluginPid(),
        VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::SECURITY_ACCOUNT_SETTING_CHANGED), 1);
    listener->initPresenter();
    return listener;
}

}  // namespace

/// The account functions of the exported class, with the plug-in up.
class FacadeAccountsTest : public QObject {
    Q_OBJECT

private slots:
    void everyQuestion_loadedPlugin_isTheCoresAnswer() {
        ClientWorld world(accounts());
        world.login();
        QCOMPARE(Facade::GetTradingAccountList(true, 0, true).size(), 3);
        const QList<Question> all = questions();
        for (const Question& question : all) {
            const QJsonValue said = question.facade();
            QVERIFY2(saysSomething(said), question.name);
            QVERIFY2(said == question.core(), question.name);
        }
    }

    void plainAndUnwaiting_beforeTheLoad_areEmptyAndDoNotFail() {
        const ClientWorld world;
        QVERIFY(!Facade::IsAccountNormalCounter(tagUserAccountInfo()));
        QVERIFY(!Facade::SetAccountOrderList({"T1"}));
        Facade::UpdateFundAccountInfo("T1", "name", FundAccountType::Cash);
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
        QVERIFY(Facade::GetAccountInfoListFromTrade("T1", false).isEmpty());
        QVERIFY(Facade::GetAccountInfoListFromTradingWithSameRealFund("T1").isEmpty());
        QVERIFY(Facade::GetAllProductAccountMap().isEmpty());
        QCOMPARE(LocalPlatform::instance().presenterCount(), 1);
    }

    void unwaitingLists_beforeTheLoad_areEmptyAtOnce() {
        const ClientWorld world(accounts());
        const LogCapture log;
        for (const WaitingList& list : waitingLists()) {
            QVERIFY2(list.ask(false, true).isEmpty(), list.name);
        }
        QVERIFY(Facade::GetAccountInfoListFromFund("F1", false).isEmpty());
        QVERIFY(Facade::GetAccountInfoListFromTrade("T1", false).isEmpty());
        QVERIFY(Facade::GetAccountInfoListFromTradeList({"T1", "T2"}, false).isEmpty());
        QCOMPARE(LocalPlatform::instance().presenterCount(), 1);
        QVERIFY(!log.contains("GetFundAccountList wait for FundAccountInit"));
    }

    void lists_loadedPlugin_leaveDistributedAccountsOutWhetherTheyWaitOrNot() {
        ClientWorld world(accounts());
        world.login();
        QCOMPARE(Facade::GetTradingAccountList(true, 0, true).size(), 3);
        for (const WaitingList& list : waitingLists()) {
            for (const bool wait : {true, false}) {
                QVERIFY2(list.ask(wait, true).contains("T2"), list.name);
                QVERIFY2(!list.ask(wait, false).contains("T2"), list.name);
            }
        }
    }

    void hongKongLists_withoutAPresenter_areEmptyAndBringNothingUp() {
        const ClientWorld world;
        QVERIFY(Facade::GetHKAccountInfoList().isEmpty());
        QVERIFY(Facade::GetHStockCirculateAccountList().isEmpty());
        QCOMPARE(LocalPlatform::instance().presenterCount(), 0);
    }

    void changedSecurityAccount_isPublishedOnceAndSeen() {
        ClientWorld world(accounts());
        world.login();
        Facade::GetTradingAccountList(true, 0, true);
        RecordingPresenter* const listener = changeListener();
        QCOMPARE(Facade::SetCurrentSecurityAccountMap({{"T1", {{"1", "A1"}}}}), 0);
        QCOMPARE(Facade::SetCurrentSecurityAccountMap({{"T1", {{"1", "A2"}, {"2", "none"}}}}), -1);
        QVERIFY(waitFor([listener] { return !listener->events().isEmpty(); }));
        // Runs behind everything queued so far, so a second event would have arrived by then.
        runOnThreadAndWait(s_presenter.load(), [] {});
        QCOMPARE(listener->events().size(), 1);
        const RecordingPresenter::Event event = listener->events().first();
        QCOMPARE(event.source, s_presenter.load()->pluginPid());
        QVERIFY(event.body.isValid());
        QVERIFY(headerOf(event.body).isEmpty());
        QVERIFY(rowsOf(event.body).isEmpty());
        QCOMPARE(Facade::GetCurrentSecurityAccountByTradingAndExchange("T1", "1"), QString("A2"));
        QCOMPARE(Facade::GetMainSecurityAccount("T1", "1"), QString("A1"));
        listener->deleteLater();
    }

    void edits_showInTheNextAnswer() {
        ClientWorld world(accounts());
        Facade::SetFundAbbrName({{"T1", "early"}});
        world.login();
        QCOMPARE(Facade::GetTradingAccountList(true, 0, true), (QStringList{"T1", "T2", "T3"}));
        QCOMPARE(Facade::GetAccountInfoByTradingAccount("T1", true).accountName, QString("early"));
        QVERIFY(Facade::SetAccountOrderList({"T3", "T2", "T1"}));
        QCOMPARE(Facade::GetTradingAccountList(true, 0, true), (QStringList{"T3", "T2", "T1"}));
        Facade::SetFundAbbrName({{"T2", "short"}});
        QCOMPARE(Facade::GetAccountInfoByTradingAccount("T2", true).abbrName, QString("short"));
        Facade::UpdateFundAccountInfo("T3", "new", FundAccountType::Option);
        QCOMPARE(Facade::GetAccountAssetPropByTradingAccount("T3"), FundAccountType::Option);
    }
};

VELMAR_PROCESS_PER_CASE_MAIN(FacadeAccountsTest)
#include "facade_accounts_test.moc"

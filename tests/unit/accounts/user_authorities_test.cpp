#include "user_authorities.h"
#include "thread_hand_over.h"

#include <QtTest>
#include <atomic>
#include <memory>
#include <thread>

#include "account_state.h"
#include "client_world.h"
#include "local_platform.h"
#include "log_capture.h"
#include "log_hook.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "wait_for.h"

namespace {

inline const QString kGet = Velmar_MsgType::getAccountAuthPermRequest;
inline const QString kAlter = Velmar_MsgType::alterAccountAuthPermRequest;
inline const QString kByAccount = QStringLiteral("MaxOrder");
inline const QString kByUser = QStringLiteral("Export%1");
inline const QString kOfNoKind = QStringLiteral("Unkind");
inline const QString kExternal = QStringLiteral("Foreign");
inline const QString kByFund = QStringLiteral("Transfer");

TestAccount account(const QString& name, const QString& product, const QString& investor) {
    return TestAccount(name).under(product, product).with(UserAccount::investorAccount, investor);
}

QList<TestAccount> someAccounts() {
    return {account("T1", "P1", "I1"), account("T2", "P2", "I1"),
            account("T3", "P2", "I2").withAuthorities({AuthorityType::AccountQuery})};
}

StaticDbBuilder definitions() {
    StaticDbBuilder builder;
    builder.section(UserAccount::authType, {{kByAccount, AccountType::TradingAccount},
                                            {kByUser, AccountType::UserId},
                                            {kOfNoKind, QString()},
                                            {kExternal, AccountType::ExternUserAccount},
                                            {kByFund, AccountType::FundAccount}});
    return builder;
}

QVariantMap authorityRow(const QString& key, const QVariant& value) {
    return {{UserAccount::account, key}, {UserAccount::authValue, value}};
}

/// The companion alone, over a platform with a scripted server.
struct Fixture {
    explicit Fixture(const QList<TestAccount>& accounts = someAccounts(),
                     const StaticDbBuilder& statics = definitions())
        : world(accounts, statics), presenter(new RecordingPresenter) {
        presenter->initPresenter();
        world.login();
        world.link().on(kGet, &Fixture::echo);
        world.link().on(kAlter, ScriptedReply::rows({}));
    }
    ~Fixture() {
        if (presenter) {
            presenter->deleteLater();
        }
    }
    Fixture(const Fixture&) = delete;
    Fixture& operator=(const Fixture&) = delete;

    /// One row of the queried account; its value is "v" and the account.
    static QVariant echo(const QVariant& body) {
        const QString key = headerOf(body).value(UserAccount::account).toString();
        return makeAnswer(body, {authorityRow(key, "v" + key)});
    }
    QVariantMap get(const QString& authType) {
        return authorities.GetUserAuthority(presenter, authType);
    }
    /// What is kept of a type, without a query.
    QVariantMap kept(const QString& authType) {
        return authorities.GetUserAuthority(nullptr, authType);
    }
    bool set(const QString& authType, const QString& key, const QVariant& value) {
        return authorities.SetUserAuthority(presenter, authType, key, value);
    }

    ClientWorld world;
    const QPointer<RecordingPresenter> presenter;
    AccountState state;
    UserAuthorities authorities{state};
};

}  // namespace

class UserAuthoritiesTest : public QObject {
    Q_OBJECT

private slots:
    void keys_eachKind_areItsAccounts_data() {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QStringList>("keys");
        QTest::newRow("user") << AccountType::UserId << QStringList{"tester"};
        QTest::newRow("trading") << AccountType::TradingAccount << QStringList{"T1", "T2"};
        QTest::newRow("investor") << AccountType::InvestAccount << QStringList{"I1", "I2"};
        QTest::newRow("product") << AccountType::ProductAccount << QStringList{"P1", "P2"};
        QTest::newRow("asset") << AccountType::AssetAccount
                               << QStringList{"assetT1", "assetT2", "assetT3"};
        QTest::newRow("fund") << AccountType::FundAccount << QStringList{"F1", "F2"};
        QTest::newRow("security") << AccountType::SecurityAccount << QStringList{"sA", "sB", "sC"};
        QTest::newRow("external") << AccountType::ExternUserAccount << QStringList();
        QTest::newRow("unknown") << "NoSuchAccount" << QStringList();
    }
    void keys_eachKind_areItsAccounts() {
        QFETCH(QString, kind);
        QFETCH(QStringList, keys);
        QList<TestAccount> accounts = someAccounts();
        accounts[0].withSecurityAccount("1", "sA").withSecurityAccount("2", "sB");
        accounts[1].withSecurityAccount("1", "sC");
        accounts[2].withSecurityAccount("1", "of an account that may not trade");
        Fixture fixture(accounts);
        {
            const auto tables = fixture.state.m_accountLock.write();
            tables->m_fundAccounts = {{"F1", {"T1"}}, {"F2", {"T2", "T3"}}};
        }
        QStringList actual = fixture.authorities.allKeysOfAccountType(kind);
        actual.sort();
        QCOMPARE(actual, keys);
    }

    void get_unknownType_isEmptyAndSendsNothing() {
        Fixture fixture;
        QVERIFY(fixture.get("NoSuchType").isEmpty());
        QCOMPARE(fixture.world.link().requestCount(kGet), 0);
    }

    void get_firstTime_queriesEachKeyAndKeepsTheRows() {
        Fixture fixture;
        const QVariantMap expected{{"T1", "vT1"}, {"T2", "vT2"}};
        QCOMPARE(fixture.get(kByAccount), expected);
        const auto requests = fixture.world.link().requests(kGet);
        QCOMPARE(requests.size(), 2);
        const QVariantMap body{{System::msgType, kGet},
                               {UserAccount::userID, "tester"},
                               {UserAccount::account, "T1"},
                               {UserAccount::accountType, AccountType::TradingAccount},
                               {UserAccount::authType, kByAccount}};
        QCOMPARE(requests.first().header, body);
        QCOMPARE(requests.first().sourceId, fixture.presenter->pluginPid());
        QCOMPARE(requests.last().header.value(UserAccount::account).toString(), QString("T2"));
        QCOMPARE(fixture.get(kByAccount), expected);
        QCOMPARE(fixture.world.link().requestCount(kGet), 2);
    }

    void get_rowsOfOtherAccountsThanTheKey_areKeptUnderTheirOwn() {
        Fixture fixture;
        fixture.world.link().on(kGet, [](const QVariant& body) {
            const QString key = headerOf(body).value(UserAccount::account).toString();
            return makeAnswer(
                body, {authorityRow("first of " + key, 1), authorityRow("second of " + key, 2)});
        });
        const QVariantMap expected{
            {"first of T1", 1}, {"second of T1", 2}, {"first of T2", 1}, {"second of T2", 2}};
        QCOMPARE(fixture.get(kByAccount), expected);
        QCOMPARE(fixture.get(kByAccount), expected);
        QCOMPARE(fixture.world.link().requestCount(kGet), 2);
    }

    void get_everyKeyTimesOut_keepsTheEmptyAnswer() {
        Fixture fixture;
        fixture.world.link().on(kGet, ScriptedReply::timeOut());
        const LogCapture log;
        QVERIFY(fixture.get(kByAccount).isEmpty());
        QCOMPARE(log.count(QtDebugMsg, "查询账号权限超时"), 2);
        QCOMPARE(fixture.world.link().requestCount(kGet), 2);
        // The server would answer now, but is not queried.
        fixture.world.link().on(kGet, &Fixture::echo);
        QVERIFY(fixture.get(kByAccount).isEmpty());
        QCOMPARE(fixture.world.link().requestCount(kGet), 2);
    }

    void get_definitionWithoutKind_isOfTheUser() {
        Fixture fixture;
        QCOMPARE(fixture.get(kOfNoKind), (QVariantMap{{"tester", "vtester"}}));
        QCOMPARE(fixture.world.link()
                     .lastRequest(kGet)
                     .header.value(UserAccount::accountType)
                     .toString(),
                 AccountType::UserId);
    }

    void get_noRows_isEmptyAndNotQueriedAgain() {
        Fixture fixture;
        fixture.world.link().on(kGet, ScriptedReply::rows({}));
        QVERIFY(fixture.get(kByAccount).isEmpty());
        QCOMPARE(fixture.world.link().requestCount(kGet), 2);
        fixture.world.link().on(kGet, &Fixture::echo);
        QVERIFY(fixture.get(kByAccount).isEmpty());
        QCOMPARE(fixture.world.link().requestCount(kGet), 2);
    }

    void get_kindWithoutKeys_isKept() {
        Fixture fixture;
        const LogCapture log;
        QVERIFY(fixture.get(kExternal).isEmpty());
        QCOMPARE(fixture.world.link().requestCount(kGet), 0);
        // Kept, since without a presenter nothing else could be returned.
        QVERIFY(fixture.kept(kExternal).isEmpty());
        QVERIFY(!log.contains("GetUserAuthority PresenterClass is null"));
    }

    void get_kindWithoutAccountsOfTheUser_isKept() {
        Fixture fixture(QList<TestAccount>{});
        const LogCapture log;
        QVERIFY(fixture.get(kByAccount).isEmpty());
        QVERIFY(fixture.kept(kByAccount).isEmpty());
        QVERIFY(!log.contains("GetUserAuthority PresenterClass is null"));
    }

    void get_fundAccountsBeforeTheLoad_areQueriedAgain() {
        Fixture fixture;
        QVERIFY(fixture.get(kByFund).isEmpty());
        {
            const auto tables = fixture.state.m_accountLock.write();
            tables->m_fundAccounts = {{"F1", {"T1"}}};
        }
        QCOMPARE(fixture.get(kByFund), (QVariantMap{{"F1", "vF1"}}));
        {
            const auto tables = fixture.state.m_accountLock.write();
            tables->m_fundAccounts.insert("F2", {"T2"});
        }
        fixture.state.m_fundAccountInited = true;
        const QVariantMap all{{"F1", "vF1"}, {"F2", "vF2"}};
        QCOMPARE(fixture.get(kByFund), all);
        QCOMPARE(fixture.kept(kByFund), all);
        QCOMPARE(fixture.get(kByFund), all);
        QCOMPARE(fixture.world.link().requestCount(kGet), 3);
    }

    void get_noFundAccountsAfterTheLoad_isKept() {
        Fixture fixture;
        fixture.state.m_fundAccountInited = true;
        const LogCapture log;
        QVERIFY(fixture.get(kByFund).isEmpty());
        QVERIFY(fixture.kept(kByFund).isEmpty());
        QVERIFY(!log.contains("GetUserAuthority PresenterClass is null"));
    }

    void get_oneKeyFails_leavesTheOthers_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("line");
        QTest::newRow("time-out") << 0 << "查询账号权限超时";
        QTest::newRow("failure") << 1 << "查询账号权限失败，原因：断开%1";
        QTest::newRow("refusal") << 2 << "查询账号权限失败，原因：没有%1权限";
    }
    void get_oneKeyFails_leavesTheOthers() {
        QFETCH(int, kind);
        QFETCH(QString, line);
        const ScriptedReply replies[] = {ScriptedReply::timeOut(), ScriptedReply::failure("断开%1"),
                                         ScriptedReply::refusal("没有%1权限")};
        Fixture fixture;
        fixture.world.link().onOccurrence(kGet, 1, replies[kind]);
        const LogCapture log;
        QCOMPARE(fixture.get(kByAccount), (QVariantMap{{"T2", "vT2"}}));
        QCOMPARE(log.count(QtDebugMsg, line), 1);
        QCOMPARE(fixture.world.link().requestCount(kGet), 2);
        QCOMPARE(fixture.get(kByAccount), (QVariantMap{{"T2", "vT2"}}));
        QCOMPARE(fixture.world.link().requestCount(kGet), 2);
    }

    void get_withoutPresenter_returnsWhatIsKeptAndNothingElse() {
        Fixture fixture;
        LogCapture log;
        QVERIFY(fixture.authorities.GetUserAuthority(nullptr, kByAccount).isEmpty());
        QVERIFY(log.contains(QtWarningMsg, "GetUserAuthority PresenterClass is null"));
        QCOMPARE(fixture.get(kByAccount).size(), 2);
        QCOMPARE(fixture.authorities.GetUserAuthority(nullptr, kByAccount).size(), 2);
    }

    void get_whileAnotherQueries_waitsAndSendsNothing() {
        Fixture fixture;
        fixture.world.link().onOccurrence(kGet, 1, ScriptedReply::with(&Fixture::echo).held());
        QVariantMap first;
        QVariantMap second;
        std::atomic<bool> begun{false};
        std::thread asking([&] { first = fixture.get(kByUser); });
        const bool sent = fixture.world.link().waitForRequestCount(kGet, 1);
        std::thread waiting([&] {
            begun = true;
            second = fixture.get(kByUser);
        });
        const bool waits = waitFor([&begun] { return begun.load(); });
        fixture.world.link().release();
        asking.join();
        waiting.join();
        QVERIFY(sent);
        QVERIFY(waits);
        QCOMPARE(first, (QVariantMap{{"tester", "vtester"}}));
        QCOMPARE(second, first);
        QCOMPARE(fixture.world.link().requestCount(kGet), 1);
    }

    void get_twoFirstCallsAtOnce_queryOnce() {
        Fixture fixture;
        std::atomic<int> callers{0};
        QVariantMap first;
        QVariantMap second;
        const LogCapture log;
        {
            // Both callers find nothing kept before either of them queries.
            const LogHook hook("GetUserAuthority queries", [&callers] {
                ++callers;
                waitFor([&callers] { return callers == 2; });
            });
            std::thread one([&] { first = fixture.get(kByAccount); });
            std::thread other([&] { second = fixture.get(kByAccount); });
            one.join();
            other.join();
        }
        QCOMPARE(callers.load(), 2);
        QCOMPARE(first, (QVariantMap{{"T1", "vT1"}, {"T2", "vT2"}}));
        QCOMPARE(second, first);
        QCOMPARE(fixture.world.link().requestCount(kGet), 2);
    }

    void get_keptResult_doesNotGatherTheKeys() {
        Fixture fixture;
        {
            const auto tables = fixture.state.m_accountLock.write();
            tables->m_fundAccounts = {{"F1", {"T1"}}};
        }
        fixture.state.m_fundAccountInited = true;
        const QVariantMap expected{{"F1", "vF1"}};
        QCOMPARE(fixture.get(kByFund), expected);
        QVariantMap kept;
        std::atomic<bool> done{false};
        bool returned = false;
        std::thread reader;
        {
            // The keys of this kind are in the account tables.
            const auto tables = fixture.state.m_accountLock.write();
            reader = std::thread([&] {
                kept = fixture.get(kByFund);
                done = true;
            });
            returned = waitFor([&done] { return done.load(); });
        }
        reader.join();
        QVERIFY(returned);
        QCOMPARE(kept, expected);
    }

    void whileOneQueries_othersOfAnyType_waitForTheAnswers() {
        Fixture fixture;
        fixture.get(kByAccount);
        UserAuthorities others(fixture.state);
        others.GetUserAuthority(fixture.presenter, kByAccount);
        fixture.world.link().on(kGet, ScriptedReply::with(&Fixture::echo).held());
        fixture.world.link().clearRequests();
        QVariantMap asked;
        std::thread asking([&] { asked = fixture.get(kByUser); });
        const bool sent = fixture.world.link().waitForRequestCount(kGet, 1);

        std::atomic<bool> released{false};
        std::atomic<int> begun{0};
        bool readerWaited = false;
        bool setterWaited = false;
        QVariantMap cached;
        std::thread reading([&] {
            ++begun;
            cached = fixture.get(kByAccount);
            readerWaited = released;
        });
        std::thread setting([&] {
            ++begun;
            fixture.set(kByUser, "tester", 9);
            setterWaited = released;
        });
        const bool bothBegun = waitFor([&begun] { return begun == 2; });
        // The same two calls on a table that is not being loaded return before the answer arrives.
        std::thread passing([&] {
            others.GetUserAuthority(fixture.presenter, kByAccount);
            others.SetUserAuthority(fixture.presenter, kByAccount, "T1", 1);
        });
        passing.join();
        released = true;
        fixture.world.link().release(kGet);
        asking.join();
        reading.join();
        setting.join();
        QVERIFY(sent);
        QVERIFY(bothBegun);
        QVERIFY(readerWaited);
        QVERIFY(setterWaited);
        QCOMPARE(asked, (QVariantMap{{"tester", "vtester"}}));
        QCOMPARE(cached, (QVariantMap{{"T1", "vT1"}, {"T2", "vT2"}}));
        QCOMPARE(fixture.kept(kByUser), (QVariantMap{{"tester", 9}}));
        QCOMPARE(fixture.world.link().requestCount(kGet), 1);
    }

    void get_hostCloses_endsAndKeepsNothing() {
        Fixture fixture;
        fixture.world.link().on(kGet, ScriptedReply::never());
        fixture.world.link().onOccurrence(kGet, 1, ScriptedReply::with(&Fixture::echo));
        QVariantMap answer;
        // On the presenter's own thread, so that disposing of the presenter waits for the call.
        runOnThreadOf(fixture.presenter, [&] { answer = fixture.get(kByAccount); });
        const bool sent = fixture.world.link().waitForRequestCount(kGet, 2);
        LocalPlatform::instance().close();
        QVERIFY(sent);
        QCOMPARE(answer, (QVariantMap{{"T1", "vT1"}}));
        const LogCapture log;
        QVERIFY(fixture.kept(kByAccount).isEmpty());
        QVERIFY(log.contains(QtWarningMsg, "GetUserAuthority PresenterClass is null"));
        QCOMPARE(fixture.world.link().requestCount(kGet), 2);
    }

    void set_sendsItsFieldsAndChangesTheTable() {
        Fixture fixture;
        fixture.get(kByAccount);
        QVERIFY(fixture.set(kByAccount, "T2", 7));
        const QVariantMap body{{System::msgType, kAlter},
                               {UserAccount::userID, "tester"},
                               {UserAccount::accountType, AccountType::TradingAccount},
                               {UserAccount::account, "T2"},
                               {UserAccount::authType, kByAccount},
                               {UserAccount::authValue, 7},
                               {System::alterType, Velmar_Values::AlterType::Add}};
        QCOMPARE(fixture.world.link().lastRequest(kAlter).header, body);
        QCOMPARE(fixture.get(kByAccount), (QVariantMap{{"T1", "vT1"}, {"T2", 7}}));
    }

    void set_beforeAnyQuery_keepsThatKeyAlone() {
        Fixture fixture;
        QVERIFY(fixture.set(kByAccount, "T2", 7));
        QCOMPARE(fixture.get(kByAccount), (QVariantMap{{"T2", 7}}));
        QCOMPARE(fixture.world.link().requestCount(kGet), 0);
    }

    void set_unknownType_isRefusedHere() {
        Fixture fixture;
        const LogCapture log;
        QVERIFY(!fixture.set("类型%2", "T1", 1));
        QCOMPARE(
            log.count(QtDebugMsg, "尝试设置不存在的authType：类型%2，请去相应配置文件提前配置"), 1);
        QCOMPARE(fixture.world.link().requestCount(kAlter), 0);
    }

    void set_keyOfAnotherKind_sendsNothing() {
        Fixture fixture;
        const LogCapture log;
        QVERIFY(!fixture.set(kByUser, "T1", 1));
        QCOMPARE(log.count(QtDebugMsg, "当前authType：Export%1，不支持传入的key：T1"), 1);
        QVERIFY(!fixture.set(kByAccount, "T3", 1));
        QCOMPARE(fixture.world.link().requestCount(kAlter), 0);
    }

    void set_typeOfExternalAccounts_sendsNothingWhateverTheKey() {
        Fixture fixture;
        const LogCapture log;
        for (const QString key : {"T1", "tester", ""}) {
            QVERIFY(!fixture.set(kExternal, key, 1));
            QCOMPARE(log.count(QtDebugMsg, "当前authType：Foreign，不支持传入的key：" + key), 1);
        }
        QCOMPARE(fixture.world.link().requestCount(kAlter), 0);
    }

    void set_failure_isLoggedAndChangesNothing_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("line");
        QTest::newRow("time-out") << 0 << "用户权限修改超时";
        QTest::newRow("failure") << 1 << "用户权限修改失败，失败原因：断开";
        QTest::newRow("refusal") << 2 << "用户权限修改失败，失败原因：不允许";
    }
    void set_failure_isLoggedAndChangesNothing() {
        QFETCH(int, kind);
        QFETCH(QString, line);
        const ScriptedReply replies[] = {ScriptedReply::timeOut(), ScriptedReply::failure("断开"),
                                         ScriptedReply::refusal("不允许")};
        Fixture fixture;
        fixture.get(kByAccount);
        fixture.world.link().on(kAlter, replies[kind]);
        const LogCapture log;
        QVERIFY(!fixture.set(kByAccount, "T1", 9));
        QCOMPARE(log.count(QtDebugMsg, line), 1);
        QCOMPARE(fixture.get(kByAccount).value("T1").toString(), QString("vT1"));
    }

    void set_withoutPresenter_isFalse() {
        Fixture fixture;
        QVERIFY(!fixture.authorities.SetUserAuthority(nullptr, kByAccount, "T1", 9));
        QCOMPARE(fixture.world.link().requestCount(kAlter), 0);
    }

    void set_successInATruncatedAnswer_isASuccess() {
        Fixture fixture;
        // The rows of this answer are not read.
        fixture.world.link().on(kAlter, ScriptedReply::rows({}, {{System::subGroupNumber, 2}}));
        QVERIFY(fixture.set(kByAccount, "T1", 9));
    }

    void get_truncatedAnswer_isLoggedAndIgnored() {
        Fixture fixture;
        fixture.world.link().onOccurrence(
            kGet, 1,
            ScriptedReply::rows({authorityRow("T1", "half")}, {{System::subGroupNumber, 2}}));
        const LogCapture log;
        QCOMPARE(fixture.get(kByAccount), (QVariantMap{{"T2", "vT2"}}));
        QVERIFY(log.contains(QtDebugMsg, "查询账号权限失败，原因：the answer to"));
    }
};

QTEST_GUILESS_MAIN(UserAuthoritiesTest)
#include "user_authorities_test.moc"

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

/// A room of the companion alone, over a platform whose server answers by script.
struct Room {
    explicit Room(const QList<TestAccount>& accounts = someAccounts(),
                  const StaticDbBuilder& statics = definitions())
        : world(accounts, statics), presenter(new RecordingPresenter) {
        presenter->initPresenter();
        world.login();
        world.link().on(kGet, &Room::echo);
        world.link().on(kAlter, ScriptedReply::rows({}));
    }
    ~Room() {
        if (presenter) {
            presenter->deleteLater();
        }
    }
    Room(const Room&) = delete;
    Room& operator=(const Room&) = delete;

    /// One row of the account asked about, its value "v" and the account.
    static QVariant echo(const QVariant& body) {
        const QString key = headerOf(body).value(UserAccount::account).toString();
        return makeAnswer(body, {authorityRow(key, "v" + key)});
    }
    QVariantMap get(const QString& authType) {
        return authorities.GetUserAuthority(presenter, authType);
    }
    /// What is kept of a type: nobody is asked.
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
        Room room(accounts);
        {
            const auto tables = room.state.m_accountLock.write();
            tables->m_fundAccounts = {{"F1", {"T1"}}, {"F2", {"T2", "T3"}}};
        }
        QStringList told = room.authorities.allKeysOfAccountType(kind);
        told.sort();
        QCOMPARE(told, keys);
    }

    void get_unknownType_isEmptyAndSendsNothing() {
        Room room;
        QVERIFY(room.get("NoSuchType").isEmpty());
        QCOMPARE(room.world.link().requestCount(kGet), 0);
    }

    void get_firstTime_asksForEachKeyAndKeepsTheRows() {
        Room room;
        const QVariantMap expected{{"T1", "vT1"}, {"T2", "vT2"}};
        QCOMPARE(room.get(kByAccount), expected);
        const auto requests = room.world.link().requests(kGet);
        QCOMPARE(requests.size(), 2);
        const QVariantMap body{{System::msgType, kGet},
                               {UserAccount::userID, "tester"},
                               {UserAccount::account, "T1"},
                               {UserAccount::accountType, AccountType::TradingAccount},
                               {UserAccount::authType, kByAccount}};
        QCOMPARE(requests.first().header, body);
        QCOMPARE(requests.first().sourceId, room.presenter->pluginPid());
        QCOMPARE(requests.last().header.value(UserAccount::account).toString(), QString("T2"));
        QCOMPARE(room.get(kByAccount), expected);
        QCOMPARE(room.world.link().requestCount(kGet), 2);
    }

    void get_rowsOfOtherAccountsThanTheKey_areKeptUnderTheirOwn() {
        Room room;
        room.world.link().on(kGet, [](const QVariant& body) {
            const QString key = headerOf(body).value(UserAccount::account).toString();
            return makeAnswer(
                body, {authorityRow("first of " + key, 1), authorityRow("second of " + key, 2)});
        });
        const QVariantMap expected{
            {"first of T1", 1}, {"second of T1", 2}, {"first of T2", 1}, {"second of T2", 2}};
        QCOMPARE(room.get(kByAccount), expected);
        QCOMPARE(room.get(kByAccount), expected);
        QCOMPARE(room.world.link().requestCount(kGet), 2);
    }

    void get_everyKeyTimesOut_keepsTheEmptyAnswer() {
        Room room;
        room.world.link().on(kGet, ScriptedReply::timeOut());
        const LogCapture log;
        QVERIFY(room.get(kByAccount).isEmpty());
        QCOMPARE(log.count(QtWarningMsg, "查询账号权限超时"), 2);
        QCOMPARE(room.world.link().requestCount(kGet), 2);
        // The server would answer by now, and is not asked.
        room.world.link().on(kGet, &Room::echo);
        QVERIFY(room.get(kByAccount).isEmpty());
        QCOMPARE(room.world.link().requestCount(kGet), 2);
    }

    void get_definitionWithoutKind_isOfTheUser() {
        Room room;
        QCOMPARE(room.get(kOfNoKind), (QVariantMap{{"tester", "vtester"}}));
        QCOMPARE(
            room.world.link().lastRequest(kGet).header.value(UserAccount::accountType).toString(),
            AccountType::UserId);
    }

    void get_noRows_isEmptyAndNotAskedAgain() {
        Room room;
        room.world.link().on(kGet, ScriptedReply::rows({}));
        QVERIFY(room.get(kByAccount).isEmpty());
        QCOMPARE(room.world.link().requestCount(kGet), 2);
        room.world.link().on(kGet, &Room::echo);
        QVERIFY(room.get(kByAccount).isEmpty());
        QCOMPARE(room.world.link().requestCount(kGet), 2);
    }

    void get_kindWithoutKeys_isKept() {
        Room room;
        const LogCapture log;
        QVERIFY(room.get(kExternal).isEmpty());
        QCOMPARE(room.world.link().requestCount(kGet), 0);
        // Kept: without a presenter there is no other answer to give.
        QVERIFY(room.kept(kExternal).isEmpty());
        QVERIFY(!log.contains("GetUserAuthority PresenterClass is null"));
    }

    void get_kindWithoutAccountsOfTheUser_isKept() {
        Room room(QList<TestAccount>{});
        const LogCapture log;
        QVERIFY(room.get(kByAccount).isEmpty());
        QVERIFY(room.kept(kByAccount).isEmpty());
        QVERIFY(!log.contains("GetUserAuthority PresenterClass is null"));
    }

    void get_fundAccountsBeforeTheyAreAllThere_isAskedAgain() {
        Room room;
        QVERIFY(room.get(kByFund).isEmpty());
        {
            const auto tables = room.state.m_accountLock.write();
            tables->m_fundAccounts = {{"F1", {"T1"}}};
        }
        QCOMPARE(room.get(kByFund), (QVariantMap{{"F1", "vF1"}}));
        {
            const auto tables = room.state.m_accountLock.write();
            tables->m_fundAccounts.insert("F2", {"T2"});
        }
        room.state.m_fundAccountInited = true;
        const QVariantMap all{{"F1", "vF1"}, {"F2", "vF2"}};
        QCOMPARE(room.get(kByFund), all);
        QCOMPARE(room.kept(kByFund), all);
        QCOMPARE(room.get(kByFund), all);
        QCOMPARE(room.world.link().requestCount(kGet), 3);
    }

    void get_noFundAccountsOnceTheyAreAllThere_isKept() {
        Room room;
        room.state.m_fundAccountInited = true;
        const LogCapture log;
        QVERIFY(room.get(kByFund).isEmpty());
        QVERIFY(room.kept(kByFund).isEmpty());
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
        Room room;
        room.world.link().onOccurrence(kGet, 1, replies[kind]);
        const LogCapture log;
        QCOMPARE(room.get(kByAccount), (QVariantMap{{"T2", "vT2"}}));
        QCOMPARE(log.count(QtWarningMsg, line), 1);
        QCOMPARE(room.world.link().requestCount(kGet), 2);
        QCOMPARE(room.get(kByAccount), (QVariantMap{{"T2", "vT2"}}));
        QCOMPARE(room.world.link().requestCount(kGet), 2);
    }

    void get_withoutPresenter_answersWhatIsKeptAndNothingElse() {
        Room room;
        LogCapture log;
        QVERIFY(room.authorities.GetUserAuthority(nullptr, kByAccount).isEmpty());
        QVERIFY(log.contains(QtWarningMsg, "GetUserAuthority PresenterClass is null"));
        QCOMPARE(room.get(kByAccount).size(), 2);
        QCOMPARE(room.authorities.GetUserAuthority(nullptr, kByAccount).size(), 2);
    }

    void get_whileAnotherAsks_waitsAndSendsNothing() {
        Room room;
        room.world.link().onOccurrence(kGet, 1, ScriptedReply::with(&Room::echo).held());
        QVariantMap first;
        QVariantMap second;
        std::atomic<bool> begun{false};
        std::thread asking([&] { first = room.get(kByUser); });
        const bool sent = room.world.link().waitForRequestCount(kGet, 1);
        std::thread waiting([&] {
            begun = true;
            second = room.get(kByUser);
        });
        const bool waits = waitFor([&begun] { return begun.load(); });
        room.world.link().release();
        asking.join();
        waiting.join();
        QVERIFY(sent);
        QVERIFY(waits);
        QCOMPARE(first, (QVariantMap{{"tester", "vtester"}}));
        QCOMPARE(second, first);
        QCOMPARE(room.world.link().requestCount(kGet), 1);
    }

    void whileOneAsks_othersOfAnyType_waitForTheAnswers() {
        Room room;
        room.get(kByAccount);
        UserAuthorities others(room.state);
        others.GetUserAuthority(room.presenter, kByAccount);
        room.world.link().on(kGet, ScriptedReply::with(&Room::echo).held());
        room.world.link().clearRequests();
        QVariantMap asked;
        std::thread asking([&] { asked = room.get(kByUser); });
        const bool sent = room.world.link().waitForRequestCount(kGet, 1);

        std::atomic<bool> released{false};
        std::atomic<int> begun{0};
        bool readerWaited = false;
        bool setterWaited = false;
        QVariantMap cached;
        std::thread reading([&] {
            ++begun;
            cached = room.get(kByAccount);
            readerWaited = released;
        });
        std::thread setting([&] {
            ++begun;
            room.set(kByUser, "tester", 9);
            setterWaited = released;
        });
        const bool bothBegun = waitFor([&begun] { return begun == 2; });
        // The same two calls on a table that nobody is loading are over before the answer comes.
        std::thread passing([&] {
            others.GetUserAuthority(room.presenter, kByAccount);
            others.SetUserAuthority(room.presenter, kByAccount, "T1", 1);
        });
        passing.join();
        released = true;
        room.world.link().release(kGet);
        asking.join();
        reading.join();
        setting.join();
        QVERIFY(sent);
        QVERIFY(bothBegun);
        QVERIFY(readerWaited);
        QVERIFY(setterWaited);
        QCOMPARE(asked, (QVariantMap{{"tester", "vtester"}}));
        QCOMPARE(cached, (QVariantMap{{"T1", "vT1"}, {"T2", "vT2"}}));
        QCOMPARE(room.kept(kByUser), (QVariantMap{{"tester", 9}}));
        QCOMPARE(room.world.link().requestCount(kGet), 1);
    }

    void get_hostCloses_endsAndKeepsNothing() {
        Room room;
        room.world.link().on(kGet, ScriptedReply::never());
        room.world.link().onOccurrence(kGet, 1, ScriptedReply::with(&Room::echo));
        QVariantMap answer;
        // On the presenter's own thread, so that a presenter that goes waits for the question.
        runOnThreadOf(room.presenter, [&] { answer = room.get(kByAccount); });
        const bool sent = room.world.link().waitForRequestCount(kGet, 2);
        LocalPlatform::instance().close();
        QVERIFY(sent);
        QCOMPARE(answer, (QVariantMap{{"T1", "vT1"}}));
        const LogCapture log;
        QVERIFY(room.kept(kByAccount).isEmpty());
        QVERIFY(log.contains(QtWarningMsg, "GetUserAuthority PresenterClass is null"));
        QCOMPARE(room.world.link().requestCount(kGet), 2);
    }

    void set_sendsItsFieldsAndChangesTheTable() {
        Room room;
        room.get(kByAccount);
        QVERIFY(room.set(kByAccount, "T2", 7));
        const QVariantMap body{{System::msgType, kAlter},
                               {UserAccount::userID, "tester"},
                               {UserAccount::accountType, AccountType::TradingAccount},
                               {UserAccount::account, "T2"},
                               {UserAccount::authType, kByAccount},
                               {UserAccount::authValue, 7},
                               {System::alterType, Velmar_Values::AlterType::Add}};
        QCOMPARE(room.world.link().lastRequest(kAlter).header, body);
        QCOMPARE(room.get(kByAccount), (QVariantMap{{"T1", "vT1"}, {"T2", 7}}));
    }

    void set_beforeAnyQuestion_keepsThatKeyAlone() {
        Room room;
        QVERIFY(room.set(kByAccount, "T2", 7));
        QCOMPARE(room.get(kByAccount), (QVariantMap{{"T2", 7}}));
        QCOMPARE(room.world.link().requestCount(kGet), 0);
    }

    void set_unknownType_isRefusedHere() {
        Room room;
        const LogCapture log;
        QVERIFY(!room.set("类型%2", "T1", 1));
        QCOMPARE(
            log.count(QtWarningMsg, "尝试设置不存在的authType：类型%2，请去相应配置文件提前配置"),
            1);
        QCOMPARE(room.world.link().requestCount(kAlter), 0);
    }

    void set_keyOfAnotherKind_sendsNothing() {
        Room room;
        const LogCapture log;
        QVERIFY(!room.set(kByUser, "T1", 1));
        QCOMPARE(log.count(QtWarningMsg, "当前authType：Export%1，不支持传入的key：T1"), 1);
        QVERIFY(!room.set(kByAccount, "T3", 1));
        QCOMPARE(room.world.link().requestCount(kAlter), 0);
    }

    void set_typeOfExternalAccounts_sendsNothingWhateverTheKey() {
        Room room;
        const LogCapture log;
        for (const QString key : {"T1", "tester", ""}) {
            QVERIFY(!room.set(kExternal, key, 1));
            QCOMPARE(log.count(QtWarningMsg, "当前authType：Foreign，不支持传入的key：" + key), 1);
        }
        QCOMPARE(room.world.link().requestCount(kAlter), 0);
    }

    void set_failure_isToldAndChangesNothing_data() {
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("line");
        QTest::newRow("time-out") << 0 << "用户权限修改超时";
        QTest::newRow("failure") << 1 << "用户权限修改失败，失败原因：断开";
        QTest::newRow("refusal") << 2 << "用户权限修改失败，失败原因：不允许";
    }
    void set_failure_isToldAndChangesNothing() {
        QFETCH(int, kind);
        QFETCH(QString, line);
        const ScriptedReply replies[] = {ScriptedReply::timeOut(), ScriptedReply::failure("断开"),
                                         ScriptedReply::refusal("不允许")};
        Room room;
        room.get(kByAccount);
        room.world.link().on(kAlter, replies[kind]);
        const LogCapture log;
        QVERIFY(!room.set(kByAccount, "T1", 9));
        QCOMPARE(log.count(QtWarningMsg, line), 1);
        QCOMPARE(room.get(kByAccount).value("T1").toString(), QString("vT1"));
    }

    void set_withoutPresenter_isFalse() {
        Room room;
        QVERIFY(!room.authorities.SetUserAuthority(nullptr, kByAccount, "T1", 9));
        QCOMPARE(room.world.link().requestCount(kAlter), 0);
    }

    void set_acceptedByACutAnswer_isAccepted() {
        Room room;
        // Nobody reads the rows of this answer.
        room.world.link().on(kAlter, ScriptedReply::rows({}, {{System::subGroupNumber, 2}}));
        QVERIFY(room.set(kByAccount, "T1", 9));
    }

    void get_cutAnswer_isToldAndGivesNothingOfItself() {
        Room room;
        room.world.link().onOccurrence(
            kGet, 1,
            ScriptedReply::rows({authorityRow("T1", "half")}, {{System::subGroupNumber, 2}}));
        const LogCapture log;
        QCOMPARE(room.get(kByAccount), (QVariantMap{{"T2", "vT2"}}));
        QVERIFY(log.contains(QtWarningMsg, "查询账号权限失败，原因：the answer to"));
    }
};

QTEST_GUILESS_MAIN(UserAuthoritiesTest)
#include "user_authorities_test.moc"

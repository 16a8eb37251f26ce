#include <QtTest>
#include <functional>
#include <thread>
#include <vector>

#include "account_fixture.h"
#include "local_platform.h"
#include "log_capture.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "wait_for.h"
#include "zncore/zn_core.h"

namespace {

using Chosen = SecurityAccounts::Chosen;
using ChosenMap = SecurityAccounts::ChosenMap;
using AllMap = SecurityAccounts::AllMap;

inline const QString kQuery = QStringLiteral("120006");
inline const QString kAllLine =
    QStringLiteral("ZnBusinessDataManager::initAllSecurityAccount 首次初始化股东账号列表信息");
inline const QString kCurrentLine =
    QStringLiteral("ZnBusinessDataManager::initCurSecurityAccount 首次初始化当前股东账号信息");

/// One account of each kind: two on one exchange unmarked, two with the second marked, query only,
/// frozen.
QList<TestAccount> allKinds() {
    return {
        TestAccount("unmarked")
            .withSecurityAccount("1", "A1")
            .withSecurityAccount("1", "A2")
            .withSecurityAccount("2", "B1", "1"),
        TestAccount("marked").withSecurityAccount("1", "C1").withSecurityAccount("1", "C2", "1"),
        TestAccount("query")
            .withAuthorities({AuthorityType::AccountQuery})
            .withSecurityAccount("1", "D1", "1")
            .withSecurityAccount("1", "D2"),
        TestAccount("cold").frozen().withSecurityAccount("Q", "E1", "1")};
}

const ChosenMap kMain{
    {"unmarked", {{"1", "A1"}, {"2", "B1"}}}, {"marked", {{"1", "C2"}}}, {"cold", {{"Q", "E1"}}}};

QString savedText() {
    return ZnCore::instance()->settings(SettingFieldName::LocalSecurityAccount).toString();
}

void save(const QString& text) {
    ZnCore::instance()->saveSetting(SettingFieldName::LocalSecurityAccount, text);
}

QHash<QString, QSet<QString>> exchangeTable(const AccountState& state) {
    const auto tables = state.m_accountLock.read();
    return tables->m_hStockCirculateAccounts;
}

/// Calls back into the accounts on a change, which blocks when the caller holds a lock.
class CallingSink final : public SecurityAccountSink {
public:
    void securityAccountSettingChanged() override { seen = ask(); }

    std::function<ChosenMap()> ask;
    ChosenMap seen;
};

}  // namespace

using Ask = std::function<int(SecurityAccounts&)>;
Q_DECLARE_METATYPE(Ask)

class SecurityAccountsTest : public QObject {
    Q_OBJECT

private slots:
    void all_firstQuestion_listsEveryAccountThatIsNotFrozen() {
        AccountFixture fixture(allKinds());
        fixture.world.login();
        fixture.load();
        LogCapture log;
        const AllMap expected{{"unmarked", {{"1", {"A1", "A2"}}, {"2", {"B1"}}}},
                              {"marked", {{"1", {"C1", "C2"}}}},
                              {"query", {{"1", {"D1", "D2"}}}}};
        QCOMPARE(fixture.securityAccounts.GetAllSecurityAccountMap(), expected);
        QCOMPARE(fixture.securityAccounts.GetAllSecurityAccountMap(), expected);
        QCOMPARE(log.count(QtInfoMsg, kAllLine), 1);
    }

    void list_ofAccountAndExchange_isTheServersOrder_data() {
        QTest::addColumn<QString>("account");
        QTest::addColumn<QString>("exchange");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("two") << "unmarked"
                             << "1" << QStringList{"A1", "A2"};
        QTest::newRow("one") << "unmarked"
                             << "2" << QStringList{"B1"};
        QTest::newRow("none there") << "marked"
                                    << "2" << QStringList{};
        QTest::newRow("frozen") << "cold"
                                << "Q" << QStringList{};
        QTest::newRow("unknown") << "nobody"
                                 << "1" << QStringList{};
    }
    void list_ofAccountAndExchange_isTheServersOrder() {
        QFETCH(QString, account);
        QFETCH(QString, exchange);
        QFETCH(QStringList, expected);
        AccountFixture fixture(allKinds());
        fixture.world.login();
        fixture.load();
        QCOMPARE(fixture.securityAccounts.GetSecurityAccountListByTradingAccountAndExchange(
                     account, exchange),
                 expected);
    }

    void main_noneMarkedOrTheSecond_isTheFirstOrTheMarked() {
        AccountFixture fixture(allKinds());
        fixture.world.login();
        fixture.load();
        QCOMPARE(fixture.securityAccounts.GetAllMainSecurityAccount(), kMain);
        QCOMPARE(fixture.securityAccounts.GetMainSecurityAccount("unmarked", "1"), QString("A1"));
        QCOMPARE(fixture.securityAccounts.GetMainSecurityAccount("marked", "1"), QString("C2"));
        QCOMPARE(fixture.securityAccounts.GetMainSecurityAccount("marked", "2"), QString());
        QCOMPARE(fixture.securityAccounts.GetMainSecurityAccount("query", "1"), QString());
    }

    void main_rowsAfterAMarkedOne_leaveItUnlessMarkedToo() {
        AccountFixture fixture({TestAccount("T1")
                                    .withSecurityAccount("1", "first")
                                    .withSecurityAccount("1", "marked", "1")
                                    .withSecurityAccount("1", "later")
                                    .withSecurityAccount("2", "marked2", "1")
                                    .withSecurityAccount("2", "again2", "1")});
        fixture.world.login();
        fixture.load();
        QCOMPARE(fixture.securityAccounts.GetMainSecurityAccount("T1", "1"), QString("marked"));
        QCOMPARE(fixture.securityAccounts.GetMainSecurityAccount("T1", "2"), QString("again2"));
    }

    void main_init_listsTheAccountsOfEachExchange() {
        AccountFixture fixture(allKinds());
        fixture.world.login();
        {
            const auto tables = fixture.state.m_accountLock.write();
            tables->m_hStockCirculateAccounts["old"] = {"gone"};
        }
        fixture.securityAccounts.initMainSecurityAccount();
        const QHash<QString, QSet<QString>> expected{
            {"1", {"unmarked", "marked"}}, {"2", {"unmarked"}}, {"Q", {"cold"}}};
        QCOMPARE(exchangeTable(fixture.state), expected);
        fixture.load();
        QCOMPARE(exchangeTable(fixture.state), expected);
    }

    void initMainAndCurrent_beforeTheLoad_doNotWait() {
        AccountFixture fixture(allKinds());
        fixture.world.login();
        LogCapture log;
        fixture.securityAccounts.initMainSecurityAccount();
        fixture.securityAccounts.initCurSecurityAccount();
        QVERIFY(!fixture.state.m_fundAccountInited);
        QVERIFY(!log.contains("GetFundAccountList wait for FundAccountInit"));
    }

    void load_firstStep_makesTheCurrentAccountsOnce() {
        AccountFixture fixture(allKinds());
        fixture.world.login();
        fixture.world.link().onOccurrence(kQuery, 1, ScriptedReply::refusal("busy"));
        LogCapture log;
        QVERIFY(fixture.load());
        const QStringList lines = log.texts();
        const int made = lines.indexOf(kCurrentLine);
        const int pass = lines.indexOf("第1次InitFundAccountList开始执行");
        const auto listed = lines.filter("++++++++InitFundAccountList获取到交易交易帐号：");
        QVERIFY(made > pass);
        QCOMPARE(listed.size(), 2);
        QVERIFY(made < lines.indexOf(listed.first()));
        QCOMPARE(log.count(QtDebugMsg, kCurrentLine), 1);
        QCOMPARE(fixture.securityAccounts.GetCurrentSecurityAccountMap(), kMain);
    }

    void set_hostClosesBeforeTheLoad_refusesAndKeepsWhatWasSaved() {
        AccountFixture fixture(numberedAccounts(1));
        const QString saved = QStringLiteral("{\"T1\":{\"1\":\"A2\"}}");
        ZnCore::instance()->saveSetting(SettingFieldName::LocalSecurityAccount, saved);
        LocalPlatform::instance().close();
        QCOMPARE(fixture.securityAccounts.SetCurrentSecurityAccountMap({{"T1", {{"1", "A1"}}}}),
                 -1);
        QCOMPARE(ZnCore::instance()->settings(SettingFieldName::LocalSecurityAccount).toString(),
                 saved);
    }

    void current_nothingSaved_equalsMain_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("warned");
        QTest::newRow("empty text") << "" << false;
        QTest::newRow("empty record") << "{}" << false;
        QTest::newRow("no record") << "[1" << true;
        QTest::newRow("a text for a choice") << R"({"marked":"C1"})" << false;
    }
    void current_nothingSaved_equalsMain() {
        QFETCH(QString, text);
        QFETCH(bool, warned);
        AccountFixture fixture(allKinds());
        save(text);
        fixture.world.login();
        LogCapture log;
        fixture.load();
        QCOMPARE(fixture.securityAccounts.GetCurrentSecurityAccountMap(), kMain);
        QCOMPARE(log.contains(QtWarningMsg, "saved security accounts are not readable:"), warned);
    }

    void current_savedChoice_isTakenWhereItIsStillLegal() {
        AccountFixture fixture(allKinds());
        save(R"({"unmarked":{"1":"A2","2":"gone","9":"A1"},"nobody":{"1":"A1"},)"
             R"("query":{"1":"D2"}})");
        fixture.world.login();
        LogCapture log;
        fixture.load();
        ChosenMap expected = kMain;
        expected["unmarked"]["1"] = "A2";
        expected["query"]["1"] = "D2";
        QCOMPARE(fixture.securityAccounts.GetCurrentSecurityAccountMap(), expected);
        QCOMPARE(fixture.securityAccounts.GetCurrentSecurityAccountByTradingAccount("unmarked"),
                 (Chosen{{"1", "A2"}, {"2", "B1"}}));
        QVERIFY(
            fixture.securityAccounts.GetCurrentSecurityAccountByTradingAccount("nobody").isEmpty());
        QCOMPARE(
            fixture.securityAccounts.GetCurrentSecurityAccountByTradingAndExchange("query", "1"),
            QString("D2"));
        QCOMPARE(
            fixture.securityAccounts.GetCurrentSecurityAccountByTradingAndExchange("query", "2"),
            QString());
        QCOMPARE(fixture.securityAccounts.GetAllMainSecurityAccount(), kMain);
        QCOMPARE(log.texts().filter("根据本地保存的股东账号将当前股东账号修改为：").size(), 2);
        QVERIFY(log.contains("根据本地保存的股东账号将当前股东账号修改为： \"A2\""));
        QCOMPARE(log.texts().filter("检查到本地保存的股东账号数据不在可选列表内：").size(), 3);
        QVERIFY(log.contains("检查到本地保存的股东账号数据不在可选列表内： \"gone\""));
    }

    void current_savedByHandWithBareCommas_isReadOrLogged_data() {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("chosen");
        QTest::addColumn<bool>("warned");
        QTest::newRow("quotes escaped")
            << QByteArray(R"({\"unmarked\":{\"1\":\"A2\",\"2\":\"B1\"}})") << "A2" << false;
        QTest::newRow("quotes bare")
            << QByteArray(R"({"unmarked":{"1":"A2","2":"B1"}})") << "A1" << true;
    }
    void current_savedByHandWithBareCommas_isReadOrLogged() {
        QFETCH(QByteArray, text);
        QFETCH(QString, chosen);
        QFETCH(bool, warned);
        AccountFixture fixture(allKinds());
        QFile file(fixture.world.homeDir() + "/settings/client.ini");
        QVERIFY(file.open(QFile::WriteOnly));
        file.write("[General]\n" + SettingFieldName::LocalSecurityAccount.toUtf8() + '=' + text +
                   '\n');
        file.close();
        // The settings read their file again when they write.
        ZnCore::instance()->saveSetting("other", 1);
        fixture.world.login();
        const LogCapture log;
        fixture.load();
        QCOMPARE(
            fixture.securityAccounts.GetCurrentSecurityAccountByTradingAndExchange("unmarked", "1"),
            chosen);
        QCOMPARE(log.contains(QtWarningMsg, "saved security accounts are not readable:"), warned);
    }

    void set_legalChoice_isStoredSavedAndReported() {
        AccountFixture fixture(allKinds());
        fixture.world.login();
        fixture.load();
        LogCapture log;
        QCOMPARE(
            fixture.securityAccounts.SetCurrentSecurityAccountMap({{"unmarked", {{"1", "A2"}}}}),
            0);
        QCOMPARE(
            fixture.securityAccounts.GetCurrentSecurityAccountByTradingAndExchange("unmarked", "1"),
            QString("A2"));
        const QString text =
            R"({"cold":{"Q":"E1"},"marked":{"1":"C2"},"unmarked":{"1":"A2","2":"B1"}})";
        QCOMPARE(savedText(), text);
        QCOMPARE(log.count(QtDebugMsg, "保存当前股东账号数据： " + text), 1);
        QCOMPARE(fixture.sink.changes.load(), 1);
        // The next start finds it.
        SecurityAccounts next(fixture.state, fixture.sink);
        QCOMPARE(next.GetCurrentSecurityAccountByTradingAndExchange("unmarked", "1"),
                 QString("A2"));
    }

    void set_valueThatIsCurrent_isNoChange() {
        AccountFixture fixture(allKinds());
        fixture.world.login();
        fixture.load();
        QCOMPARE(fixture.securityAccounts.SetCurrentSecurityAccountMap(
                     {{"unmarked", {{"1", "A1"}}}, {"marked", {{"1", "C2"}}}}),
                 0);
        QCOMPARE(fixture.sink.changes.load(), 0);
        QVERIFY(!savedText().isEmpty());
    }

    void set_nothing_savesTheTableWithoutAChange() {
        AccountFixture fixture(allKinds());
        fixture.world.login();
        fixture.load();
        QCOMPARE(savedText(), QString());
        QCOMPARE(fixture.securityAccounts.SetCurrentSecurityAccountMap({}), 0);
        QCOMPARE(
            savedText(),
            QString(R"({"cold":{"Q":"E1"},"marked":{"1":"C2"},"unmarked":{"1":"A1","2":"B1"}})"));
        QCOMPARE(fixture.sink.changes.load(), 0);
        QCOMPARE(fixture.securityAccounts.GetCurrentSecurityAccountMap(), kMain);
    }

    void set_accountThatHadNone_isAChange() {
        AccountFixture fixture(allKinds());
        fixture.world.login();
        fixture.load();
        QCOMPARE(fixture.securityAccounts.SetCurrentSecurityAccountMap({{"query", {{"1", "D2"}}}}),
                 0);
        QCOMPARE(fixture.sink.changes.load(), 1);
    }

    void set_oneEntryRefused_keepsTheOthersSavesTheTableAndReturnsMinusOne() {
        AccountFixture fixture(allKinds());
        fixture.world.login();
        fixture.load();
        LogCapture log;
        QCOMPARE(fixture.securityAccounts.SetCurrentSecurityAccountMap(
                     {{"%2%4", {{"%1", "%3"}}},
                      {"unmarked", {{"1", "Z9"}, {"2", "B1"}}},
                      {"marked", {{"1", "C1"}}}}),
                 -1);
        ChosenMap expected = kMain;
        expected["marked"]["1"] = "C1";
        QCOMPARE(fixture.securityAccounts.GetCurrentSecurityAccountMap(), expected);
        QCOMPARE(savedText(), QString(R"({"cold":{"Q":"E1"},"marked":{"1":"C1"},)"
                                      R"("unmarked":{"1":"A1","2":"B1"}})"));
        QCOMPARE(fixture.sink.changes.load(), 1);
        QCOMPARE(log.count(QtDebugMsg,
                           "存在账号设置错误，交易账号：unmarked，市场：1，合法证券账号列表："
                           "A1,A2，设置账号：Z9失败"),
                 1);
        QCOMPARE(log.count(QtDebugMsg,
                           "存在账号设置错误，交易账号：%2%4，市场：%1，合法证券账号列表："
                           "，设置账号：%3失败"),
                 1);
    }

    void set_everythingRefused_changesNothingAndSavesTheTable() {
        AccountFixture fixture(allKinds());
        fixture.world.login();
        fixture.load();
        QCOMPARE(savedText(), QString());
        const LogCapture log;
        // Frozen: in the main table, but not a legal choice.
        QCOMPARE(fixture.securityAccounts.SetCurrentSecurityAccountMap(
                     {{"cold", {{"Q", "E1"}}}, {"unmarked", {{"1", ""}}}}),
                 -1);
        QCOMPARE(fixture.securityAccounts.GetCurrentSecurityAccountMap(), kMain);
        const QString text =
            R"({"cold":{"Q":"E1"},"marked":{"1":"C2"},"unmarked":{"1":"A1","2":"B1"}})";
        QCOMPARE(savedText(), text);
        QCOMPARE(log.count(QtDebugMsg, "保存当前股东账号数据： " + text), 1);
        QCOMPARE(fixture.sink.changes.load(), 0);
    }

    void set_sinkThatCallsBack_findsNoLockHeld() {
        AccountFixture fixture(allKinds());
        fixture.world.login();
        fixture.load();
        CallingSink sink;
        SecurityAccounts accounts(fixture.state, sink);
        sink.ask = [&accounts] {
            accounts.GetAllSecurityAccountMap();
            accounts.GetAllMainSecurityAccount();
            return accounts.GetCurrentSecurityAccountMap();
        };
        accounts.initCurSecurityAccount();
        QCOMPARE(accounts.SetCurrentSecurityAccountMap({{"marked", {{"1", "C1"}}}}), 0);
        QCOMPARE(sink.seen.value("marked").value("1"), QString("C1"));
    }

    void anyOperation_beforeTheLoad_returnsOnlyAfterIt_data() {
        QTest::addColumn<Ask>("ask");
        QTest::newRow("all") << Ask(
            [](SecurityAccounts& s) { return s.GetAllSecurityAccountMap().size(); });
        QTest::newRow("list") << Ask([](SecurityAccounts& s) {
            return s.GetSecurityAccountListByTradingAccountAndExchange("T1", "1").size();
        });
        QTest::newRow("all main") << Ask(
            [](SecurityAccounts& s) { return s.GetAllMainSecurityAccount().size(); });
        QTest::newRow("main") << Ask(
            [](SecurityAccounts& s) { return s.GetMainSecurityAccount("T1", "1").size() - 1; });
        QTest::newRow("all current")
            << Ask([](SecurityAccounts& s) { return s.GetCurrentSecurityAccountMap().size(); });
        QTest::newRow("current by account") << Ask([](SecurityAccounts& s) {
            return s.GetCurrentSecurityAccountByTradingAccount("T1").size();
        });
        QTest::newRow("current") << Ask([](SecurityAccounts& s) {
            return s.GetCurrentSecurityAccountByTradingAndExchange("T1", "1").size() - 1;
        });
        QTest::newRow("set") << Ask([](SecurityAccounts& s) {
            return s.SetCurrentSecurityAccountMap({{"T1", {{"1", "A1"}}}}) + 1;
        });
    }
    void anyOperation_beforeTheLoad_returnsOnlyAfterIt() {
        QFETCH(Ask, ask);
        AccountFixture fixture({TestAccount("T1").withSecurityAccount("1", "A1")});
        fixture.world.login();
        LogCapture log;
        std::atomic<int> got{-1};
        std::thread reader([&] { got = ask(fixture.securityAccounts); });
        const bool waits = log.waitFor("GetFundAccountList wait for FundAccountInit");
        const int early = got;
        fixture.load();
        reader.join();
        QVERIFY(waits);
        QCOMPARE(early, -1);
        QCOMPARE(got.load(), 1);
    }

    void firstQuestions_fromManyThreadsDuringTheLoad_seeWholeTables() {
        AccountFixture fixture(allKinds());
        fixture.world.login();
        std::vector<std::thread> readers;
        std::atomic<int> wrong{0};
        for (int i = 0; i < 6; ++i) {
            readers.emplace_back([&fixture, &wrong] {
                SecurityAccounts& accounts = fixture.securityAccounts;
                // Two first callers may both append.
                QStringList list =
                    accounts.GetSecurityAccountListByTradingAccountAndExchange("unmarked", "1");
                list.removeDuplicates();
                wrong += list == QStringList{"A1", "A2"} ? 0 : 1;
                wrong += accounts.GetAllMainSecurityAccount() == kMain ? 0 : 1;
                wrong += accounts.GetCurrentSecurityAccountMap() == kMain ? 0 : 1;
            });
        }
        fixture.startLoad();
        for (std::thread& reader : readers) {
            reader.join();
        }
        QCOMPARE(wrong.load(), 0);
    }

    void changes_fromTwoThreads_endWithTheTableSaved() {
        AccountFixture fixture(allKinds());
        fixture.world.login();
        fixture.load();
        const auto change = [&fixture](const QString& to) {
            for (int i = 0; i < 20; ++i) {
                fixture.securityAccounts.SetCurrentSecurityAccountMap({{"unmarked", {{"1", to}}}});
            }
        };
        std::thread other([&change] { change("A1"); });
        change("A2");
        other.join();
        SecurityAccounts next(fixture.state, fixture.sink);
        QCOMPARE(next.GetCurrentSecurityAccountMap(),
                 fixture.securityAccounts.GetCurrentSecurityAccountMap());
    }

    void reader_hostCloses_returns() {
        AccountFixture fixture(allKinds());
        LogCapture log;
        std::thread reader([&fixture] {
            QVERIFY(fixture.securityAccounts.GetCurrentSecurityAccountMap().isEmpty());
        });
        QVERIFY(log.waitFor("GetFundAccountList wait for FundAccountInit"));
        LocalPlatform::instance().close();
        reader.join();
    }
};

QTEST_GUILESS_MAIN(SecurityAccountsTest)
#include "security_accounts_test.moc"

#include "accounts_command.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QtTest>
#include <limits>

#include "child_process.h"
#include "facade_recorder.h"
#include "test_paths.h"
#include "text_table.h"
#include "vocabulary/values.h"

namespace {

constexpr int kWide = std::numeric_limits<int>::max();
inline const QString kProgram = QStringLiteral(VELMAR_BINARY_DIR "/bin/velmar-client");

QJsonObject record(const QString& account, int authorities = 31) {
    return {{"tradingAccount", account},
            {"accountName", "账户" + account},
            {"fundAccountType", FundAccountType::Cash},
            {"authorityFlags", authorities},
            {"counterSiteType", 0},
            {"accountStatus", "0"}};
}

QJsonObject with(QJsonObject one, const QString& field, const QJsonValue& value) {
    one.insert(field, value);
    return one;
}

/// Functions without a configured result answer with an empty list.
class Answers final : public FacadeRecorder {
public:
    QMap<QString, QJsonObject> records;  ///< by account

protected:
    void reply(const QString& name, const QStringList& arguments, QJsonObject* answer) override {
        const bool isRecord = name == "GetAccountInfoByTradingAccount";
        answer->insert("result", isRecord ? QJsonValue(records.value(arguments.first()))
                                          : results.value(name, QJsonArray()));
    }
};

/// Title of a list to whether it contains the account, and why not.
QMap<QString, QPair<QJsonValue, QString>> listsOf(const CommandAnswer& answer) {
    QMap<QString, QPair<QJsonValue, QString>> lists;
    const QJsonArray entries = answer.json.toObject().value("lists").toArray();
    for (const QJsonValue& one : entries) {
        QStringList reasons;
        const QJsonArray why = one.toObject().value("reasons").toArray();
        for (const QJsonValue& reason : why) {
            reasons.append(reason.toString());
        }
        lists.insert(one.toObject().value("list").toString(),
                     {one.toObject().value("in"), reasons.join("; ")});
    }
    return lists;
}

}  // namespace

class AccountsCommandTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_library.load(facadeLibraryFile(), &error), qPrintable(error));
    }

    void list_listedFirstThenTheOthers_standAligned() {
        Answers answers;
        answers.results = {
            {"GetFundAccountList",
             QJsonArray{record("T2"), with(record("T1", 17), "accountName", "Plain")}},
            {"GetAllSecurityAccountMap",
             QJsonObject{{"T2", QJsonObject{{Exchange::sh, QJsonArray{"a"}},
                                            {Exchange::sz, QJsonArray()}}}}}};
        answers.records = {{"T3", with(with(record("T3"), "accountStatus", AccountStatus::freezing),
                                       "fundAccountType", FundAccountType::Metal)}};
        AccountsCommand command(m_library, answers.function(), {"T1", "T2", "T3", "T4"});
        const CommandAnswer answer = command.list(kWide);
        QVERIFY(!answer.interrupted);
        QCOMPARE(answer.lines.size(), 7);
        QCOMPARE(answer.lines.last(),
                 QString("May: Q query, E edit, A authority, S subscribe, T trade"));
        const int mayColumn = displayWidth(answer.lines.first().section("May", 0, 0));
        const QStringList starts{"T2", "T1", "T3", "T4"};
        const QStringList letters{"QEAST", "Q---T", "QEAST", "-----"};
        const QStringList states{"normal", "normal", "frozen", "not loaded"};
        for (int i = 0; i < starts.size(); ++i) {
            const QString line = answer.lines.at(i + 2);
            QVERIFY2(line.startsWith(starts.at(i)), qPrintable(line));
            QVERIFY2(line.contains(states.at(i)), qPrintable(line));
            QCOMPARE(displayWidth(line.section(letters.at(i), 0, 0)), mayColumn);
        }
        QVERIFY(answer.lines.at(2).endsWith("Shanghai"));
        QVERIFY(answer.lines.at(4).contains("贵金属"));
        const QJsonObject first = answer.json.toArray().first().toObject();
        QCOMPARE(first.value("account").toString(), QString("T2"));
        QCOMPARE(first.value("exchanges").toArray(), QJsonArray{Exchange::sh});
        QCOMPARE(first.value("authorities").toArray().size(), 5);
        const QJsonObject last = answer.json.toArray().last().toObject();
        QCOMPARE(last.value("account").toString(), QString("T4"));
        QCOMPARE(last.value("counter").toString(), QString());
    }

    void why_account_asksEveryListWithArgumentsThatFit() {
        Answers answers;
        answers.records = {{"T1", record("T1")}};
        AccountsCommand command(m_library, answers.function(), {});
        const CommandAnswer answer = command.why("T1", kWide);
        QVERIFY(answer.error.isEmpty());
        for (const char* function : {"GetTradingAccountList", "GetFundAccountListByFundProp",
                                     "GetDistributedAccountList", "GetHKAccountInfoList",
                                     "GetHStockCirculateAccountList", "GetAllSecurityAccountMap"}) {
            QVERIFY2(answers.calls.contains(function), function);
        }
        QVERIFY(answer.lines.filter("is not exported").isEmpty());
        QCOMPARE(answer.json.toObject().value("lists").toArray().size(), answers.calls.size() - 2);
    }

    void why_accountInAList_saysSo() {
        Answers answers;
        answers.records = {{"T1", record("T1")}};
        answers.results = {{"GetTradingAccountList", QJsonArray{"T1"}},
                           {"GetDistributedAccountList", QJsonArray{record("T1")}}};
        AccountsCommand command(m_library, answers.function(), {});
        const auto lists = listsOf(command.why("T1", kWide));
        QCOMPARE(lists.value("with the right: trade").first, QJsonValue(true));
        QCOMPARE(lists.value("tradable, distributed counter").first, QJsonValue(true));
        QCOMPARE(lists.value("tradable, distributed counter").second, QString());
        QCOMPARE(lists.value("现货").first, QJsonValue(false));
        QCOMPARE(lists.value("现货").second,
                 QString("the answers of the functions do not say why"));
    }

    void why_missingFromAList_saysWhy_data() {
        QTest::addColumn<QJsonObject>("one");
        QTest::addColumn<QString>("list");
        QTest::addColumn<QString>("reason");
        const QJsonObject plain = record("T1");
        const QJsonObject distributed = with(plain, "counterSiteType", 1);
        QTest::newRow("frozen") << with(distributed, "accountStatus", AccountStatus::freezing)
                                << "tradable, central counter"
                                << "it is frozen";
        QTest::newRow("right") << record("T1", 15) << "with the right: trade"
                               << "no right: trade";
        QTest::newRow("distributed") << distributed << "tradable, central counter"
                                     << "it is on a distributed counter";
        QTest::newRow("central") << plain << "tradable, distributed counter"
                                 << "it is on a central counter";
        QTest::newRow("kind") << plain << "期货"
                              << "it is of the kind 现货";
        QTest::newRow("exchange") << plain << "tradable at Beijing"
                                  << "no security account at Beijing";
        QTest::newRow("several") << record("T1", 1) << "tradable at Beijing"
                                 << "no right: trade; no security account at Beijing";
        QTest::newRow("either") << plain << "Hong Kong connect"
                                << "no security account at HK by Shanghai, HK by Shenzhen";
    }
    void why_missingFromAList_saysWhy() {
        QFETCH(QJsonObject, one);
        QFETCH(QString, list);
        QFETCH(QString, reason);
        Answers answers;
        answers.records = {{"T1", one}};
        answers.results = {{"GetAllSecurityAccountMap",
                            QJsonObject{{"T1", QJsonObject{{Exchange::sh, QJsonArray{"a"}},
                                                           {Exchange::bj, QJsonArray()}}}}}};
        AccountsCommand command(m_library, answers.function(), {});
        const CommandAnswer answer = command.why("T1", kWide);
        const auto lists = listsOf(answer);
        QVERIFY(lists.contains(list));
        QCOMPARE(lists.value(list).first, QJsonValue(false));
        QCOMPARE(lists.value(list).second, reason);
        QVERIFY(answer.lines.join('\n').contains(list));
    }

    void why_listedButNotLoaded_saysSo() {
        Answers answers;
        // An account without a record is in no list, whatever others have.
        answers.results = {{"GetTradingAccountList", QJsonArray{"T2"}},
                           {"GetDistributedAccountList", QJsonArray{record("T2")}}};
        AccountsCommand command(m_library, answers.function(), {"T1", "T2"});
        const CommandAnswer answer = command.why("T1", kWide);
        QCOMPARE(answer.error, QString());
        QCOMPARE(answer.lines.value(0), QString("T1"));
        QCOMPARE(answer.lines.value(1), QString("not loaded"));
        const QJsonObject account = answer.json.toObject();
        QCOMPARE(account.value("account").toString(), QString("T1"));
        QCOMPARE(account.value("state").toString(), QString("not loaded"));
        QCOMPARE(account.value("kind").toString(), QString());
        QCOMPARE(account.value("counter").toString(), QString());
        const auto lists = listsOf(answer);
        QVERIFY(lists.size() > 10);
        for (const auto& list : lists) {
            QCOMPARE(list.first, QJsonValue(false));
            QCOMPARE(list.second, QString("the counter sent no row for it"));
        }
    }

    void why_noExchanges_isNoneOrUnknown_data() {
        QTest::addColumn<QJsonObject>("one");
        QTest::addColumn<bool>("answered");
        QTest::addColumn<QString>("shown");
        QTest::newRow("normal") << record("T1") << true << "none";
        QTest::newRow("frozen") << with(record("T1"), "accountStatus", AccountStatus::freezing)
                                << true << "unknown (the account is frozen)";
        QTest::newRow("not loaded")
            << QJsonObject() << true << "unknown (the account is not loaded)";
        QTest::newRow("no answer") << record("T1") << false << "unknown";
    }
    void why_noExchanges_isNoneOrUnknown() {
        QFETCH(QJsonObject, one);
        QFETCH(bool, answered);
        QFETCH(QString, shown);
        Answers answers;
        answers.records = {{"T1", one}};
        if (answered) {
            answers.results = {{"GetAllSecurityAccountMap", QJsonObject()}};
        }
        AccountsCommand command(m_library, answers.function(), {"T1"});
        QCOMPARE(command.why("T1", kWide).lines.value(2), "security accounts at: " + shown);
    }

    void why_nameWithALineBreak_staysInTheHeading() {
        Answers answers;
        answers.records = {{"T1", with(record("T1"), "accountName", "A\nyes  forged")}};
        AccountsCommand command(m_library, answers.function(), {"T1"});
        const CommandAnswer answer = command.why("T1", kWide);
        QCOMPARE(answer.lines.first(), QStringLiteral("T1  A\uFFFDyes  forged"));
        QCOMPARE(answer.json.toObject().value("name").toString(), QString("A\nyes  forged"));
    }

    void why_unknownAccount_namesCloseOnes() {
        Answers answers;
        AccountsCommand command(m_library, answers.function(), {"T000001", "X9"});
        const CommandAnswer answer = command.why("T00000l", kWide);
        QCOMPARE(answer.error, QString("no account is called 'T00000l'; similar names: T000001"));
        QVERIFY(answer.lines.isEmpty());
    }

    void list_functionsThatTheLibraryLacks_areNamed() {
        Answers answers;
        const FacadeLibrary empty;
        AccountsCommand command(empty, answers.function(), {"T1"});
        const CommandAnswer answer = command.list(kWide);
        QVERIFY(answer.lines.contains("GetAllSecurityAccountMap is not exported"));
        QVERIFY(answer.lines.contains("GetFundAccountList is not exported"));
        QVERIFY(answers.calls.isEmpty());
    }

    void interrupt_endsTheQuestions() {
        Answers answers;
        answers.records = {{"T1", record("T1")}};
        answers.interruptAfter = 3;
        AccountsCommand command(m_library, answers.function(), {"T1"});
        QVERIFY(command.why("T1", kWide).interrupted);
        QCOMPARE(answers.calls.size(), 3);
    }

    void program_accounts_answersFromTheRunningClient() {
        const QTemporaryDir home;
        const auto run = [&home](const QStringList& arguments) {
            return runChild(kProgram, QStringList{"--home", home.path(), "accounts"} + arguments);
        };
        const ChildResult list = run({"list"});
        QVERIFY2(list.succeeded(), qPrintable(list.output));
        QCOMPARE(list.output.count("\nT000"), 200);
        QCOMPARE(list.output.count("  frozen"), 12);
        const ChildResult why = run({"why", "T000006", "--json"});
        QVERIFY2(why.succeeded(), qPrintable(why.output));
        const QJsonObject account = QJsonDocument::fromJson(why.output.toUtf8()).object();
        QCOMPARE(account.value("state").toString(), QString("frozen"));
        const QJsonArray lists = account.value("lists").toArray();
        for (const QJsonValue& one : lists) {
            QCOMPARE(one.toObject().value("in"), QJsonValue(false));
            QCOMPARE(one.toObject().value("reasons").toArray(), QJsonArray{"it is frozen"});
        }
        const ChildResult distributed = run({"why", "T000008"});
        QVERIFY2(distributed.succeeded(), qPrintable(distributed.output));
        QVERIFY(distributed.output.contains("it is on a distributed counter"));
        QVERIFY(!distributed.output.contains("nothing that the functions answer"));
        const ChildResult unknown = run({"why", "T00000X"});
        QCOMPARE(unknown.exitCode, 2);
        QVERIFY2(unknown.output.contains("no account is called 'T00000X'"),
                 qPrintable(unknown.output));
    }

private:
    FacadeLibrary m_library;
};

QTEST_GUILESS_MAIN(AccountsCommandTest)
#include "accounts_command_test.moc"

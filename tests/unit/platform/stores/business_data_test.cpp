#include <QRegularExpression>
#include <QSet>
#include <QtTest>
#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include "child_process.h"
#include "data_stores.h"
#include "fake_clock.h"
#include "host_msg_type.h"
#include "local_platform.h"
#include "log_capture.h"
#include "temp_home.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

QVariantMap treeRow(const QString& account, const QStringList& authorities,
                    const QString& name = QString()) {
    return {{UserAccount::tradingAccount, account},
            {UserAccount::tradingAccountName, name.isEmpty() ? "name of " + account : name},
            {HostField::authorityTypes, authorities.join(',')}};
}

CBusinessDataBase& base() {
    return *CBusinessDataBase::GetInstance();
}

bool accountListIsReady() {
    QVariant ready;
    return base().GetCacheData(Constants::USER_ACCOUNTLIST_INITED, ready) && ready.toBool();
}

}  // namespace

class BusinessDataTest : public QObject {
    Q_OBJECT

private slots:
    void init() {
        m_home = std::make_unique<TempHome>();
        QVERIFY(LocalPlatform::instance().start(m_home->options(), nullptr));
    }

    void beforeTheLogin_everyAnswerIsEmpty() {
        QCOMPARE(base().GetLoginAccount(), QString());
        QVERIFY(base().GetTradeAccountList({AuthorityType::AccountTrade}).isEmpty());
        QVERIFY(base().GetTradeAccountAuthorityTypeList("A1").isEmpty());
        QVERIFY(base().GetAccountDetailsByTradinngAccount("A1").isEmpty());
        QVERIFY(base().GetSecurityAccountListByTradeAccount("A1", QString()).isEmpty());
        QVariant value("as it was");
        QVERIFY(!base().GetCacheData(Constants::USER_ACCOUNTLIST_INITED, value));
        QCOMPARE(value, QVariant("as it was"));
    }

    void login_isKnownByItsUserId() {
        DataStores::businessData().setLogin({{UserAccount::userID, "u1"}});
        QCOMPARE(base().GetLoginAccount(), QString("u1"));
        QVERIFY(!accountListIsReady());
    }

    void accountList_isReadyOnceTheTreeHasCome() {
        DataStores::businessData().setLogin({{UserAccount::userID, "u1"}});
        DataStores::businessData().setAccountTree({});
        QVERIFY(accountListIsReady());
        QVERIFY(base().GetTradeAccountList({AuthorityType::AccountTrade}).isEmpty());
    }

    void accountList_keepsTheServersOrder() {
        DataStores::businessData().setAccountTree({treeRow("Z", {AuthorityType::AccountTrade}),
                                                   treeRow("A", {AuthorityType::AccountQuery}),
                                                   treeRow("M", {AuthorityType::AccountTrade})});
        QCOMPARE(base().GetTradeAccountList({AuthorityType::AccountTrade}),
                 QStringList({"Z", "M"}));
        QCOMPARE(
            base().GetTradeAccountList({AuthorityType::AccountQuery, AuthorityType::AccountTrade}),
            QStringList({"Z", "A", "M"}));
        QVERIFY(base().GetTradeAccountList({AuthorityType::AccountEdit}).isEmpty());
        QVERIFY(base().GetTradeAccountList({}).isEmpty());
    }

    void upperLevels_areTheTreesOwnEachOnce() {
        const auto under = [](const QString& account, const QString& product) {
            QVariantMap row = treeRow(account, {AuthorityType::AccountTrade});
            row.insert(UserAccount::investorAccount, "I1");
            row.insert(UserAccount::productAccount, product);
            return row;
        };
        DataStores::businessData().setAccountTree(
            {under("A", "P2"), under("B", "P1"), under("C", "P2")});
        QCOMPARE(base().GetInvestorAccountList(), QStringList{"I1"});
        QCOMPARE(base().GetProductAccountList(), (QStringList{"P2", "P1"}));
        QVERIFY(base().GetAssetAccountList().isEmpty());
    }

    void loginDetail_isTheLoginsRecord() {
        const QVariantMap record{{UserAccount::userID, "u1"}, {UserAccount::organCode, "0101"}};
        DataStores::businessData().setLogin(record);
        QCOMPARE(base().GetLoginAccountDetail(), record);
    }

    void accountWithSeveralAuthorities_comesOnce() {
        DataStores::businessData().setAccountTree(
            {treeRow("A", {AuthorityType::AccountTrade, AuthorityType::AccountQuery})});
        QCOMPARE(
            base().GetTradeAccountList({AuthorityType::AccountQuery, AuthorityType::AccountTrade}),
            QStringList{"A"});
        QCOMPARE(base().GetTradeAccountAuthorityTypeList("A"),
                 QStringList({AuthorityType::AccountTrade, AuthorityType::AccountQuery}));
    }

    void rowsOfOneAccount_areMergedAtTheFirstOnesPlace() {
        DataStores::businessData().setAccountTree(
            {treeRow("B", {AuthorityType::AccountTrade}, "old"),
             treeRow("A", {AuthorityType::AccountTrade}),
             treeRow("B", {AuthorityType::AccountEdit, AuthorityType::AccountTrade}, "new")});
        QCOMPARE(base().GetTradeAccountList({AuthorityType::AccountTrade}),
                 QStringList({"B", "A"}));
        QCOMPARE(base().GetTradeAccountAuthorityTypeList("B"),
                 QStringList({AuthorityType::AccountTrade, AuthorityType::AccountEdit}));
        QCOMPARE(base()
                     .GetAccountDetailsByTradinngAccount("B")
                     .value(UserAccount::tradingAccountName)
                     .toString(),
                 QString("new"));
    }

    void record_holdsTheAccountsFieldsOnly() {
        DataStores::businessData().setAccountTree(
            {treeRow("A", {AuthorityType::AccountTrade}, "name")});
        const QVariantMap expected{{UserAccount::tradingAccount, "A"},
                                   {UserAccount::tradingAccountName, "name"}};
        QCOMPARE(base().GetAccountDetailsByTradinngAccount("A"), expected);
        QVERIFY(base().GetAccountDetailsByTradinngAccount("B").isEmpty());
    }

    void securityAccounts_listed_areAnsweredInOrderAndByExchange() {
        const auto one = [](const QString& exchange, const QString& account) {
            return QVariantMap{{UserAccount::securityExchange, exchange},
                               {UserAccount::securityAccount, account},
                               {UserAccount::isMainAccount, "0"}};
        };
        QVariantMap row = treeRow("A", {AuthorityType::AccountTrade});
        row.insert(HostField::securityAccounts,
                   QVariantList{one("1", "b"), one("2", "c"), one("1", "a"), one("1", "")});
        QVariantMap again = treeRow("A", {AuthorityType::AccountTrade});
        again.insert(HostField::securityAccounts, QVariantList{one("2", "c"), one("2", "d")});
        DataStores::businessData().setAccountTree({row, again});
        QCOMPARE(base().GetSecurityAccountListByTradeAccount("A", QString()),
                 (QList<QVariantMap>{one("1", "b"), one("2", "c"), one("1", "a"), one("2", "d")}));
        QCOMPARE(base().GetSecurityAccountListByTradeAccount("A", "1"),
                 (QList<QVariantMap>{one("1", "b"), one("1", "a")}));
        QVERIFY(base().GetSecurityAccountListByTradeAccount("A", "9").isEmpty());
        QVERIFY(base().GetSecurityAccountListByTradeAccount("B", QString()).isEmpty());
        QVERIFY(
            !base().GetAccountDetailsByTradinngAccount("A").contains(HostField::securityAccounts));
    }

    void securityAccounts_notListed_areTheOneOfTheRecord() {
        QVariantMap row = treeRow("A", {AuthorityType::AccountTrade});
        row.insert(UserAccount::securityExchange, "1");
        row.insert(UserAccount::securityAccount, "a");
        row.insert(UserAccount::isMainAccount, "1");
        DataStores::businessData().setAccountTree(
            {row, treeRow("B", {AuthorityType::AccountTrade})});
        const auto rows = base().GetSecurityAccountListByTradeAccount("A", QString());
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows.first().value(UserAccount::securityAccount).toString(), QString("a"));
        QCOMPARE(rows.first().value(UserAccount::isMainAccount).toString(), QString("1"));
        QVERIFY(base().GetSecurityAccountListByTradeAccount("B", QString()).isEmpty());
    }

    void rowWithoutAccount_isDroppedAndLogged() {
        const LogCapture log;
        DataStores::businessData().setAccountTree(
            {treeRow(QString(), {AuthorityType::AccountTrade}),
             treeRow("A", {AuthorityType::AccountTrade})});
        QCOMPARE(base().GetTradeAccountList({AuthorityType::AccountTrade}), QStringList{"A"});
        QVERIFY(log.contains(QtWarningMsg, "no trading account"));
    }

    void emptyAuthorities_countAsMissing() {
        QVariantMap row = treeRow("A", {});
        row.insert(HostField::authorityTypes, ",,");
        DataStores::businessData().setAccountTree({row});
        QVERIFY(base().GetTradeAccountAuthorityTypeList("A").isEmpty());
        QVERIFY(base().GetTradeAccountList({QString()}).isEmpty());
    }

    void otherLogin_forgetsTheAccountsBefore() {
        DataStores::businessData().setLogin({{UserAccount::userID, "u1"}});
        DataStores::businessData().setAccountTree({treeRow("A", {AuthorityType::AccountTrade})});
        DataStores::businessData().setLogin({{UserAccount::userID, "u1"}});
        QVERIFY(accountListIsReady());
        DataStores::businessData().setLogin({{UserAccount::userID, "u2"}});
        QVERIFY(!accountListIsReady());
        QVERIFY(base().GetTradeAccountList({AuthorityType::AccountTrade}).isEmpty());
    }

    void startingAgain_forgetsEverything() {
        DataStores::businessData().setLogin({{UserAccount::userID, "u1"}});
        DataStores::businessData().setAccountTree({treeRow("A", {AuthorityType::AccountTrade})});
        const FakeClock clock(QDateTime(QDate(2020, 1, 1), QTime(1, 2, 3)));
        LocalPlatform::instance().setClock(clock.function());
        QVERIFY(LocalPlatform::instance().start(m_home->options(), nullptr));
        QCOMPARE(base().GetLoginAccount(), QString());
        QVERIFY(!accountListIsReady());
        QVERIFY(base().GetAccountDetailsByTradinngAccount("A").isEmpty());
        QVERIFY(base().getCurrentBusinessDateTime() != clock.now());
    }

    void readyMark_isSetOnlyWhenTheTreeCanBeRead() {
        QList<QVariantMap> rows;
        for (int i = 0; i < 500; ++i) {
            rows.append(treeRow(QString::number(i), {AuthorityType::AccountTrade}));
        }
        int seen = -1;
        std::thread reader([&seen]() {
            while (!accountListIsReady()) {
                std::this_thread::yield();
            }
            seen = base().GetTradeAccountList({AuthorityType::AccountTrade}).size();
        });
        DataStores::businessData().setAccountTree(rows);
        reader.join();
        QCOMPARE(seen, 500);
    }

    void readyMark_otherLogin_isGoneBeforeTheTree() {
        constexpr int kRounds = 10;
        std::atomic<bool> over{false};
        std::atomic<int> marksOfAnEmptyTree{0};
        std::vector<std::thread> readers;
        // These keep the lock of the mark busy, so that clearing the mark has to wait.
        for (int i = 0; i < 2; ++i) {
            readers.emplace_back([&over]() {
                while (!over) {
                    accountListIsReady();
                }
            });
        }
        for (int round = 0; round < kRounds; ++round) {
            DataStores::businessData().setLogin({{UserAccount::userID, QString::number(round)}});
            DataStores::businessData().setAccountTree(
                {treeRow("A", {AuthorityType::AccountTrade})});
            std::atomic<bool> watching{false};
            std::thread watcher([&]() {
                watching = true;
                while (!base().GetTradeAccountList({AuthorityType::AccountTrade}).isEmpty()) {
                }
                // No tree arrives meanwhile, so a mark that is still set belongs to the old tree.
                marksOfAnEmptyTree += accountListIsReady() ? 1 : 0;
            });
            while (!watching) {
                std::this_thread::yield();
            }
            DataStores::businessData().setLogin({{UserAccount::userID, "other"}});
            watcher.join();
        }
        over = true;
        for (std::thread& reader : readers) {
            reader.join();
        }
        QCOMPARE(marksOfAnEmptyTree.load(), 0);
    }

    void clock_isTheOneSet() {
        FakeClock clock(QDateTime(QDate(2024, 2, 29), QTime(23, 59, 59, 999)));
        LocalPlatform::instance().setClock(clock.function());
        QCOMPARE(base().getCurrentBusinessDateTime(), clock.now());
        clock.advance(1);
        QCOMPARE(base().getCurrentBusinessDateTime(), QDateTime(QDate(2024, 3, 1), QTime(0, 0)));
    }

    void withoutAClock_theMachinesTimeIsReturned() {
        LocalPlatform::instance().setClock(nullptr);
        const QDateTime before = QDateTime::currentDateTime();
        const QDateTime now = base().getCurrentBusinessDateTime();
        QVERIFY(before <= now && now <= QDateTime::currentDateTime());
    }

    void clientOrderIds_areUniqueOverThreads() {
        constexpr int kThreads = 4;
        constexpr int kIds = 5000;
        std::vector<QStringList> made(kThreads);
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&made, t]() {
                for (int i = 0; i < kIds; ++i) {
                    made[size_t(t)].append(base().getClientOrderID());
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        QSet<QString> all;
        for (const QStringList& ids : made) {
            QVERIFY(std::is_sorted(ids.cbegin(), ids.cend()));
            all.unite(QSet<QString>(ids.cbegin(), ids.cend()));
        }
        QCOMPARE(all.size(), kThreads * kIds);
    }

    void clientOrderIds_areOfOneFormAndStayApartFromOtherProcesses() {
        const QString program = QCoreApplication::applicationFilePath();
        const ChildResult other = runChild(program, {"--print-an-id"});
        QVERIFY2(other.succeeded(), qPrintable(other.output));
        const QString here = base().getClientOrderID();
        const QString there = other.output.trimmed();
        const QRegularExpression form(QStringLiteral("^[0-9]{13}[0-9a-f]{8}[0-9]{10}$"));
        QVERIFY2(form.match(here).hasMatch(), qPrintable(here));
        QVERIFY2(form.match(there).hasMatch(), qPrintable(there));
        // The part for the process differs even when all other parts are equal.
        QVERIFY(here.mid(13, 8) != there.mid(13, 8));
    }

private:
    std::unique_ptr<TempHome> m_home;
};

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    if (application.arguments().contains("--print-an-id")) {
        QTextStream(stdout) << CBusinessDataBase::GetInstance()->getClientOrderID() << '\n';
        return 0;
    }
    BusinessDataTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "business_data_test.moc"

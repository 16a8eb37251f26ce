#include <rapidcheck.h>

#include <QtTest>
#include <algorithm>
#include <functional>
#include <vector>

#include "account_lookups.h"
#include "account_state.h"
#include "lookups_over.h"

namespace {

struct Account {
    QString name;
    int authority = 0;
    int prop = 0;
    bool distributed = false;
    bool frozen = false;
    QStringList exchanges;
    QString clientNo;
    QString product;
    QString asset;
};

const QStringList kExchanges{"1", "2", "G"};
/// An exchange without accounts.
inline const QString kNobodysExchange = QStringLiteral("9");
/// Names of customers, products and assets; no account belongs to the last one.
const QStringList kNodes{"a", "b", "c", "nobody's"};
constexpr int kProps[] = {1, 2, 4, 8, 16};

/// One of the nodes, without the last `less` ones.
QString anyNode(int less = 0) {
    return kNodes.at(*rc::gen::inRange(0, static_cast<int>(kNodes.size()) - less));
}

/// Some exchanges as an argument, some of them twice, and perhaps one without accounts.
QStringList anyExchanges() {
    QStringList exchanges;
    for (int i = *rc::gen::inRange(0, 5); i > 0; --i) {
        exchanges.append(
            *rc::gen::elementOf(std::vector<QString>{"1", "2", "G", kNobodysExchange}));
    }
    return exchanges;
}

std::vector<Account> anyAccounts() {
    const int count = *rc::gen::inRange(0, 25);
    std::vector<Account> accounts;
    for (int i = 0; i < count; ++i) {
        Account account;
        account.name = QStringLiteral("T%1").arg(i);
        account.authority = *rc::gen::inRange(0, 32);
        account.prop = *rc::gen::element(1, 2, 4, 8, 16, 0);
        account.distributed = *rc::gen::arbitrary<bool>();
        account.frozen = *rc::gen::weightedElement<bool>({{1, true}, {5, false}});
        for (const QString& exchange : kExchanges) {
            if (*rc::gen::weightedElement<bool>({{1, true}, {3, false}})) {
                account.exchanges.append(exchange);
            }
        }
        account.clientNo = anyNode(1);
        account.product = anyNode(1);
        account.asset = anyNode(1);
        accounts.push_back(account);
    }
    return accounts;
}

/// Some of the accounts, some twice, and some that do not exist, in any order.
QStringList anyOrder(const std::vector<Account>& accounts) {
    QStringList order;
    for (int i = *rc::gen::inRange(0, 30); i > 0; --i) {
        const int place = *rc::gen::inRange(0, static_cast<int>(accounts.size()) + 3);
        order.append(QStringLiteral("T%1").arg(place));
    }
    return order;
}

void fill(AccountState& state, const std::vector<Account>& accounts, const QStringList& order) {
    const auto tables = state.m_accountLock.write();
    for (const Account& account : accounts) {
        tagUserAccountInfo record;
        record.tradingAccount = account.name;
        record.clientNo = account.clientNo;
        record.productAccount = account.product;
        record.assetAccount = account.asset;
        tables->m_accountInfoMap.insert(account.name, record);
        for (const QString& exchange : account.exchanges) {
            tables->m_hStockCirculateAccounts[exchange].insert(account.name);
        }
        if (account.frozen) {
            continue;
        }
        tables->m_normalAccounts.insert(account.name);
        tables->m_clientNoAccounts[account.clientNo].insert(account.name);
        tables->m_productAccounts[account.product].append(account.name);
        tables->m_assetAccounts[account.asset].append(account.name);
        (account.distributed ? tables->m_distributedAccounts : tables->m_centralAccounts)
            .insert(account.name);
        for (const int bit : kProps) {
            if (account.prop == bit) {
                tables->m_fundPropAccounts[bit].insert(account.name);
            }
            if (account.authority & bit) {
                tables->m_authorityAccounts[bit].insert(account.name);
            }
        }
    }
    const auto list = state.m_accountOrderLock.write();
    list->assign(order);
    state.m_fundAccountInited = true;
}

/// The expected list, worked out account by account.
QStringList expectedList(const std::vector<Account>& accounts, const QStringList& order,
                         const std::function<bool(const Account&)>& fits) {
    std::vector<QString> names;
    for (const Account& account : accounts) {
        if (!account.frozen && fits(account)) {
            names.push_back(account.name);
        }
    }
    std::sort(names.begin(), names.end());
    std::stable_sort(names.begin(), names.end(), [&order](const QString& a, const QString& b) {
        return order.indexOf(a) < order.indexOf(b);
    });
    return QStringList(names.begin(), names.end());
}

}  // namespace

class AccountLookupsPropertyTest : public QObject {
    Q_OBJECT

private slots:
    void list_anyAccountsAuthorityAndOrder_isTheNaiveList() {
        QVERIFY(rc::check("list by authority", [] {
            const auto accounts = anyAccounts();
            const QStringList order = anyOrder(accounts);
            const int mask = *rc::gen::inRange(0, 32);
            const bool distributed = *rc::gen::arbitrary<bool>();
            AccountState state;
            fill(state, accounts, order);
            const QStringList expected = expectedList(accounts, order, [&](const Account& account) {
                return (account.authority & mask) == mask && (distributed || !account.distributed);
            });
            const LookupsOver lookups(state);
            RC_ASSERT(lookups.GetTradingAccountList(true, mask, distributed) == expected);
            RC_ASSERT(namesOf(lookups.GetFundAccountList(true, mask, distributed)) == expected);
        }));
    }

    void fundProp_anyMasksAndExchanges_isTheNaiveList() {
        QVERIFY(rc::check("list by fund property and exchange", [] {
            const auto accounts = anyAccounts();
            const QStringList order = anyOrder(accounts);
            const int mask = *rc::gen::inRange(0, 32);
            const int prop = *rc::gen::inRange(0, 32);
            const bool distributed = *rc::gen::arbitrary<bool>();
            const QStringList exchanges = anyExchanges();
            AccountState state;
            fill(state, accounts, order);
            const QStringList expected = expectedList(accounts, order, [&](const Account& account) {
                const bool there =
                    exchanges.isEmpty() ||
                    std::any_of(exchanges.begin(), exchanges.end(), [&](const QString& one) {
                        return account.exchanges.contains(one);
                    });
                return (account.authority & mask) == mask && (account.prop & prop) && there &&
                       (distributed || !account.distributed);
            });
            const LookupsOver lookups(state);
            RC_ASSERT(namesOf(lookups.GetFundAccountListByFundProp(prop, mask, distributed,
                                                                   exchanges, true)) == expected);
        }));
    }

    void product_anyAuthority_isTheNaiveList() {
        QVERIFY(rc::check("list by product", [] {
            const auto accounts = anyAccounts();
            const QStringList order = anyOrder(accounts);
            const QString product = anyNode();
            const int mask = *rc::gen::inRange(0, 32);
            const bool distributed = *rc::gen::arbitrary<bool>();
            AccountState state;
            fill(state, accounts, order);
            const QStringList expected = expectedList(accounts, order, [&](const Account& account) {
                return account.product == product && (account.authority & mask) == mask &&
                       (distributed || !account.distributed);
            });
            const LookupsOver lookups(state);
            RC_ASSERT(lookups.GetTradingAccountListByProduct(product, true, mask, distributed) ==
                      expected);
            RC_ASSERT(namesOf(lookups.GetAccountInfoListFromProduct(product, true, mask,
                                                                    distributed)) == expected);
        }));
    }

    void asset_anyAccounts_isTheNaiveList() {
        QVERIFY(rc::check("list by asset account", [] {
            const auto accounts = anyAccounts();
            const QStringList order = anyOrder(accounts);
            const QString asset = anyNode();
            const bool distributed = *rc::gen::arbitrary<bool>();
            AccountState state;
            fill(state, accounts, order);
            const QStringList expected = expectedList(accounts, order, [&](const Account& account) {
                return account.asset == asset && (distributed || !account.distributed);
            });
            const LookupsOver lookups(state);
            RC_ASSERT(namesOf(lookups.GetAccountInfoListFromAsset(asset, true, distributed)) ==
                      expected);
        }));
    }

    void clientNo_anyFundProp_isTheNaiveList() {
        QVERIFY(rc::check("list by customer number and fund property", [] {
            const auto accounts = anyAccounts();
            const QStringList order = anyOrder(accounts);
            const QString clientNo = anyNode();
            const int prop = *rc::gen::inRange(0, 32);
            const bool distributed = *rc::gen::arbitrary<bool>();
            AccountState state;
            fill(state, accounts, order);
            const QStringList expected = expectedList(accounts, order, [&](const Account& account) {
                return account.clientNo == clientNo && (account.prop & prop) &&
                       (distributed || !account.distributed);
            });
            const LookupsOver lookups(state);
            RC_ASSERT(namesOf(lookups.GetAccountInfoListFromClientNo(clientNo, prop, true,
                                                                     distributed)) == expected);
        }));
    }
};

QTEST_APPLESS_MAIN(AccountLookupsPropertyTest)
#include "account_lookups_property_test.moc"

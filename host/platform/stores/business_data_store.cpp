#include "business_data_store.h"

#include <algorithm>
#include <utility>

#include "data_log.h"
#include "exchange_clock.h"
#include "host_msg_type.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"

namespace {

/// Removes the security accounts from a row of the tree and returns them. A row without a list has
/// the one security account that the account's record names.
QList<QVariantMap> takeSecurityAccounts(QVariantMap& row) {
    QVariantList listed;
    if (row.contains(HostField::securityAccounts)) {
        listed = row.take(HostField::securityAccounts).toList();
    } else {
        QVariantMap own;
        for (const QString& key : {UserAccount::securityAccount, UserAccount::securityExchange,
                                   UserAccount::isMainAccount}) {
            own.insert(key, row.value(key));
        }
        listed.append(own);
    }
    QList<QVariantMap> accounts;
    for (const QVariant& entry : qAsConst(listed)) {
        const QVariantMap account = entry.toMap();
        if (!account.value(UserAccount::securityAccount).toString().isEmpty()) {
            accounts.append(account);
        }
    }
    return accounts;
}

}  // namespace

void BusinessDataStore::clear() {
    {
        const std::unique_lock<std::shared_mutex> guard(m_loginLock);
        m_cache.clear();
        m_login.clear();
        m_tree = Tree();
    }
    setClock(nullptr);
}

void BusinessDataStore::setLogin(const QVariantMap& record) {
    const std::unique_lock<std::shared_mutex> guard(m_loginLock);
    const bool otherLogin = m_login.value(UserAccount::userID) != record.value(UserAccount::userID);
    m_login = record;
    if (otherLogin) {
        // The mark that the list is ready is removed before the list: a presenter that starts in
        // between waits for the next list instead of loading an empty one. Both happen under the
        // lock, or a tree that arrives meanwhile could lose its mark.
        m_cache.clear();
        m_tree = Tree();
    }
}

QString BusinessDataStore::loginAccount() const {
    const std::shared_lock<std::shared_mutex> guard(m_loginLock);
    return m_login.value(UserAccount::userID).toString();
}

QVariantMap BusinessDataStore::loginRecord() const {
    const std::shared_lock<std::shared_mutex> guard(m_loginLock);
    return m_login;
}

/// Moves the contents out of the rows, so that a tree of thousands of accounts is not copied.
BusinessDataStore::Tree BusinessDataStore::buildTree(QList<QVariantMap>& rows) {
    Tree tree;
    tree.accounts.reserve(rows.size());
    for (QVariantMap& row : rows) {
        const QString tradingAccount = row.value(UserAccount::tradingAccount).toString();
        if (tradingAccount.isEmpty()) {
            qCWarning(lcPlatformData) << "a row of the account tree has no trading account:" << row;
            continue;
        }
        // Authorities and security accounts are read by functions of their own; the record holds
        // the account's fields only.
        const QString joined = row.take(HostField::authorityTypes).toString();
        const QList<QVariantMap> securityAccounts = takeSecurityAccounts(row);
        Account& account = tree.accounts[tradingAccount];
        if (account.record.isEmpty()) {
            tree.order.append(tradingAccount);
            account.record.swap(row);
        } else {
            for (auto it = row.cbegin(); it != row.cend(); ++it) {
                account.record.insert(it.key(), it.value());
            }
        }
        account.authorityTypes.append(joined.split(QLatin1Char(','), Qt::SkipEmptyParts));
        account.authorityTypes.removeDuplicates();
        for (const QVariantMap& securityAccount : securityAccounts) {
            if (!account.securityAccounts.contains(securityAccount)) {
                account.securityAccounts.append(securityAccount);
            }
        }
    }
    return tree;
}

void BusinessDataStore::setAccountTree(QList<QVariantMap> rows) {
    Tree tree = buildTree(rows);
    const std::unique_lock<std::shared_mutex> guard(m_loginLock);
    std::swap(m_tree, tree);
    // Last, since code that waits for the mark reads the tree next; under the lock, so that the
    // mark always belongs to the tree.
    m_cache.set(Constants::USER_ACCOUNTLIST_INITED, true);
}

QStringList BusinessDataStore::tradeAccounts(const QStringList& authorityTypes) const {
    const std::shared_lock<std::shared_mutex> guard(m_loginLock);
    QStringList accounts;
    for (const QString& tradingAccount : m_tree.order) {
        const QStringList& held = m_tree.accounts.constFind(tradingAccount)->authorityTypes;
        if (std::any_of(held.cbegin(), held.cend(), [&authorityTypes](const QString& type) {
                return authorityTypes.contains(type);
            })) {
            accounts.append(tradingAccount);
        }
    }
    return accounts;
}

QStringList BusinessDataStore::authorityTypes(const QString& tradingAccount) const {
    const std::shared_lock<std::shared_mutex> guard(m_loginLock);
    return m_tree.accounts.value(tradingAccount).authorityTypes;
}

QVariantMap BusinessDataStore::accountRecord(const QString& tradingAccount) const {
    const std::shared_lock<std::shared_mutex> guard(m_loginLock);
    return m_tree.accounts.value(tradingAccount).record;
}

QList<QVariantMap> BusinessDataStore::securityAccounts(const QString& tradingAccount,
                                                       const QString& exchange) const {
    const std::shared_lock<std::shared_mutex> guard(m_loginLock);
    const auto account = m_tree.accounts.constFind(tradingAccount);
    if (account == m_tree.accounts.cend()) {
        return {};
    }
    if (exchange.isEmpty()) {
        return account->securityAccounts;
    }
    QList<QVariantMap> there;
    for (const QVariantMap& securityAccount : account->securityAccounts) {
        if (securityAccount.value(UserAccount::securityExchange).toString() == exchange) {
            there.append(securityAccount);
        }
    }
    return there;
}

void BusinessDataStore::setClock(std::function<QDateTime()> clock) {
    const std::lock_guard<std::mutex> guard(m_clockLock);
    m_clock = std::move(clock);
}

QDateTime BusinessDataStore::now() const {
    std::function<QDateTime()> clock;
    {
        const std::lock_guard<std::mutex> guard(m_clockLock);
        clock = m_clock;
    }
    // Outside the lock, since the function belongs to the host or a test.
    return clock ? clock() : exchangeNow();
}

QStringList BusinessDataStore::valuesOf(const QString& field) const {
    const std::shared_lock<std::shared_mutex> guard(m_loginLock);
    QStringList values;
    for (const QString& tradingAccount : m_tree.order) {
        const auto account = m_tree.accounts.constFind(tradingAccount);
        values.append(account->record.value(field).toString());
    }
    values.removeDuplicates();
    values.removeAll(QString());
    return values;
}

#pragma once

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <functional>
#include <mutex>
#include <shared_mutex>

#include "platform_export.h"
#include "shared_values.h"

/// The current login with its accounts, and the server-aligned clock. Any thread.
class PLATFORM_API BusinessDataStore {
public:
    /// Forgets the login, its accounts, the cache and the clock.
    void clear();

    /// Sets the record of the login. A login of another user forgets the former account tree.
    void setLogin(const QVariantMap& record);
    QString loginAccount() const;
    QVariantMap loginRecord() const;

    /// Takes the rows of the account tree and marks the account list as ready. Rows of one account
    /// are merged at the place of the first; a row without an account is dropped with a warning.
    void setAccountTree(QList<QVariantMap> rows);
    QStringList tradeAccounts(const QStringList& authorityTypes) const;
    QStringList authorityTypes(const QString& tradingAccount) const;
    QVariantMap accountRecord(const QString& tradingAccount) const;
    QList<QVariantMap> securityAccounts(const QString& tradingAccount,
                                        const QString& exchange) const;

    SharedValues& cache() { return m_cache; }

    /// An empty function means the machine's own clock.
    void setClock(std::function<QDateTime()> clock);
    QDateTime now() const;

    /// The values of a field in the tree's records, in order, each once, without empty ones.
    QStringList valuesOf(const QString& field) const;

private:
    struct Account {
        QVariantMap record;
        QStringList authorityTypes;
        QList<QVariantMap> securityAccounts;
    };
    struct Tree {
        QStringList order;  // trading accounts as the server sent them
        QHash<QString, Account> accounts;
    };
    static Tree buildTree(QList<QVariantMap>& rows);

    mutable std::shared_mutex m_loginLock;  // guards m_login and m_tree
    QVariantMap m_login;
    Tree m_tree;

    SharedValues m_cache;  // its own lock is taken inside m_loginLock where tree and mark change

    mutable std::mutex m_clockLock;  // guards m_clock
    std::function<QDateTime()> m_clock;
};

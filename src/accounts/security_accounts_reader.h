#pragma once

#include <QString>
#include <QStringList>

/// What rules of a symbol ask of an account. Any thread.
class SecurityAccountsReader {
public:
    virtual ~SecurityAccountsReader() = default;

    /// Waits until the account tables stand; ends early only when the host is closing. Never called
    /// under a lock.
    virtual void waitForAccounts() const = 0;
    /// The account's FundAccountType; empty for an unknown account. Does not wait.
    virtual QString fundAccountTypeOf(const QString& tradingAccount) const = 0;
    /// The exchanges on which the account holds security accounts. Loads that table first when the
    /// account tables stand; empty before they do. Does not wait.
    virtual QStringList securityExchangesOf(const QString& tradingAccount) = 0;
};

#pragma once

#include <QString>
#include <QStringList>

/// What the symbol rules and the order messages need to know about an account. Any thread.
class SecurityAccountsReader {
public:
    virtual ~SecurityAccountsReader() = default;

    /// Waits until the account tables are loaded; returns early only when the host is closing.
    /// Never called under a lock.
    virtual void waitForAccounts() const = 0;
    /// The account's FundAccountType; empty for an unknown account. Does not wait.
    virtual QString fundAccountTypeOf(const QString& tradingAccount) const = 0;
    /// The exchanges on which the account has security accounts. Loads that table first if needed;
    /// empty before the account tables are loaded. Does not wait.
    virtual QStringList securityExchangesOf(const QString& tradingAccount) = 0;
    /// The security account that the user chose for orders on an exchange, the exchange's main one
    /// by default; empty when unknown. Waits for the account tables, or until the
    /// host is closing; never called under a lock.
    virtual QString GetCurrentSecurityAccountByTradingAndExchange(const QString& tradingAccount,
                                                                  const QString& exchange) = 0;
};

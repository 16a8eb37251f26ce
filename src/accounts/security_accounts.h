#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

#include "guarded.h"
#include "security_accounts_reader.h"

class AccountState;
class SecurityAccountSink;

/// The security accounts of each trading account by exchange: all of them, the exchange's main one,
/// and the one that the user chose for orders. Each table is filled by the first function that
/// needs it, on any thread; two first calls at once may both fill it. Locks: m_allSecurityLock and
/// m_mainSecurityLock before m_accountLock, m_currentSecurityLock before m_mainSecurityLock. The
/// Get and Set functions wait for the account tables; the init steps wait only where they say so.
class SecurityAccounts : public SecurityAccountsReader {
public:
    using Chosen = QMap<QString, QString>;  ///< exchange to security account
    using ChosenMap = QMap<QString, Chosen>;
    using AllMap = QMap<QString, QMap<QString, QStringList>>;

    SecurityAccounts(AccountState& state, SecurityAccountSink& sink)
        : m_state(state), m_sink(sink) {}

    AllMap GetAllSecurityAccountMap();
    QStringList GetSecurityAccountListByTradingAccountAndExchange(const QString& tradingAccount,
                                                                  const QString& exchange);
    ChosenMap GetAllMainSecurityAccount();
    QString GetMainSecurityAccount(QString tradingAccount, const QString& exchange);
    ChosenMap GetCurrentSecurityAccountMap();
    Chosen GetCurrentSecurityAccountByTradingAccount(const QString& tradingAccount);
    QString GetCurrentSecurityAccountByTradingAndExchange(const QString& tradingAccount,
                                                          const QString& exchange) override;
    /// Stores and saves each entry that is legal, and calls the sink when an entry changed. Returns
    /// 0, or -1 when an entry was refused.
    int SetCurrentSecurityAccountMap(const ChosenMap& accountMap);

    /// Loads the security accounts of every account that is not frozen; waits for the account
    /// tables.
    void initAllSecurityAccount();
    /// Loads the main accounts of the tradable trading accounts, and which of those have a security
    /// account on each exchange. Does not wait, since the account load calls it.
    void initMainSecurityAccount();
    /// Copies the main accounts and applies the saved choice where it is still legal. Does not
    /// wait.
    void initCurSecurityAccount();

    void waitForAccounts() const override;
    QString fundAccountTypeOf(const QString& tradingAccount) const override;
    QStringList securityExchangesOf(const QString& tradingAccount) override;

private:
    struct AllTables {
        AllMap m_allSecurityMap;
    };
    struct MainTables {
        ChosenMap m_mainSecurityMap;
    };
    struct CurrentTables {
        ChosenMap m_currentSecurityMap;
    };

    static void applySavedChoice(ChosenMap& current);
    static void saveChoice(const ChosenMap& current);

    AccountState& m_state;
    SecurityAccountSink& m_sink;
    Guarded<AllTables> m_allSecurityLock{"m_allSecurityLock", LockRank::AllSecurity};
    Guarded<CurrentTables> m_currentSecurityLock{"m_currentSecurityLock",
                                                 LockRank::CurrentSecurity};
    Guarded<MainTables> m_mainSecurityLock{"m_mainSecurityLock", LockRank::MainSecurity};
};

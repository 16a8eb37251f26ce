#pragma once

#include <QHash>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

#include "guarded.h"
#include "tag_user_account_info.h"

class AccountRows;

/// The account tables, filled by the external account query.
struct AccountTables {
    QMap<QString, tagUserAccountInfo> m_accountInfoMap;       ///< every account, frozen ones too
    QHash<QString, QStringList> m_fundAccounts;               ///< fund account to trading accounts
    QHash<QString, QStringList> m_realFundAccounts;           ///< the counter's real fund to them
    QHash<QString, QStringList> m_assetAccounts;              ///< asset account to trading accounts
    QHash<QString, QStringList> m_productAccounts;            ///< product account to them
    QHash<QString, QSet<QString>> m_clientNoAccounts;         ///< customer number to them
    QHash<int, QSet<QString>> m_fundPropAccounts;             ///< inner fund property to them
    QSet<QString> m_distributedAccounts;                      ///< non-zero counter site type
    QSet<QString> m_centralAccounts;                          ///< counter site type 0
    QSet<QString> m_normalAccounts;                           ///< not frozen
    QMap<QString, QString> m_authTradeProductMap;             ///< products with a tradable account
    QMap<QString, QString> m_allProductMap;                   ///< product account to name
    QHash<QString, QSet<QString>> m_hStockCirculateAccounts;  ///< by exchange of a security account
    QHash<int, QSet<QString>> m_authorityAccounts;            ///< authority bit to trading accounts
};

/// The account order: the user's order of trading accounts. Each account's place is kept beside the
/// list, so that sorting does not search it.
class AccountOrder {
public:
    const QStringList& accounts() const { return m_accountOrderList; }
    void assign(const QStringList& orderList);
    /// Returns -1 for an account that the list does not contain.
    int placeOf(const QString& tradingAccount) const { return m_places.value(tradingAccount, -1); }

private:
    QStringList m_accountOrderList;
    QHash<QString, int> m_places;
};

/// The rows that were built last, and the revisions of the tables and the order behind them.
struct AccountRowsCache {
    quint64 tablesRevision = 0;
    quint64 orderRevision = 0;
    std::shared_ptr<const AccountRows> rows;
};

/// What the account companions share: the tables, the account order, the flags of the load and the
/// wait for it. Locks: m_saveLock, then m_accountLock, then m_accountOrderLock, then
/// m_accountRowsLock.
class AccountState {
public:
    Guarded<AccountTables> m_accountLock{"m_accountLock", LockRank::Account};
    Guarded<AccountOrder> m_accountOrderLock{"m_accountOrderLock", LockRank::AccountOrder};

    /// One save of the account order or of abbreviations at a time, and none while the load takes
    /// what is saved over into the tables. Held across the write to the disk, so that the locks of
    /// the tables need not be.
    std::mutex m_saveLock;

    /// A pass of the load has begun; a failed external query clears the flag.
    std::atomic<bool> m_fundInitStarted{false};
    /// The tables are ready for readers.
    std::atomic<bool> m_fundAccountInited{false};

    /// The accounts that are not frozen, in account order. Built again when the tables or the order
    /// were written since the last call. Valid for as long as `tables` is held. Takes
    /// m_accountOrderLock, then m_accountRowsLock.
    std::shared_ptr<const AccountRows> accountRows(
        const Guarded<AccountTables>::ReadHandle& tables) const;

    /// Waits until the tables are ready, in 10 ms sleeps and without limit; returns early only when
    /// the host is closing or `isGivenUp`, if there is one, returns true. Never called under a
    /// lock.
    void blockCheckFundInited(const std::function<bool()>& isGivenUp = {}) const;

private:
    mutable Guarded<AccountRowsCache, QMutex> m_accountRowsLock{"m_accountRowsLock",
                                                                LockRank::AccountRows};
};

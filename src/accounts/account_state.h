#pragma once

#include <QHash>
#include <QList>
#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <atomic>
#include <memory>

#include "guarded.h"
#include "tag_user_account_info.h"

class PriorityRows;

/// The account tables, filled in one pass by the external account query.
struct AccountTables {
    QMap<QString, tagUserAccountInfo> m_accountInfoMap;       ///< every account, frozen ones too
    QHash<QString, QStringList> m_fundAccounts;               ///< fund account to trading accounts
    QHash<QString, QStringList> m_realFundAccounts;           ///< counter's real fund to them
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

/// The display priority of accounts, with each account's place beside the list, so that sorting
/// never searches it.
class AccountOrder {
public:
    const QStringList& list() const { return m_accountOrderList; }
    void setList(const QStringList& list);
    /// -1 for an account that the list does not hold.
    int placeOf(const QString& tradingAccount) const { return m_places.value(tradingAccount, -1); }

private:
    QStringList m_accountOrderList;
    QHash<QString, int> m_places;
};

/// The rows that were made last, and of which tables and order.
struct PriorityRowsCache {
    quint64 tablesRevision = 0;
    quint64 orderRevision = 0;
    std::shared_ptr<const PriorityRows> rows;
};

/// What the account companions share: the tables, the order list, the flags of the load and the
/// wait for it. Locks: m_accountLock, then m_accountOrderLock, then m_priorityRowsLock.
class AccountState {
public:
    Guarded<AccountTables> m_accountLock{"m_accountLock", LockRank::Account};
    Guarded<AccountOrder> m_accountOrderLock{"m_accountOrderLock", LockRank::AccountOrder};

    /// A pass of the load stands; a failed external query clears it.
    std::atomic<bool> m_fundInitStarted{false};
    /// The tables are ready for readers.
    std::atomic<bool> m_fundAccountInited{false};

    /// The accounts that are not frozen, in priority order, as the locked tables and the order list
    /// have them now. Made anew when either was written since the last call. Good for as long as
    /// `tables` is held. Takes m_accountOrderLock, then m_priorityRowsLock.
    std::shared_ptr<const PriorityRows> priorityRows(
        const Guarded<AccountTables>::ReadHandle& tables) const;

    /// Waits until the tables stand, in 10 ms sleeps, without limit; ends early only when the host
    /// is closing. Never called under a lock.
    void blockCheckFundInited() const;

private:
    mutable Guarded<PriorityRowsCache, QMutex> m_priorityRowsLock{"m_priorityRowsLock",
                                                                  LockRank::PriorityRows};
};

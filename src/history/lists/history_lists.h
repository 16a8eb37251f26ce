#pragma once

#include <QDate>
#include <QList>
#include <QMap>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "guarded.h"
#include "history_merge.h"
#include "history_rows.h"

class QueryProgress;
class SymbolDataReader;
class ZnPresenterClass;

/// Past orders and deals by account, day and order. A day that has rows is held for good and not
/// requested again; a day without rows is requested by every call. Several pages are fetched by
/// tasks on a pool of the call. Any thread; the operations block for their requests, hold no lock
/// meanwhile, and return what is held when a request does not succeed.
/// Locks: m_entrustLock, m_dealLock.
class HistoryLists : public HistoryMerge {
public:
    explicit HistoryLists(const SymbolDataReader& symbols) : m_symbols(symbols) {}

    /// The orders of the accounts, in their order, by date and order id. Days of the range that are
    /// not held are requested first.
    QList<QVariantMap> GetHistoryEntrustList(ZnPresenterClass* presenter,
                                             const QStringList& accounts, const QDate& startDate,
                                             const QDate& endDate);
    /// The same for deals.
    QList<QVariantMap> GetHistoryDealList(ZnPresenterClass* presenter, const QStringList& accounts,
                                          const QDate& startDate, const QDate& endDate);
    /// One order. Without an account the held rows of all accounts are searched and nothing is
    /// requested; with one the order is requested unless the day is held. Empty when not found,
    /// after a failure, and with a warning for an invalid date.
    QVariantMap GetHistoryEntrustByTradeDateAndOrderID(ZnPresenterClass* presenter,
                                                       const QDate& tradeDate,
                                                       const QString& orderID,
                                                       const QString& tradingAccount);

    /// Requests an account's deals of the days and enters them.
    void queryHistoryDealList(ZnPresenterClass* presenter, const QString& tradingAccount,
                              const QDate& startDate, const QDate& endDate);
    /// The same for orders.
    void queryHistoryEntrustList(ZnPresenterClass* presenter, const QString& tradingAccount,
                                 const QDate& startDate, const QDate& endDate);
    /// Requests one order: the server's row, unchanged and not held; empty when not found.
    QVariantMap queryHistoryEntrustByTradeDateAndOrderID(ZnPresenterClass* presenter,
                                                         const QDate& tradeDate,
                                                         const QString& orderID,
                                                         const QString& tradingAccount);

    void AssembleHistoryEntrustDealList(const QString& msgType,
                                        QList<QVariantMap> detailList) override;

private:
    struct EntrustTables {
        HistoryCache m_entrustCache;
    };
    struct DealTables {
        HistoryCache m_dealCache;
    };

    struct Family;

    QString textOfDealCache();
    void fetchDeals(ZnPresenterClass* presenter, const QString& tradingAccount,
                    const QDate& startDate, const QDate& endDate, QueryProgress* progress);
    void fetchEntrusts(ZnPresenterClass* presenter, const QString& tradingAccount,
                       const QDate& startDate, const QDate& endDate, QueryProgress* progress);
    void fetch(const Family& family, ZnPresenterClass* presenter, const QString& tradingAccount,
               const QDate& startDate, const QDate& endDate, QueryProgress* progress);
    void fetchBlocks(const Family& family, ZnPresenterClass* presenter,
                     const QString& tradingAccount, const QDate& startDate, const QDate& endDate,
                     qint64 total, QueryProgress* progress);

    const SymbolDataReader& m_symbols;
    Guarded<EntrustTables, QMutex> m_entrustLock{"m_entrustLock", LockRank::Leaf};
    Guarded<DealTables, QMutex> m_dealLock{"m_dealLock", LockRank::Leaf};
};

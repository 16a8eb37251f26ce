#pragma once

#include <QDate>
#include <QList>
#include <QMap>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "date_runs.h"
#include "guarded.h"

class QueryProgress;
class SymbolDataReader;
class ZnPresenterClass;

/// Statistics of past deals by account and day. A day counts as held once it was requested, also
/// without rows and also when the request did not succeed; today is requested again by every call.
/// Days that could not be requested, without a presenter or with one that is closing, do not count.
/// Any thread; blocks for its requests and holds no lock meanwhile. Lock: m_dealStatisticLock.
class DealStatistics {
public:
    explicit DealStatistics(const SymbolDataReader& symbols) : m_symbols(symbols) {}

    /// The rows of the accounts, in their order, by date: quantities in pieces, prices per piece,
    /// UserAccount::tradeDate as a QDate. Without rows when the range is longer than 100 years.
    QList<QVariantMap> GetHistoryDealStatisticsList(ZnPresenterClass* presenter,
                                                    const QStringList& accounts,
                                                    const QDate& startDate, const QDate& endDate);
    /// Requests an account's days and enters them: 0, or -1 and nothing entered after five
    /// failures, when the presenter is null or closing, when the range is longer than 100 years, or
    /// when the server sends the same page again and again.
    int queryHistoryDealStatisticList(ZnPresenterClass* presenter, const QString& tradingAccount,
                                      const QDate& startDate, const QDate& endDate);

private:
    using RowsByDay = QMap<QDate, QList<QVariantMap>>;
    struct Tables {
        /// By trading account and trade date; only days with rows.
        QMap<QString, RowsByDay> m_dealStatisticCache;
        /// By trading account: all days that count as held.
        QMap<QString, HeldDays> m_heldDays;
    };

    int query(ZnPresenterClass* presenter, const QString& tradingAccount, const QDate& startDate,
              const QDate& endDate, QueryProgress* progress);
    void enter(const QString& tradingAccount, const QDate& startDate, const QDate& endDate,
               const RowsByDay& rows);

    const SymbolDataReader& m_symbols;
    Guarded<Tables, QMutex> m_dealStatisticLock{"m_dealStatisticLock", LockRank::Leaf};
};

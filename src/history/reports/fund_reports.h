#pragma once

#include <QDate>
#include <QList>
#include <QMap>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "guarded.h"

class AccountTypeReader;
class ZnPresenterClass;

/// Capital figures of accounts by day, in one request for all accounts. Accounts of another kind
/// than the report's are left out. Any thread; blocks for the request. After a failure the result
/// contains what was held before, and the reason is only logged.
/// Locks: m_normalFundLock and m_marginFundLock, both held across the request.
class FundReports {
public:
    explicit FundReports(const AccountTypeReader& accounts) : m_accounts(accounts) {}

    /// A row for each cash account and day, in the server's order. One such query at a time.
    QList<QVariantMap> GetHistoryNormalFundInfo(ZnPresenterClass* presenter,
                                                const QStringList& accounts, const QDate& startDate,
                                                const QDate& endDate);
    /// The row of each cash account for the day, by trading account.
    QMap<QString, QVariantMap> GetTodayNormalFundInfo(ZnPresenterClass* presenter,
                                                      const QStringList& accounts,
                                                      const QDate& date) const;
    /// The row of each margin account for the day, by trading account; held rows are not requested
    /// again. Rows for an invalid date are not held. One such query at a time.
    QMap<QString, QVariantMap> GetHistoryMarginFundInfo(ZnPresenterClass* presenter,
                                                        const QStringList& accounts,
                                                        const QDate& date);

private:
    struct NoTables {};
    struct MarginTables {
        QMap<QString, QMap<QDate, QVariantMap>> m_marginFundCache;  ///< by account and day
    };

    const AccountTypeReader& m_accounts;
    Guarded<NoTables, QMutex> m_normalFundLock{"m_normalFundLock", LockRank::NormalFund};
    Guarded<MarginTables, QMutex> m_marginFundLock{"m_marginFundLock", LockRank::MarginFund};
};

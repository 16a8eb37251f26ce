#pragma once

#include <QList>
#include <QMap>
#include <QMutex>
#include <QString>
#include <QVariantList>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <optional>

#include "counted_deals.h"
#include "guarded.h"
#include "realized_profit_item.h"

/// The difference of the average sell and the average buy price over the matched quantity, less the
/// commission; without a buy or without a sell the negative commission.
double realizedProfitOf(const RealizedProfitItem& item);

/// Realized profit by trading account, symbol and security account, in the currency of the symbol,
/// computed from deals alone. Any thread may read; the table is replaced and changed on one thread
/// at a time. A table is never changed once it is in force: a change replaces it by a changed copy,
/// which shares what stayed the same. Lock: m_profitLock, held while the table is replaced and the
/// change is announced, and by a reader while it takes the table, not while it computes.
class RealizedProfit {
public:
    using ProfitBySymbol = QMap<QString, QMap<QString, double>>;

    /// 0.0 for an unknown account.
    double GetRealizedProfitByAccount(const QString& tradingAccount) const;
    /// All security accounts of the symbol when that argument is empty. 0.0 when there is no such
    /// item.
    double GetRealizedProfitByAccountAndSymbol(const QString& tradingAccount, const QString& symbol,
                                               const QString& securityAccount) const;
    /// Empty for an unknown account.
    ProfitBySymbol GetRealizedProfitMapByAccount(const QString& tradingAccount) const;
    QMap<QString, ProfitBySymbol> GetAllRealizedProfitMap() const;

    /// A table that is not in force yet.
    struct Fresh {
        RealizedProfitTable table;
        CountedDeals counted;
    };
    /// Sums the rows of the execution list; takes no lock. Returns nothing when `isBrokenOff`,
    /// which is called every 10,000 rows, returns true.
    static std::optional<Fresh> build(const QList<QVariantMap>& executions,
                                      const std::function<bool()>& isBrokenOff);
    /// Puts the table in force. Calls `announce` under the lock.
    void replace(Fresh fresh, const std::function<void()>& announce);

    /// Adds deals of the stream, without those that the table contains. Calls `announce` under the
    /// lock with one record for each item that changed, in the order of the table; not at all when
    /// none did.
    void addDeals(const QVariantList& deals,
                  const std::function<void(const QVariantList& records)>& announce);

private:
    struct Tables {
        std::shared_ptr<const RealizedProfitTable> m_realizedProfitMap =
            std::make_shared<RealizedProfitTable>();
    };

    std::shared_ptr<const RealizedProfitTable> table() const;
    /// Calls `announce` under the lock.
    void putInForce(RealizedProfitTable changed, const std::function<void()>& announce);

    mutable Guarded<Tables, QMutex> m_profitLock{"m_profitLock", LockRank::Profit};
    CountedDeals m_counted;  // only for the thread that replaces and changes the table
};

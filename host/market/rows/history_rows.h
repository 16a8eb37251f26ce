#pragma once

#include <QDate>
#include <QList>
#include <QVariantMap>
#include <functional>

#include "account_tree.h"
#include "market_file.h"
#include "trade_calendar.h"

/// The orders and deals of a year, for a few cash and margin accounts: many for the first cash
/// account, some hundreds for the others. SQL statements compute them from their numbers.
class HistoryRows {
public:
    /// Called after each batch of rows; returning false stops the writing.
    using OnRows = std::function<bool(int rows)>;

    /// `orders` of the first account, rounded up to a whole round of forty; 0 for no history.
    HistoryRows(quint32 seed, int orders, const AccountTree& tree,
                const QList<QVariantMap>& securities, const QVector<TradeCalendar::Day>& days);

    /// The number of rows that write() makes.
    int rowCount() const;
    /// Writes into a file with the tables of the server's store. False when a statement failed, see
    /// MarketFile::error(), or `onRows` stopped it.
    bool write(MarketFile& file, const OnRows& onRows) const;

private:
    struct Account {
        int number;  // in the tree, from 1 on
        QString account;
        QString shanghai;
        QString shenzhen;
        QStringList sides;  // two to buy, two to sell; the first of each for one order in four
        int orders;
    };

    bool prepare(MarketFile& file) const;
    bool writeAccount(MarketFile& file, const Account& account, const OnRows& onRows) const;
    bool draft(MarketFile& file, const Account& account, int from, int to) const;

    const quint32 m_seed;
    const QVector<TradeCalendar::Day> m_days;
    QVector<Account> m_accounts;
    QList<QVariantList> m_pool;
};

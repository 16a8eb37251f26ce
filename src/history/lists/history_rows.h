#pragma once

#include <QDate>
#include <QList>
#include <QMap>
#include <QString>
#include <QVariantMap>
#include <vector>

class SymbolDataReader;

/// Rows by trading account, trade date, and the order's id (orders) or the order's id followed by
/// the execution's (deals).
using HistoryCache = QMap<QString, QMap<QDate, QMap<QString, QVariantMap>>>;

/// A record with its place in the cache.
struct HistoryRow {
    QString tradingAccount;
    QDate tradeDate;
    QString key;
    QVariantMap record;
};

/// The orders among the server's rows that are kept, which are all but cancel orders, with symbol
/// and open quantity (Security::leaveQty, a double) set. Rows without a usable trade date are left
/// out, with a warning. Rows that nobody else holds are changed in place. Any thread.
std::vector<HistoryRow> entrustRowsOf(QList<QVariantMap> rows, const SymbolDataReader& symbols);
/// The same for deals: those that are filled and cancel nothing, with their symbol set.
std::vector<HistoryRow> dealRowsOf(QList<QVariantMap> rows, const SymbolDataReader& symbols);

/// Enters the rows in their order; one with a key that is held replaces it.
void enterInto(HistoryCache& cache, const std::vector<HistoryRow>& rows);

#include "history_rows.h"

#include "log.h"
#include "row_lookups.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

bool isKeptEntrust(const QVariantMap& row) {
    return row.value(Security::entrustType).toString() != EntrustType::CancelOrder;
}

bool isKeptDeal(const QVariantMap& row) {
    const QString type = row.value(UserAccount::ExchangeExecType).toString();
    return type != EntrustType::cancelOrder && type != ExchangeExeType::innerCancel &&
           row.value(UserAccount::ExchangeExecStat).toString() == ExchangeExeStat::filled;
}

double quantityIn(const QVariantMap& row, const QString& field) {
    return row.value(field).toDouble();
}

void setLeaveQty(QVariantMap& row) {
    row.insert(Security::leaveQty, quantityIn(row, Security::orderQty) -
                                       quantityIn(row, Security::cumQty) -
                                       quantityIn(row, Security::cancelledQty));
}

void setNothing(QVariantMap&) {}

QString entrustKeyOf(const QVariantMap& row) {
    return row.value(Security::orderID).toString();
}

QString dealKeyOf(const QVariantMap& row) {
    return row.value(Security::orderID).toString() + row.value(Security::execID).toString();
}

struct Kind {
    bool (*isKept)(const QVariantMap& row);
    void (*change)(QVariantMap& row);
    QString (*keyOf)(const QVariantMap& row);
};

std::vector<HistoryRow> rowsOf(QList<QVariantMap>& rows, const SymbolDataReader& symbols,
                               const Kind& kind) {
    std::vector<HistoryRow> kept;
    kept.reserve(static_cast<size_t>(rows.size()));
    RowLookups lookups(symbols);
    int withoutDate = 0;
    QString account;
    for (QVariantMap& row : rows) {
        if (!kind.isKept(row)) {
            continue;
        }
        const QDate date = lookups.tradeDateOf(row);
        if (!date.isValid()) {
            ++withoutDate;
            continue;
        }
        // Rows of one account share one text.
        const QString ownAccount = row.value(UserAccount::tradingAccount).toString();
        account = ownAccount == account ? account : ownAccount;
        QString key = kind.keyOf(row);
        row.insert(Security::symbol, lookups.symbolOf(row));
        kind.change(row);
        kept.push_back({account, date, std::move(key), std::move(row)});
    }
    if (withoutDate > 0) {
        qCWarning(lcHistory) << withoutDate << "of" << rows.size()
                             << "rows are left out: they have no usable trade date";
    }
    return kept;
}

}  // namespace

std::vector<HistoryRow> entrustRowsOf(QList<QVariantMap> rows, const SymbolDataReader& symbols) {
    return rowsOf(rows, symbols, {isKeptEntrust, setLeaveQty, entrustKeyOf});
}

std::vector<HistoryRow> dealRowsOf(QList<QVariantMap> rows, const SymbolDataReader& symbols) {
    return rowsOf(rows, symbols, {isKeptDeal, setNothing, dealKeyOf});
}

void enterInto(HistoryCache& cache, const std::vector<HistoryRow>& rows) {
    // Neighbouring rows mostly have the same account and date.
    const HistoryRow* last = nullptr;
    QMap<QString, QVariantMap>* day = nullptr;
    for (const HistoryRow& row : rows) {
        if (!last || row.tradeDate != last->tradeDate ||
            row.tradingAccount != last->tradingAccount) {
            day = &cache[row.tradingAccount][row.tradeDate];
            last = &row;
        }
        day->insert(row.key, row.record);
    }
}

#pragma once

#include <QDate>
#include <QSqlQuery>
#include <QVariantMap>

#include "market_server.h"
#include "trade_field.h"
#include "vocabulary/names.h"
#include "vocabulary/velmar_msg_type.h"

/// Requests for the history of accounts, by the first login.
namespace HistoryRequest {

inline const QString orders = Velmar_MsgType::queryHistoryExchangeOrderRequest;
inline const QString deals = Velmar_MsgType::queryHistoryExecutionRequest;
inline const QString statistics = Velmar_MsgType::salesTradeRealGatherHistoryRequest;
inline const QString deliveries = Velmar_MsgType::queryHistoryAssetDeliveryRequest;
/// The account with most of the rows.
inline const QString account = QStringLiteral("T000001");

inline QVariantMap of(const QString& accounts, const QVariantMap& others = {}) {
    QVariantMap fields{{UserAccount::loginUserId, SampleLogin::user},
                       {UserAccount::tradingAccount, accounts}};
    for (auto it = others.cbegin(); it != others.cend(); ++it) {
        fields.insert(it.key(), it.value());
    }
    return fields;
}
inline QVariantMap page(QVariantMap fields, int number, int size) {
    fields.insert(System::pageNo, number);
    fields.insert(System::pageSize, size);
    return fields;
}
inline QVariantMap behind(QVariantMap fields, const QString& position, int count) {
    fields.insert(System::positionStr, position);
    fields.insert(System::requestNumber, count);
    return fields;
}
/// Both flags, so that no row is left out.
inline QVariantMap everyRow() {
    return {{AppraisementCalculate::IsIncludeCancel, "1"},
            {AppraisementCalculate::IsIncludeDischarge, "1"}};
}

/// All rows, gathered by page. `total`, where given, gets the total of the last answer.
inline QList<QVariantMap> byPages(MarketServer& server, const QString& type,
                                  const QVariantMap& fields, int size, qint64* total = nullptr) {
    QList<QVariantMap> all;
    for (int number = 1;; ++number) {
        const QVariantMap header = server.ask(type, page(fields, number, size));
        const QList<QVariantMap> rows = server.rows();
        all += rows;
        if (total) {
            *total = header.value(System::totalSize).toLongLong();
        }
        if (rows.size() < size) {
            return all;
        }
    }
}
/// All rows, gathered by position.
inline QList<QVariantMap> byPositions(MarketServer& server, const QString& type,
                                      const QVariantMap& fields, int count) {
    QList<QVariantMap> all;
    QString position;
    for (;;) {
        const QVariantMap header = server.ask(type, behind(fields, position, count));
        const QList<QVariantMap> rows = server.rows();
        all += rows;
        if (rows.size() < count) {
            return all;
        }
        position = header.value(System::positionStr).toString();
    }
}

}  // namespace HistoryRequest

/// What the rows of one deal have in common: day, order and number of the deal.
inline QString dealKeyOf(const QVariantMap& row) {
    return row.value(UserAccount::tradingAccount).toString() + '/' +
           row.value(UserAccount::tradeDate).toString() + '/' +
           row.value(Security::orderID).toString() + '/' + row.value(Security::execID).toString();
}

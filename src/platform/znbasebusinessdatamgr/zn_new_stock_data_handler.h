#pragma once

#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "platform_export.h"

/// Reference data of new share issues. Any thread.
class PLATFORM_API ZnNewStockDataHandler {
public:
    enum DataType { Issues = 0, Quotas = 2 };

    static ZnNewStockDataHandler& instance();

    /// Reads the rows of one kind: the issues, or the subscription quotas of the accounts of
    /// SetTradingAccount().
    void init(DataType type);
    /// The trading accounts whose quotas init(Quotas) reads.
    void SetTradingAccount(const QStringList& tradingAccounts);

    /// The record of a loaded issue by its symbol, or by the code under which it is subscribed;
    /// empty when unknown.
    QVariantMap GetNewStockDetailInfo(const QString& symbol);
    QVariantMap GetNewStockDetailInfoBySubId(const QString& subscribeId);

private:
    ZnNewStockDataHandler() = default;
};

#pragma once

#include <QMap>
#include <QString>
#include <QVariantMap>
#include <QVector>

/// What a dealer that trades by itself sees of the day's book. Money is in yuan, quantities are in
/// pieces. Any thread.
class TradingDesk {
public:
    struct Account {
        QString tradingAccount;
        QString fundAccountType;  ///< a FundAccountType
        /// Security account by exchange.
        QMap<QString, QString> securityAccounts;
    };
    struct Holding {
        QString symbol;
        QString exchange;
        qint64 quantity = 0;
        qint64 sellable = 0;  ///< less what was bought today, where the market requires that
    };

    virtual ~TradingDesk() = default;

    /// The accounts on which the login may trade, in the server's order.
    virtual QVector<Account> tradableAccounts() const = 0;
    virtual QVector<Holding> holdings(const QString& tradingAccount) const = 0;
    /// Cash that is free for buying.
    virtual double cash(const QString& tradingAccount) const = 0;

    /// Stores an order, or the later state of the order with this Security::orderID. False with a
    /// text, and nothing stored, for a record that is not one.
    virtual bool putOrder(const QVariantMap& order, QString* error) = 0;
    /// Stores a deal with its effect on position, cash and order, then publishes it. False with a
    /// text, and nothing stored, for a record that is not one.
    virtual bool putDeal(const QVariantMap& deal, QString* error) = 0;
};

#pragma once

#include <QDateTime>
#include <QString>
#include <QVariantMap>
#include <QVector>
#include <memory>

#include "dealer_securities.h"
#include "trading_desk.h"

/// The commission for an order's deals together, in the security's currency to the fen: 0.025 % of
/// their amount, at least 5, and 0.05 % stamp duty on sales of shares of the mainland. 0 for no
/// amount.
double dealCommission(double amount, bool isSale, const DealtSecurity& security);

/// The most that buying a quantity at a price or a lower one may cost, in yuan: the amount, the
/// commission, and some fen because each deal's amount is rounded.
double buyingCost(const DealtSecurity& security, qint64 quantity, qint64 price);

/// An order that the dealer has made: what is left of its plan, and what has happened to it.
class DealerOrder {
public:
    struct Terms {
        QString orderID;
        TradingDesk::Account account;
        std::shared_ptr<const DealtSecurity> security;
        bool buys = true;
        qint64 quantity = 0;
        qint64 price = 0;  ///< of DealtSecurity
    };
    /// `parts` are the quantities of the deals to come; what they leave of the order is cancelled.
    DealerOrder(const Terms& terms, const QVector<qint64>& parts);

    const Terms& terms() const { return m_terms; }
    const QString& symbol() const { return m_terms.security->symbol; }
    const QString& tradingAccount() const { return m_terms.account.tradingAccount; }
    /// The quantity of the next deal; 0 when only the end is left.
    qint64 nextPart() const { return m_parts.value(m_deals); }
    /// What a deal adds to the order's commission, in the security's currency.
    double commissionOf(qint64 quantity, qint64 price) const;
    /// The most that the rest of a buyer's order may still cost, in yuan.
    double reserved() const;
    /// What a deal would add to the cash, commission included, in yuan; negative for a buyer.
    double cashOf(qint64 quantity, qint64 price) const;

    void setStatus(const QString& status) { m_status = status; }
    /// Counts the next deal and returns its record.
    QVariantMap deal(qint64 price, const QDateTime& time);
    /// Counts the rest as cancelled and returns the record that reports it, without quantity and
    /// amount.
    QVariantMap cancelRest(const QDateTime& time);
    /// The order's state as a record.
    QVariantMap record(const QDateTime& time) const;
    bool isFilled() const { return m_filled == m_terms.quantity; }
    bool hasDeals() const { return m_filled > 0; }

    /// The side of an order for a kind of account, a code of SideUnion.
    static QString sideOf(const QString& fundAccountType, bool buys);

private:
    QVariantMap common(const QDateTime& time) const;
    QVariantMap execution(const QDateTime& time, const QString& kind);

    Terms m_terms;
    QVector<qint64> m_parts;
    QString m_status;
    int m_deals = 0;
    int m_executions = 0;
    qint64 m_filled = 0;
    qint64 m_cancelled = 0;
    qint64 m_priceTimesQuantity = 0;
    double m_amount = 0;
    double m_commission = 0;
};

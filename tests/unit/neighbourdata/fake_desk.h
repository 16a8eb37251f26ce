#pragma once

#include <QMap>
#include <QPair>
#include <QStringList>
#include <cmath>
#include <mutex>

#include "dealer_securities.h"
#include "order_status.h"
#include "trade_fields.h"
#include "trading_desk.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

/// A desk with books of its own. It takes every record and notes what breaks the rules: money or
/// holdings that are overdrawn, orders that change their terms or go on after their end, deals that
/// do not fit their order. Any thread.
class FakeDesk : public TradingDesk {
public:
    struct Figures {
        double unit = 1;
        double rate = 1;
        bool nextDay = true;  ///< bought today, sold tomorrow
    };
    struct Order {
        QVariantMap first;
        QVariantMap last;
        QStringList statuses;
        qint64 dealt = 0;
        double amount = 0;
    };

    FakeDesk() {
        QString error;
        if (!m_states.load(&error)) {
            note(error);
        }
    }

    void addAccount(const QString& account, const QString& kind, const QStringList& exchanges,
                    double cash) {
        Account one{account, kind, {}};
        for (const QString& exchange : exchanges) {
            one.securityAccounts.insert(exchange, exchange + account);
        }
        m_accounts.append(one);
        m_cash.insert(account, cash);
    }
    void addHolding(const QString& account, const QString& symbol, const QString& exchange,
                    qint64 quantity) {
        m_holdings[account].insert(symbol, {symbol, exchange, quantity, quantity});
    }
    void setFigures(const QString& symbol, const Figures& figures) {
        m_figures.insert(symbol, figures);
    }
    /// Every later deal is refused with this text.
    void refuseDeals(const QString& why) {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_refusal = why;
    }
    void setCash(const QString& account, double cash) {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_cash[account] = cash;
    }
    void clearAccounts() {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_accounts.clear();
    }

    QVector<Account> tradableAccounts() const override {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_accounts;
    }
    QVector<Holding> holdings(const QString& tradingAccount) const override {
        const std::lock_guard<std::mutex> guard(m_lock);
        QVector<Holding> list;
        for (const Holding& one : m_holdings.value(tradingAccount)) {
            list.append(one);
        }
        return list;
    }
    double cash(const QString& tradingAccount) const override {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_cash.value(tradingAccount);
    }

    bool putOrder(const QVariantMap& record, QString*) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_log.append(record);
        const QString status = record.value(Security::orderStatus).toString();
        Order& order = m_orders[record.value(Security::orderID).toString()];
        if (order.first.isEmpty()) {
            order.first = record;
            check(status == OrderStatus::sent, "an order begins with another status", record);
        } else {
            check(m_states.mayFollow(order.statuses.last(), status), "the status may not follow",
                  record);
            for (const QString& term :
                 {UserAccount::tradingAccount, Security::symbol, Security::side, Security::orderQty,
                  TradeField::orderPrice, Security::clOrdID}) {
                check(order.first.value(term) == record.value(term), "a term changed", record);
            }
        }
        order.statuses.append(status);
        order.last = record;
        checkQuantities(order, record);
        return true;
    }

    bool putDeal(const QVariantMap& record, QString* error) override {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (!m_refusal.isEmpty()) {
            *error = m_refusal;
            return false;
        }
        m_log.append(record);
        const QString id = record.value(Security::execID).toString();
        check(!id.isEmpty() && !m_execIds.contains(id), "the execution id is not new", record);
        m_execIds.insert(id, true);
        const auto order = m_orders.find(record.value(Security::orderID).toString());
        if (order == m_orders.end() || m_states.isTerminal(order->statuses.last())) {
            note("a deal without an open order: " + id);
            return true;
        }
        if (record.value(UserAccount::ExchangeExecType) == EntrustType::cancelOrder) {
            ++m_cancelRows;
            check(record.value(Security::lastQty).toLongLong() == 0 &&
                      record.value(Security::lastAmount).toDouble() == 0 &&
                      record.value(Margin::executionCommission).toDouble() == 0,
                  "a cancel row has a quantity or an amount", record);
            return true;
        }
        check(record.value(UserAccount::ExchangeExecType) == QStringLiteral("0"),
              "the kind of execution", record);
        ++m_deals;
        book(*order, record);
        return true;
    }

    QStringList violations() const {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_violations;
    }
    /// Everything that was put, in order.
    QVector<QVariantMap> log() const {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_log;
    }
    QMap<QString, Order> orders() const {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_orders;
    }
    int deals() const {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_deals;
    }
    int cancelRows() const {
        const std::lock_guard<std::mutex> guard(m_lock);
        return m_cancelRows;
    }

private:
    void note(const QString& what) { m_violations.append(what); }
    void check(bool good, const char* what, const QVariantMap& record) {
        if (!good) {
            note(QStringLiteral("%1: %2").arg(QLatin1String(what),
                                              record.value(Security::orderID).toString() + ' ' +
                                                  record.value(Security::orderStatus).toString()));
        }
    }

    void checkQuantities(const Order& order, const QVariantMap& record) {
        const qint64 total = record.value(Security::orderQty).toLongLong();
        const qint64 filled = record.value(Security::cumQty).toLongLong();
        const qint64 cancelled = record.value(Security::cancelledQty).toLongLong();
        const QString status = record.value(Security::orderStatus).toString();
        check(filled == order.dealt, "the deals' sum is not cumQty", record);
        check(total > 0 && filled + cancelled <= total, "more than the order", record);
        check(status != OrderStatus::filled || filled == total, "filled in part", record);
        check(status != OrderStatus::partlyFilled || (filled > 0 && filled < total),
              "not partly filled", record);
        check(status != OrderStatus::cancelled || (filled == 0 && cancelled == total),
              "not cancelled as a whole", record);
        check(status != OrderStatus::partlyCancelled ||
                  (filled > 0 && cancelled > 0 && filled + cancelled == total),
              "not partly cancelled", record);
        const bool isOver = m_states.isTerminal(status);
        check(record.value(Security::leaveQty).toLongLong() ==
                  (status == OrderStatus::rejected ? 0 : total - filled - cancelled),
              "leaveQty", record);
        check(!isOver || record.value(Security::leaveQty).toLongLong() == 0,
              "a final status with a rest", record);
        if (order.dealt > 0) {
            const double unit = m_figures.value(record.value(Security::symbol).toString()).unit;
            const double average = order.amount / static_cast<double>(order.dealt) / unit;
            check(std::abs(record.value(Security::avgPx).toDouble() - average) < 0.0101,
                  "the average price", record);
        }
    }

    void book(Order& order, const QVariantMap& record) {
        const QString symbol = record.value(Security::symbol).toString();
        const QString account = record.value(UserAccount::tradingAccount).toString();
        const Figures figures = m_figures.value(symbol);
        const bool isBuy = record.value(Security::side) == OrderSide::buy;
        check(isBuy || record.value(Security::side) == DealSide::sell, "the side", record);
        const qint64 quantity = record.value(Security::lastQty).toLongLong();
        const double price = record.value(TradeField::dealPrice).toDouble();
        const double amount = record.value(Security::lastAmount).toDouble();
        const double commission = record.value(Margin::executionCommission).toDouble();
        check(quantity > 0, "a deal without a quantity", record);
        check(std::abs(amount - static_cast<double>(quantity) * price * figures.unit) < 0.006,
              "the amount of a deal", record);
        check(commission >= 0, "the commission of a deal", record);
        check(account == order.first.value(UserAccount::tradingAccount) &&
                  symbol == order.first.value(Security::symbol),
              "a deal of another order", record);
        const double limit = order.first.value(TradeField::orderPrice).toDouble();
        check(isBuy ? price <= limit + 1e-9 : price >= limit - 1e-9, "worse than the limit",
              record);
        order.dealt += quantity;
        order.amount += amount;
        check(order.dealt <= order.first.value(Security::orderQty).toLongLong(),
              "more than the order", record);

        double& cash = m_cash[account];
        cash += ((isBuy ? -amount : amount) - commission) * figures.rate;
        check(cash >= -1e-6, "the cash is overdrawn", record);
        Holding& holding = m_holdings[account][symbol];
        holding.symbol = symbol;
        holding.exchange = record.value(UserAccount::securityExchange).toString();
        if (isBuy) {
            holding.quantity += quantity;
            holding.sellable += figures.nextDay ? 0 : quantity;
        } else {
            check(quantity <= holding.sellable, "sold more than what may be sold", record);
            holding.quantity -= quantity;
            holding.sellable -= quantity;
        }
        if (holding.quantity == 0) {
            m_holdings[account].remove(symbol);
        }
    }

    mutable std::mutex m_lock;  // guards everything
    OrderStatusTable m_states;
    QVector<Account> m_accounts;
    QMap<QString, double> m_cash;
    QMap<QString, QMap<QString, Holding>> m_holdings;
    QMap<QString, Figures> m_figures;
    QMap<QString, Order> m_orders;
    QMap<QString, bool> m_execIds;
    QVector<QVariantMap> m_log;
    QStringList m_violations;
    QString m_refusal;
    int m_deals = 0;
    int m_cancelRows = 0;
};

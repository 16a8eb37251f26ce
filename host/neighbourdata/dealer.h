#pragma once

#include <QDateTime>
#include <QHash>
#include <QSet>
#include <QString>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "dealer_order.h"
#include "dealer_securities.h"
#include "market_random.h"
#include "trading_desk.h"

/// Makes random orders of the accounts that may trade and has them filled, cancelled or rejected.
/// Between start() and stop() it runs on a thread of its own; otherwise its owner steps it. Equal
/// seed, static database, desk and number of steps give equal orders and deals; only their times
/// follow the clock. start(), stop() and the steps must not be called by two threads at once. No
/// lock is held while the desk is called.
///
/// Orders are limit orders on the tick grid within the day's limits, within the quantity rules of
/// the static database, the desk's cash and the desk's sellable holdings, with what the dealer's
/// other open orders may still need set aside. Each has its own outcome: filled at once, filled in
/// several deals, partly filled and then cancelled, cancelled, or rejected.
///
/// Cash and margin accounts deal shares, funds and bonds, margin accounts as collateral without
/// credit. Futures, options and gold are bought in full (the margin is 100 % of the contract's
/// value) and sold from the holdings: no short positions.
class Dealer {
public:
    struct Options {
        /// Over all accounts, at most kMostDealsPerSecond; at 0 or less only steps make deals.
        double dealsPerSecond = 1;
        quint32 seed = 1;
        /// The client's static database: securities and rules of quantity. Without it nothing is
        /// dealt.
        QString staticDatabaseFile;
        /// Date and time of the exchanges; the platform's business clock when empty. Called on any
        /// thread.
        std::function<QDateTime()> clock;
        /// The price around which a symbol is dealt, in its currency; 0 for an unknown one. When
        /// empty, a symbol's deals start at its previous close and go on from its last deal, which
        /// needs no clock: the seed alone gives the day. Called on any thread.
        std::function<double(const QString& symbol)> lastPrice;
    };
    static constexpr double kMostDealsPerSecond = 20000;

    Dealer(std::shared_ptr<TradingDesk> desk, const Options& options);
    /// Stops the dealer.
    ~Dealer();
    Q_DISABLE_COPY(Dealer)

    /// Starts dealing at the rate. A second call does nothing.
    void start();
    /// Ends the thread and waits for it; it ends before its next deal. Orders that are open stay as
    /// they are.
    void stop();
    /// Makes steps under way return before their next deal, until stop() or start(). Does not wait.
    /// Any thread.
    void endSoon() { m_ending = true; }
    bool running() const { return m_runner != nullptr; }

    /// Goes on until one deal has been made, with the orders and cancellations in between. Returns
    /// false when no deal came about, or while the dealer runs on its own.
    bool stepOnce();
    /// Makes up to `count` deals and returns how many it made.
    int step(int count);
    /// What the thread does when that much time has passed since start(): makes the deals that are
    /// due and returns their number. After a stall it makes those of one second (at least two) and
    /// skips the others; it also skips those that cannot be made.
    int catchUp(std::chrono::nanoseconds sinceStart);
    /// The time since start() at which the next deal is due, as of the last catchUp(). Empty
    /// without a rate.
    std::optional<std::chrono::nanoseconds> nextDue() const;

private:
    class Runner;
    enum class Event { None, Order, Deal };
    using SecurityPtr = std::shared_ptr<const DealtSecurity>;
    using Holdings = QVector<TradingDesk::Holding>;

    QDateTime now() const;
    double ratePerSecond() const;
    bool prepare();
    bool dealOnce();
    Event act();
    Event openOrder(const TradingDesk::Account& account);
    SecurityPtr heldSecurity(const TradingDesk::Account& account,
                             const TradingDesk::Holding& holding);
    bool chooseSale(const Holdings& holdings, DealerOrder::Terms* terms);
    bool chooseBuy(const Holdings& holdings, DealerOrder::Terms* terms);
    SecurityPtr chooseToBuy(const Holdings& holdings, const TradingDesk::Account& account);
    qint64 priceOfOrder(const DealtSecurity& security);
    Event place(const DealerOrder::Terms& terms);
    Event advance(size_t index);
    bool canPay(const DealerOrder& order, qint64 quantity, qint64 price) const;
    Event fill(size_t index, qint64 price);
    Event cancel(size_t index);
    void drop(size_t index);
    bool put(DealerOrder& order, const QString& status);
    bool putDeal(const QVariantMap& deal);
    void refused(const QString& error);
    void complain(const QString& why);
    qint64 priceOf(const DealtSecurity& security) const;
    double freeCash(const QString& tradingAccount) const;
    bool hasOpenOrder(const QString& tradingAccount, const QString& symbol) const;

    const std::shared_ptr<TradingDesk> m_desk;
    const Options m_options;
    MarketRandom m_random;
    std::unique_ptr<DealerSecurities> m_securities;
    bool m_prepared = false;
    QVector<TradingDesk::Account> m_accounts;  // of the present step
    std::vector<DealerOrder> m_open;
    QHash<QString, qint64> m_prices;  // of the last deal by symbol
    qint64 m_orderCount = 0;
    QSet<QString> m_complaints;  // each is logged once
    double m_paid = 0;           // seconds since start() whose deals are made
    std::atomic<bool> m_ending{false};
    std::unique_ptr<Runner> m_runner;
};

#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "market_store.h"
#include "tick_day_phases.h"
#include "tick_walk.h"

/// Feeds CommonQuotaHandler with ticks of the chosen symbols and of those that its readers have
/// subscribed, one symbol after the other: on a thread of its own between start() and stop(), or
/// step by step for whoever wants to know what comes when. Equal options, clock and number of steps
/// give equal ticks, whatever other symbols there are beside one.
///
/// Every day begins with the figures of the record. start(), stop() and the steps are called by one
/// thread at a time. No lock is held when a tick is published.
class TickFeed {
public:
    struct Options {
        QStringList symbols;
        /// Of all symbols together, or of each of them; 0 or less: no ticks but those of stepping.
        double ticksPerSecond = 10;
        bool ratePerSymbol = false;
        quint32 seed = 1;
        /// The client's static database, where a security's record has its figures: PreClosePx,
        /// PriceTick, MaxPx and MinPx (0 or absent beside a close: no limit). Without a record the
        /// day begins at 10.00, steps of 0.01, and ends at 10 % more or less.
        QString staticDatabaseFile;
        /// Holidays and half days; without one, and outside its years, no day but those of the
        /// weekends is closed.
        std::shared_ptr<const TradeCalendar> calendar;
        /// Tells date and time; without one it is the platform's business clock. Any thread.
        std::function<QDateTime()> clock;
    };

    explicit TickFeed(const Options& options);
    /// Stops.
    ~TickFeed();
    Q_DISABLE_COPY(TickFeed)

    /// Begins to publish at the rate. A second call does nothing.
    void start();
    /// Ends the thread and waits for it; ticks that wait for the application's thread still come.
    void stop();
    bool running() const { return m_runner != nullptr; }

    /// Publishes one tick, of the next symbol. False when there is no symbol, or while the feed
    /// runs on its own.
    bool stepOnce();
    /// So many of them; how many were published.
    int step(int count);
    /// What the thread does after that much time since start(): publishes the ticks that are due
    /// and returns how many. After a stall at most those of one second, or two; the others
    /// are skipped. Where a call found nothing to publish, ticks fall due from the next one on that
    /// does.
    int catchUp(std::chrono::nanoseconds sinceStart);
    /// The time since start() at which the next tick is due, as of the last catchUp(). None while
    /// there is nothing to publish: the thread then sleeps until the subscriptions change.
    std::optional<std::chrono::nanoseconds> nextDue() const;

    /// The standing figures, or those of a security's record; an empty record gives the former.
    static TickWalk::Figures figuresOf(const QVariantMap& record);

private:
    class Runner;
    struct Walk {
        QString symbol;
        DayPhases phases;
        TickWalk walk;
    };

    QDateTime now() const;
    void followSymbols(const QDate& day);
    Walk walkOf(const QString& symbol) const;
    QVariantMap recordOfSymbol(const QString& symbol) const;
    bool publishNext();
    double ratePerSecond() const;

    const Options m_options;
    std::shared_ptr<const MarketStore> m_store;  // null without a readable file

    QStringList m_subscribed;   // as last seen
    std::vector<Walk> m_walks;  // in the order of their turns
    size_t m_next = 0;
    QDate m_day;
    double m_paid = 0;    // seconds that the ticks so far stand for
    bool m_idle = false;  // the last catchUp() found nothing to publish
    std::unique_ptr<Runner> m_runner;
};

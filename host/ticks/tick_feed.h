#pragma once

#include <QDateTime>
#include <QSet>
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

/// Publishes ticks to CommonQuotaHandler: for the chosen symbols and for those that its readers
/// have subscribed, one symbol after the other. Between start() and stop() it runs on a thread of
/// its own; otherwise its owner publishes tick by tick. Equal options, clock and number of steps
/// give equal ticks of a symbol, whatever other symbols the feed serves.
///
/// With a static database, a symbol without a security's record gets no ticks; each is logged once.
/// Every day restarts from the figures of the record. start(), stop() and the steps must not be
/// called by two threads at once. No lock is held while a tick is published.
class TickFeed {
public:
    struct Options {
        QStringList symbols;
        /// For all symbols together, or for each of them; at 0 or less only steps publish ticks.
        double ticksPerSecond = 10;
        bool ratePerSymbol = false;
        quint32 seed = 1;
        /// Every tick is one of continuous trading, at any time of any day. Otherwise the phase is
        /// that of the exchange's timetable.
        bool aroundTheClock = false;
        /// The client's static database, where a security's record has its figures: PreClosePx,
        /// PriceTick, MaxPx and MinPx (0 or absent: no limit). Without a database, and where the
        /// record lacks them, a day starts at 10.00 with steps of 0.01 and limits of 10 %.
        QString staticDatabaseFile;
        /// Holidays and half days. Without a calendar, and outside its years, only weekends are
        /// closed.
        std::shared_ptr<const TradeCalendar> calendar;
        /// Date and time of the exchanges; the platform's business clock when empty. Called on any
        /// thread.
        std::function<QDateTime()> clock;
    };

    explicit TickFeed(const Options& options);
    /// Stops the feed.
    ~TickFeed();
    Q_DISABLE_COPY(TickFeed)

    /// Starts publishing at the rate. A second call does nothing.
    void start();
    /// Ends the thread and waits for it. Ticks that are queued for the application's thread are
    /// still delivered.
    void stop();
    bool running() const { return m_runner != nullptr; }

    /// Publishes one tick, of the next symbol. Returns false without a symbol, or while the feed
    /// runs on its own.
    bool stepOnce();
    /// Publishes up to `count` ticks and returns how many it published.
    int step(int count);
    /// What the thread does when that much time has passed since start(): publishes the ticks that
    /// are due and returns their number. After a stall it publishes those of one second (at least
    /// two ticks) and skips the others. When a call found nothing to publish, the time starts to
    /// count at the next call that does.
    int catchUp(std::chrono::nanoseconds sinceStart);
    /// The time since start() at which the next tick is due, as of the last catchUp(). Empty while
    /// there is nothing to publish: the thread then sleeps until the subscriptions change.
    std::optional<std::chrono::nanoseconds> nextDue() const;

    /// The figures of a security's record, with the standard ones for what it lacks.
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
    void addWalk(const QString& symbol, std::vector<Walk>& walks);
    QVariantMap recordOfSymbol(const QString& symbol) const;
    bool publishNext();
    double ratePerSecond() const;
    QString hoursText() const;

    const Options m_options;
    std::shared_ptr<const MarketStore> m_store;  // null without a readable file

    QStringList m_subscribed;   // as last seen
    QSet<QString> m_refused;    // wanted, but unknown to the static database
    std::vector<Walk> m_walks;  // in the order of their turns
    size_t m_next = 0;
    QDate m_day;
    double m_paid = 0;    // seconds since start() whose ticks are published
    bool m_idle = false;  // the last catchUp() found nothing to publish
    std::unique_ptr<Runner> m_runner;
};

#pragma once

#include <QString>
#include <QVariantMap>

#include "market_random.h"

/// One security's day as a random walk on its price grid, inside the day's limits. Equal figures,
/// seed and sequence of phases give equal ticks on every machine. It uses neither clock nor thread,
/// and must not be called by two threads at once.
class TickWalk {
public:
    struct Figures {
        double previousClose = 10.0;
        double step = 0.01;     ///< of the price grid, at least 0.000001
        double upperLimit = 0;  ///< 0: no limit
        double lowerLimit = 0;  ///< 0: no limit
        int lot = 100;          ///< quantities are multiples of it
    };

    /// Impossible figures are replaced: a step or close that is not a positive number by the
    /// standard ones, an upper limit below the lower one by no limits. The previous close is moved
    /// onto the grid.
    TickWalk(quint32 seed, const Figures& figures);

    /// One step in a phase, a value of TickPhase. Returns a tick with every key of TickField except
    /// those of the symbol and the time. Prices move and deals are made in the continuous phase;
    /// an auction quotes the price at which it would match, and is matched at the first step after
    /// it.
    QVariantMap step(const QString& phase);

private:
    void setGrid(double step);
    void setLimits(const Figures& figures);
    double price(qint64 units) const;
    qint64 unitsOf(double price) const;
    qint64 inLimits(qint64 units) const;
    int moveOf();
    qint64 quantity();
    void deal(qint64 units, qint64 qty);
    void matchAuction();
    void addAuctionLevel(QVariantMap& tick);
    void addLevels(QVariantMap& tick);

    MarketRandom m_random;
    // Prices are whole numbers of steps; a step is m_scaledStep / m_scale.
    qint64 m_scaledStep = 1;
    qint64 m_scale = 100;
    qint64 m_previousClose = 0;
    qint64 m_upper = 0;
    qint64 m_lower = 0;
    bool m_hasUpper = false;
    int m_lot = 100;

    qint64 m_last = 0;
    qint64 m_auction = 0;  // where the running auction would match; 0 outside auctions
    qint64 m_open = 0;
    qint64 m_high = 0;
    qint64 m_low = 0;
    qint64 m_totalQty = 0;
    double m_totalAmount = 0;
    qint64 m_dealCount = 0;
};

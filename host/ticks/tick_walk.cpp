#include "tick_walk.h"

#include <algorithm>
#include <cmath>

#include "vocabulary/tick_fields.h"

namespace {

constexpr double kSmallestStep = 1e-6;
constexpr qint64 kFinestScale = 1000000;
/// Keeps prices, counted in the finest steps, within qint64.
constexpr double kMaxPrice = 1e9;
/// A limit this close to the grid, in steps, counts as on it.
constexpr double kOnGrid = 1e-6;

bool isPrice(double value) {
    return value > 0 && value <= kMaxPrice;
}

}  // namespace

TickWalk::TickWalk(quint32 seed, const Figures& figures)
    : m_random(seed), m_lot(std::max(1, figures.lot)) {
    const Figures standard;
    const bool good =
        isPrice(figures.previousClose) && isPrice(figures.step) && figures.step >= kSmallestStep;
    setGrid(good ? figures.step : standard.step);
    m_previousClose =
        std::max<qint64>(1, unitsOf(good ? figures.previousClose : standard.previousClose));
    setLimits(figures);
    m_last = inLimits(m_previousClose);
}

/// Finds the power of ten that makes the step a whole number: prices are then quotients of two
/// whole numbers, which print as short decimals.
void TickWalk::setGrid(double step) {
    m_scale = 1;
    while (m_scale < kFinestScale &&
           std::abs(step * static_cast<double>(m_scale) -
                    std::round(step * static_cast<double>(m_scale))) > kOnGrid) {
        m_scale *= 10;
    }
    m_scaledStep = std::max<qint64>(1, std::llround(step * static_cast<double>(m_scale)));
}

void TickWalk::setLimits(const Figures& figures) {
    const double step = price(1);
    m_lower = 1;
    m_hasUpper = isPrice(figures.upperLimit) && figures.upperLimit <= TickField::kHighestLimit;
    if (m_hasUpper) {
        m_upper = static_cast<qint64>(std::floor(figures.upperLimit / step + kOnGrid));
    }
    if (isPrice(figures.lowerLimit)) {
        m_lower = std::max<qint64>(
            1, static_cast<qint64>(std::ceil(figures.lowerLimit / step - kOnGrid)));
    }
    if (m_hasUpper && m_upper < m_lower) {
        m_hasUpper = false;
        m_lower = 1;
    }
}

double TickWalk::price(qint64 units) const {
    return static_cast<double>(units * m_scaledStep) / static_cast<double>(m_scale);
}

qint64 TickWalk::unitsOf(double price) const {
    return std::llround(price * static_cast<double>(m_scale) / static_cast<double>(m_scaledStep));
}

qint64 TickWalk::inLimits(qint64 units) const {
    const qint64 atLeast = std::max(units, m_lower);
    return m_hasUpper ? std::min(atLeast, m_upper) : atLeast;
}

/// Mostly one step or none, sometimes two; both directions are equally likely.
int TickWalk::moveOf() {
    static const int moves[] = {-2, -1, -1, -1, 0, 0, 0, 0, 1, 1, 1, 2};
    return moves[m_random.below(static_cast<int>(std::size(moves)))];
}

qint64 TickWalk::quantity() {
    return static_cast<qint64>(m_random.between(1, 50)) * m_lot;
}

void TickWalk::deal(qint64 units, qint64 qty) {
    m_last = units;
    if (m_dealCount == 0) {
        m_open = m_high = m_low = units;
    }
    m_high = std::max(m_high, units);
    m_low = std::min(m_low, units);
    m_totalQty += qty;
    m_totalAmount += price(units) * static_cast<double>(qty);
    ++m_dealCount;
}

void TickWalk::matchAuction() {
    if (m_auction > 0) {
        deal(m_auction, quantity() * 10);
        m_auction = 0;
    }
}

/// In an auction both sides show the same price.
void TickWalk::addAuctionLevel(QVariantMap& tick) {
    m_auction = inLimits((m_auction > 0 ? m_auction : m_last) + moveOf());
    const qint64 matched = quantity();
    tick.insert(TickField::buyPrice[0], price(m_auction));
    tick.insert(TickField::sellPrice[0], price(m_auction));
    tick.insert(TickField::buyQty[0], matched);
    tick.insert(TickField::sellQty[0], matched);
}

/// The last deal was made at the best price of one side. At a limit of the day the other side is
/// empty.
void TickWalk::addLevels(QVariantMap& tick) {
    const bool sellerCame = m_random.below(2) == 0;
    const bool atUpper = m_hasUpper && m_last == m_upper;
    const bool lastIsBuy = atUpper || (sellerCame && m_last != m_lower);
    const qint64 bestBuy = lastIsBuy ? m_last : m_last - 1;
    const qint64 bestSell = lastIsBuy ? m_last + 1 : m_last;
    for (size_t level = 0; level < TickField::kLevels; ++level) {
        const qint64 buy = bestBuy - static_cast<qint64>(level);
        const qint64 sell = bestSell + static_cast<qint64>(level);
        const qint64 buyQty = quantity();
        const qint64 sellQty = quantity();
        if (buy >= m_lower) {
            tick.insert(TickField::buyPrice[level], price(buy));
            tick.insert(TickField::buyQty[level], buyQty);
        }
        if (!m_hasUpper || sell <= m_upper) {
            tick.insert(TickField::sellPrice[level], price(sell));
            tick.insert(TickField::sellQty[level], sellQty);
        }
    }
}

QVariantMap TickWalk::step(const QString& phase) {
    QVariantMap tick;
    for (size_t level = 0; level < TickField::kLevels; ++level) {
        tick.insert(TickField::buyPrice[level], 0.0);
        tick.insert(TickField::sellPrice[level], 0.0);
        tick.insert(TickField::buyQty[level], qint64(0));
        tick.insert(TickField::sellQty[level], qint64(0));
    }
    if (phase == TickPhase::openingAuction || phase == TickPhase::closingAuction) {
        addAuctionLevel(tick);
    } else {
        matchAuction();
        if (phase == TickPhase::continuous) {
            deal(inLimits(m_last + moveOf()), quantity());
        }
        if (phase == TickPhase::continuous || phase == TickPhase::midBreak) {
            addLevels(tick);
        }
    }
    tick.insert(TickField::phase, phase);
    tick.insert(TickField::lastPrice, price(m_last));
    tick.insert(TickField::previousClose, price(m_previousClose));
    tick.insert(TickField::maxPrice, m_hasUpper ? price(m_upper) : TickField::kNoUpperLimit);
    tick.insert(TickField::minPrice, price(m_lower));
    tick.insert(TickField::openPrice, price(m_open));
    tick.insert(TickField::highPrice, price(m_high));
    tick.insert(TickField::lowPrice, price(m_low));
    tick.insert(TickField::totalQty, m_totalQty);
    tick.insert(TickField::totalAmount, m_totalAmount);
    tick.insert(TickField::dealCount, m_dealCount);
    return tick;
}

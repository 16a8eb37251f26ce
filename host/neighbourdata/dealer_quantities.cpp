#include "dealer_quantities.h"

#include <algorithm>

#include "dealer_order.h"

namespace {

constexpr double kPartOfCash = 0.125;
/// Above the least quantity, in multiples of it.
constexpr int kMostMore = 20;
constexpr int kMostParts = 4;
/// A holding is sold as a whole once in so many sales.
constexpr int kSalesPerWhole = 4;
constexpr double kMostStepsPayable = 1e9;

/// The largest quantity on the steps that the cash pays.
qint64 payableQuantity(double cash, const DealtSecurity& security, qint64 price) {
    const double ofStep = security.amountOf(security.step, price) * security.rate;
    if (!(ofStep > 0) || !(cash > ofStep)) {
        return 0;
    }
    const auto affordable = static_cast<qint64>(std::min(cash / ofStep, kMostStepsPayable));
    qint64 steps = std::min(affordable, security.most / security.step);
    while (steps > 0 && !(buyingCost(security, steps * security.step, price) <= cash)) {
        --steps;
    }
    return steps * security.step;
}

/// From the least quantity up to a limit.
qint64 randomQuantity(qint64 limit, const DealtSecurity& security, MarketRandom& random) {
    const qint64 more = std::min((limit - security.least) / security.step,
                                 kMostMore * security.least / security.step);
    return security.least + security.step * random.below(static_cast<int>(more) + 1);
}

}  // namespace

qint64 quantityToBuy(double cash, const DealtSecurity& security, qint64 price,
                     MarketRandom& random) {
    qint64 limit = payableQuantity(cash * kPartOfCash, security, price);
    if (limit < security.least) {
        limit = payableQuantity(cash, security, price);
    }
    return limit < security.least ? 0 : randomQuantity(limit, security, random);
}

qint64 quantityToSell(qint64 sellable, const DealtSecurity& security, MarketRandom& random) {
    const bool whole = security.sellable(sellable, sellable);
    const bool wantsWhole = random.below(kSalesPerWhole) == 0;
    const qint64 limit = std::min(sellable, security.most);
    if (whole && (wantsWhole || limit < security.least)) {
        return sellable;
    }
    if (limit < security.least) {
        return 0;
    }
    return randomQuantity(limit, security, random);
}

QVector<qint64> dealParts(qint64 quantity, const DealtSecurity& security, MarketRandom& random) {
    const qint64 steps = std::max<qint64>(1, quantity / security.step);
    const auto count = static_cast<int>(std::min<qint64>(random.between(2, kMostParts), steps));
    QVector<qint64> parts(count, steps / count * security.step);
    parts.last() = quantity - (count - 1) * parts.first();
    return parts;
}

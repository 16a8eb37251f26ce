#include <algorithm>
#include <cmath>

#include "price_tolerance.h"
#include "velmarutils/velmar_busi_utils.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"

// Of the closed library only the names are known, so this file holds the local platform's own rules
// for prices.
//
// The numbered price types are the first five levels of the bids and of the asks. The types of an
// upper or lower limit are the day's limits. The types of a quantity are the level at which the
// depth reaches that quantity; a tick has five or ten levels. The types of a ratio and all other
// numbers have no price here.

namespace {

constexpr int kQuoteLevels = 5;                 // levels with a price type of their own
constexpr int kDepthLevels = 10;                // levels that a tick may have
constexpr qint64 kMaxQty = Q_INT64_C(1) << 53;  // exact as a double
inline const QString kBeijingPost = QStringLiteral("BJ");

// Shares and funds are displayed in lots of 100, bonds in lots of 10, everything else in single
// units.
constexpr int kShareFactor = 100;
constexpr int kBondFactor = 10;
constexpr int kPlainFactor = 1;

constexpr int kFixedIncomePrecision = 4;
constexpr int kOptionPrecision = 4;
constexpr int kFinePrecision = 3;
constexpr int kUsualPrecision = 2;

/// A usable price of a tick; 0 when it is missing, not a finite number, or not above zero.
double priceOf(const QVariantMap& tick, const QString& field) {
    const double price = tick.value(field).toDouble();
    return std::isfinite(price) && price > kNothing ? price : 0.0;
}

/// The key of a level beyond those that the vocabulary lists.
QString deepField(bool isBid, int level, const QString& what) {
    return (isBid ? QStringLiteral("Buy") : QStringLiteral("Sell")) + QString::number(level) + what;
}

double levelPrice(const QVariantMap& tick, bool isBid, int level) {
    if (level > TickField::kLevels) {
        return priceOf(tick, deepField(isBid, level, QStringLiteral("Price")));
    }
    const auto index = static_cast<std::size_t>(level - 1);
    return priceOf(tick, isBid ? TickField::buyPrice[index] : TickField::sellPrice[index]);
}

QVariant levelQtyValue(const QVariantMap& tick, bool isBid, int level) {
    if (level > TickField::kLevels) {
        return tick.value(deepField(isBid, level, QStringLiteral("OrderQty")));
    }
    const auto index = static_cast<std::size_t>(level - 1);
    return tick.value(isBid ? TickField::buyQty[index] : TickField::sellQty[index]);
}

/// The quantity of a level, truncated to whole units; 0 when it is not a positive number.
qint64 levelQty(const QVariantMap& tick, bool isBid, int level) {
    const double qty = levelQtyValue(tick, isBid, level).toDouble();
    // Casting a number that 64 bits cannot hold is undefined.
    if (!std::isfinite(qty) || qty <= 0) {
        return 0;
    }
    return qty < static_cast<double>(kMaxQty) ? static_cast<qint64>(qty) : kMaxQty;
}

/// The price of the level at which the depth reaches the quantity, or of the last level with a
/// price when the depth is smaller.
double depthPrice(const QVariantMap& tick, bool isBid, qint64 wanted, HandicapInfo* handicap) {
    HandicapInfo reached;
    for (int level = 1; level <= kDepthLevels; ++level) {
        const double price = levelPrice(tick, isBid, level);
        if (price <= 0) {
            break;
        }
        reached.level = level;
        reached.price = price;
        reached.qty += std::min(levelQty(tick, isBid, level), kMaxQty - reached.qty);
        if (reached.qty >= wanted) {
            break;
        }
    }
    if (handicap) {
        *handicap = reached;
    }
    return reached.price;
}

/// The price of one level; the handicap is set to that level.
double quotePrice(const QVariantMap& tick, bool isBid, int level, HandicapInfo* handicap) {
    const double price = levelPrice(tick, isBid, level);
    if (handicap) {
        *handicap =
            price > 0 ? HandicapInfo{level, price, levelQty(tick, isBid, level)} : HandicapInfo{};
    }
    return price;
}

int factorOf(const QString& securityType, bool isMainland) {
    if (!isMainland) {
        return kPlainFactor;
    }
    if (securityType == MdcSecurityType::StockType || securityType == MdcSecurityType::FundType) {
        return kShareFactor;
    }
    return securityType == MdcSecurityType::BondType ? kBondFactor : kPlainFactor;
}

bool isFixedIncomeSide(const QString& side) {
    return side == SideUnion::FixIncomeTradeBuy || side == SideUnion::FixIncomeTradeSell ||
           side == SideUnion::FixIncomeTradeBuySZ || side == SideUnion::FixIncomeTradeSellSZ;
}

}  // namespace

int VelmarBusiUtils::GetDispFactor(const QString& securityType, const QString& symbolPost) {
    return factorOf(securityType, symbolPost == SymbolPost::sh || symbolPost == SymbolPost::sz ||
                                      symbolPost == kBeijingPost);
}

int VelmarBusiUtils::GetDispFactorByExchange(const QString& securityType, const QString& exchange) {
    return factorOf(securityType, exchange == Exchange::sh || exchange == Exchange::sz ||
                                      exchange == Exchange::bj);
}

int VelmarBusiUtils::GetPricePrecision(const QString& securityType, const QString& subType,
                                       const QString& symbolPost, const QString& side) {
    if (subType == MdcSubSecurityType::Convertiblebond ||
        subType == MdcSubSecurityType::DirectedConBond) {
        return kFinePrecision;
    }
    if (isFixedIncomeSide(side)) {
        return kFixedIncomePrecision;
    }
    if (securityType == MdcSecurityType::OptionType) {
        return kOptionPrecision;
    }
    const bool isFine = securityType == MdcSecurityType::FundType ||
                        securityType == MdcSecurityType::BondType || symbolPost == SymbolPost::hk;
    return isFine ? kFinePrecision : kUsualPrecision;
}

double VelmarBusiUtils::GetCheckedPriceFromTick(const QVariantMap& tick, double price) {
    const double highest = priceOf(tick, TickField::maxPrice);
    const double lowest = priceOf(tick, TickField::minPrice);
    if (highest > 0 && price > highest) {
        return highest;
    }
    return lowest > 0 && price < lowest ? lowest : price;
}

double VelmarBusiUtils::GetLastPriceFromTick(const QVariantMap& tick) {
    return priceOf(tick, TickField::lastPrice);
}

double VelmarBusiUtils::GetPriceByTickAndType(const QVariantMap& tick, CustomPriceType type,
                                              qint64 qty, HandicapInfo* handicap) {
    // In 64 bits, since the type may hold any 32-bit number.
    const qint64 bid = qint64(type) - qint64(CustomPriceType::Bid1) + 1;
    if (1 <= bid && bid <= kQuoteLevels) {
        return quotePrice(tick, true, static_cast<int>(bid), handicap);
    }
    const qint64 ask = qint64(type) - qint64(CustomPriceType::Ask1) + 1;
    if (1 <= ask && ask <= kQuoteLevels) {
        return quotePrice(tick, false, static_cast<int>(ask), handicap);
    }
    if (handicap) {
        *handicap = HandicapInfo();
    }
    switch (type) {
        case CustomPriceType::UpperLimit:
        case CustomPriceType::UpperLimitOrder:
            return priceOf(tick, TickField::maxPrice);
        case CustomPriceType::LowerLimit:
        case CustomPriceType::LowerLimitOrder:
            return priceOf(tick, TickField::minPrice);
        case CustomPriceType::AskForQty:
            return depthPrice(tick, false, qty, handicap);
        case CustomPriceType::BidForQty:
            return depthPrice(tick, true, qty, handicap);
        default:
            return 0.0;
    }
}

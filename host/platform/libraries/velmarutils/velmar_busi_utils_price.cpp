#include <algorithm>
#include <cmath>

#include "velmarutils/velmar_busi_utils.h"
#include "vocabulary/values.h"

// What the closed library computes is not known beyond its names; these are this platform's own
// rules, all of them here.
//
// The numbered price types are the first five levels of the bids and the asks; those of the limits
// are the day's, as orders too; those of a quantity the level at which the depth reaches it, of the
// five or ten that a tick has. The types of a ratio have no price here, nor has any other number.

namespace {

constexpr double kNothing = 1e-10;
constexpr int kQuoteLevels = 5;                 // that have a price type of their own
constexpr int kDepthLevels = 10;                // that a tick may have
constexpr qint64 kMaxQty = Q_INT64_C(1) << 53;  // exact as a double
inline const QString kBeijingPost = QStringLiteral("BJ");

// Shares and funds are displayed in lots of 100, bonds in lots of 10 pieces, all else as it is.
constexpr int kShareFactor = 100;
constexpr int kBondFactor = 10;
constexpr int kPlainFactor = 1;

constexpr int kFixedIncomePrecision = 4;
constexpr int kOptionPrecision = 4;
constexpr int kFinePrecision = 3;
constexpr int kUsualPrecision = 2;

/// A usable price of a tick; 0 for one that is missing, no number, or not above nothing.
double priceOf(const QVariantMap& tick, const QString& field) {
    const double price = tick.value(field).toDouble();
    return std::isfinite(price) && price > kNothing ? price : 0.0;
}

QString levelField(bool isBid, int level, const QString& what) {
    return (isBid ? QStringLiteral("Buy") : QStringLiteral("Sell")) + QString::number(level) + what;
}

double levelPrice(const QVariantMap& tick, bool isBid, int level) {
    return priceOf(tick, levelField(isBid, level, QStringLiteral("Price")));
}

/// The quantity of a level, cut to whole units; 0 for what is none.
qint64 levelQty(const QVariantMap& tick, bool isBid, int level) {
    const double qty = tick.value(levelField(isBid, level, QStringLiteral("OrderQty"))).toDouble();
    // More than 64 bits hold must not be cast.
    if (!std::isfinite(qty) || qty <= 0) {
        return 0;
    }
    return qty < static_cast<double>(kMaxQty) ? static_cast<qint64>(qty) : kMaxQty;
}

/// The level at which the depth reaches the quantity, the last one that has a price when none does.
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

/// The price of one level, which the handicap then tells too.
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
    if (side == SideUnion::FixIncomeTradeBuy || side == SideUnion::FixIncomeTradeSell ||
        side == SideUnion::FixIncomeTradeBuySZ || side == SideUnion::FixIncomeTradeSellSZ) {
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
    const double highest = priceOf(tick, QStringLiteral("MaxPx"));
    const double lowest = priceOf(tick, QStringLiteral("MinPx"));
    if (highest > 0 && price > highest) {
        return highest;
    }
    return lowest > 0 && price < lowest ? lowest : price;
}

double VelmarBusiUtils::GetLastPriceFromTick(const QVariantMap& tick) {
    return priceOf(tick, QStringLiteral("LastPx"));
}

double VelmarBusiUtils::GetPriceByTickAndType(const QVariantMap& tick, CustomPriceType type,
                                              qint64 qty, HandicapInfo* handicap) {
    // Wider than the type, which may hold any number.
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
            return priceOf(tick, QStringLiteral("MaxPx"));
        case CustomPriceType::LowerLimit:
        case CustomPriceType::LowerLimitOrder:
            return priceOf(tick, QStringLiteral("MinPx"));
        case CustomPriceType::AskForQty:
            return depthPrice(tick, false, qty, handicap);
        case CustomPriceType::BidForQty:
            return depthPrice(tick, true, qty, handicap);
        default:
            return 0.0;
    }
}

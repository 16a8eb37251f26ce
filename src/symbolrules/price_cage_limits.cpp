#include <algorithm>
#include <cmath>

#include "price_cage.h"
#include "price_step.h"
#include "symbol_identity.h"
#include "symbol_post.h"
#include "tolerance.h"
#include "velmarutils/velmar_busi_utils.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"

namespace {

constexpr int kDefaultPrecision = 2;

const QString& buyQuote() {
    return TickField::buyPrice.front();
}

const QString& sellQuote() {
    return TickField::sellPrice.front();
}

bool isContinuousTrading(const QVariantMap& tick) {
    return tick.value(TickField::phase).toString() == TickPhase::continuous;
}

/// Infinity is not a price.
bool isPrice(double value) {
    return std::isfinite(value) && value > kNothing;
}

CageControl controlOf(const QVariantMap& cage) {
    return static_cast<CageControl>(wholeOf(cage, CageField::controlType));
}

double lowestSell(const QVariantMap& cage, const QVariantMap& tick, double tickSize) {
    const double base = PriceCage::getCageBasePrice(tick, buyQuote());
    const double byRatio = base * (1.0 - cage.value(CageField::userSellPercent).toDouble());
    const double byTicks = base - wholeOf(cage, CageField::userSellUnit) * tickSize;
    switch (controlOf(cage)) {
        case CageControl::RatioOnly:
            return byRatio;
        case CageControl::TicksOnly:
            return byTicks;
        default:
            return std::min(byRatio, byTicks);
    }
}

/// With an unknown control type a buy has a limit of 0, while a sell takes the wider limit.
double highestBuy(const QVariantMap& cage, const QVariantMap& tick, double tickSize) {
    const double base = PriceCage::getCageBasePrice(tick, sellQuote());
    const double byRatio = base * (cage.value(CageField::userBuyPercent).toDouble() + 1.0);
    const double byTicks = wholeOf(cage, CageField::userBuyUnit) * tickSize + base;
    switch (controlOf(cage)) {
        case CageControl::RatioOnly:
            return byRatio;
        case CageControl::TicksOnly:
            return byTicks;
        case CageControl::RatioAndTicks:
            return std::max(byRatio, byTicks);
        default:
            return 0.0;
    }
}

}  // namespace

double PriceCage::getCageBasePrice(const QVariantMap& tick, const QString& fieldName) {
    QStringList quotes;
    if (fieldName == buyQuote()) {
        quotes = QStringList{buyQuote(), sellQuote()};
    } else if (fieldName == sellQuote()) {
        quotes = QStringList{sellQuote(), buyQuote()};
    }
    for (const QString& quote : qAsConst(quotes)) {
        const double price = tick.value(quote).toDouble();
        if (isPrice(price)) {
            return price;
        }
    }
    for (const double price : {VelmarBusiUtils::GetLastPriceFromTick(tick),
                               tick.value(TickField::previousClose).toDouble()}) {
        if (isPrice(price)) {
            return price;
        }
    }
    return 0.0;
}

double PriceCage::tickSizeOf(const QString& symbol) const {
    const int precision = VelmarBusiUtils::GetPricePrecision(
        m_identity.GetSecurityTypeBySymbol(symbol), m_identity.GetSecuritySubTypeBySymbol(symbol),
        symbolPostOf(m_identity, symbol), QString());
    return std::pow(0.1, precision < 0 ? kDefaultPrecision : precision);
}

bool PriceCage::getCageLimitPrice(double& limit, const QVariantMap& tick, bool isSell) const {
    limit = 0.0;
    const QString symbol = tick.value(TickField::symbol).toString();
    const QVariantMap cage = isContinuousTrading(tick) ? GetCageMapBySymbol(symbol) : QVariantMap();
    if (cage.isEmpty()) {
        return false;
    }
    const double tickSize = tickSizeOf(symbol);
    limit = isSell ? lowestSell(cage, tick, tickSize) : highestBuy(cage, tick, tickSize);
    limit = alignPriceToStep(limit, tickSize, !isSell);
    return true;
}

double PriceCage::CheckCagePrice(const double& price, const QVariantMap& tick, bool isSell) const {
    double checked = price;
    double limit = 0.0;
    if (isContinuousTrading(tick) && getCageLimitPrice(limit, tick, isSell)) {
        const bool outside = isSell ? limit - kNothing > price : price > limit + kNothing;
        checked = outside ? limit : price;
    }
    return VelmarBusiUtils::GetCheckedPriceFromTick(tick, checked);
}

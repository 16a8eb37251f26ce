#include "price_rules.h"

#include "hong_kong_prices.h"
#include "price_cage.h"
#include "price_step.h"
#include "symbol_identity.h"
#include "symbol_post.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

/// The types of a limit by ratio stand for the day's limits here; on a day without an upper limit
/// the fifth level of the quotes is used instead.
CustomPriceType limitTypeOf(const QVariantMap& tick, CustomPriceType type) {
    const bool isUnlimited = tick.value(TickField::maxPrice).toDouble() > TickField::kHighestLimit;
    switch (type) {
        case CustomPriceType::RatioAbove:
        case CustomPriceType::UpperLimitOrder:
            return isUnlimited ? CustomPriceType::Ask5 : CustomPriceType::UpperLimitOrder;
        case CustomPriceType::RatioBelow:
        case CustomPriceType::LowerLimitOrder:
            return isUnlimited ? CustomPriceType::Bid5 : CustomPriceType::LowerLimitOrder;
        default:
            return type;
    }
}

QString symbolOf(const QVariantMap& tick) {
    return tick.value(TickField::symbol).toString();
}

bool isFixedIncomeSide(const QString& side) {
    return side == SideUnion::FixIncomeTradeBuy || side == SideUnion::FixIncomeTradeSell ||
           side == SideUnion::FixIncomeTradeBuySZ || side == SideUnion::FixIncomeTradeSellSZ;
}

}  // namespace

QString PriceRules::GetPriceUnitStringBySymbol(const QString& symbol, double price,
                                               const QString& side) const {
    const QString type = m_identity.GetSecurityTypeBySymbol(symbol);
    const QString subType = m_identity.GetSecuritySubTypeBySymbol(symbol);
    if (subType == MdcSubSecurityType::Convertiblebond ||
        subType == MdcSubSecurityType::DirectedConBond) {
        return QStringLiteral("0.001");
    }
    if (isFixedIncomeSide(side)) {
        return QStringLiteral("0.0001");
    }
    if (type == MdcSecurityType::StockType || type == MdcSecurityType::FundType) {
        return stockOrFundUnit(type, subType, price);
    }
    if (type == MdcSecurityType::OptionType) {
        return QStringLiteral("0.0001");
    }
    if (type == MdcSecurityType::BondType) {
        const bool isRepo = subType == MdcSubSecurityType::Thecorporatebondpledgedrepo ||
                            subType == MdcSubSecurityType::Pledgetypetreasurybondrepurchase;
        return isRepo ? QStringLiteral("0.005") : QStringLiteral("0.001");
    }
    return QStringLiteral("0.01");
}

QString PriceRules::stockOrFundUnit(const QString& type, const QString& subType,
                                    double price) const {
    if (MdcSubSecurityType::HKSharesTypeList.contains(subType) ||
        subType == MdcSubSecurityType::HStcokCirculation) {
        return QString::number(m_hongKong.GetHKStockPriceUnit(price, type), 'f', 3);
    }
    return type == MdcSecurityType::StockType ? QStringLiteral("0.01") : QStringLiteral("0.001");
}

double PriceRules::GetPriceUnitBySymbol(const QString& symbol, double price,
                                        const QString& side) const {
    return GetPriceUnitStringBySymbol(symbol, price, side).toDouble();
}

int PriceRules::GetPricePrecisionBySymbol(const QString& symbol, const QString& side) const {
    return VelmarBusiUtils::GetPricePrecision(m_identity.GetSecurityTypeBySymbol(symbol),
                                              m_identity.GetSecuritySubTypeBySymbol(symbol),
                                              symbolPostOf(m_identity, symbol), side);
}

int PriceRules::GetDispFactorBySymbol(const QString& symbol) const {
    const QString type = m_identity.GetSecurityTypeBySymbol(symbol);
    if (!symbol.contains(QLatin1Char('.'))) {
        return VelmarBusiUtils::GetDispFactorByExchange(
            type, m_identity.GetFirstSecurityExchangeBySymbol(symbol));
    }
    return VelmarBusiUtils::GetDispFactor(
        type, CBusinessDataBase::GetInstance()->GetSymbolPostBySymbol(symbol));
}

double PriceRules::GetPriceByTickAndType(const QVariantMap& tick, const CustomPriceType& type,
                                         const qint64& qty, bool useDispFactor, bool applyCage,
                                         bool isSell, HandicapInfo* handicap) const {
    const CustomPriceType limitType = limitTypeOf(tick, type);
    const bool takesQty =
        limitType == CustomPriceType::AskForQty || limitType == CustomPriceType::BidForQty;
    const qint64 depth =
        useDispFactor && takesQty ? qty / GetDispFactorBySymbol(symbolOf(tick)) : qty;
    const double price = VelmarBusiUtils::GetPriceByTickAndType(tick, limitType, depth, handicap);
    // The cage limits a price during continuous trading only; the day's limits always do.
    return applyCage ? m_cage.CheckCagePrice(price, tick, isSell) : price;
}

double PriceRules::GetPriceByTickAndType(const QVariantMap& tick, CustomPriceType type, qint64 qty,
                                         double ratio, HandicapInfo* handicap) const {
    if (type != CustomPriceType::RatioAbove && type != CustomPriceType::RatioBelow) {
        return VelmarBusiUtils::GetPriceByTickAndType(tick, type, qty, handicap);
    }
    const bool isUpper = type == CustomPriceType::RatioAbove;
    const QString symbol = symbolOf(tick);
    const QString subType = m_identity.GetSecuritySubTypeBySymbol(symbol);
    if (subType == MdcSubSecurityType::ScienTechInnovateBoard) {
        return priceByRatio(tick, symbol, isUpper, ratio);
    }
    const bool isGemstock = subType == MdcSubSecurityType::Gemstock;
    const auto upper = isGemstock ? CustomPriceType::Bid1 : CustomPriceType::UpperLimit;
    const auto lower = isGemstock ? CustomPriceType::Ask1 : CustomPriceType::LowerLimit;
    return VelmarBusiUtils::GetPriceByTickAndType(tick, isUpper ? upper : lower, 0, nullptr);
}

double PriceRules::priceByRatio(const QVariantMap& tick, const QString& symbol, bool isUpper,
                                double ratio) const {
    const double last = VelmarBusiUtils::GetLastPriceFromTick(tick);
    const double unit = GetPriceUnitBySymbol(symbol, 0.0, SideUnion::normalBuy);
    const double sign = isUpper ? 1.0 : -1.0;
    return alignPriceToStep((sign * ratio + 1.0) * last, unit, isUpper);
}

bool PriceRules::IsSymbolSupportProtectedLimitPrice(const QString& symbol) const {
    if (m_identity.GetSecuritySubTypeBySymbol(symbol) == MdcSubSecurityType::BjSelectedStock) {
        return true;
    }
    const QString type = m_identity.GetSecurityTypeBySymbol(symbol);
    return (type == MdcSecurityType::StockType || type == MdcSecurityType::FundType) &&
           symbolPostOf(m_identity, symbol) == SymbolPost::sh;
}

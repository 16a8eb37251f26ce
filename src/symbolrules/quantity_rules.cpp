#include "quantity_rules.h"

#include <algorithm>
#include <cmath>

#include "log.h"
#include "saturated.h"
#include "symbol_identity.h"
#include "tolerance.h"
#include "velmarutils/velmar_busi_utils.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "znbasebusinessdatamgr/zn_bond_data_mgr.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zncore/zn_core.h"

namespace {

constexpr int kDefaultStep = 100;
constexpr int kDefaultMin = 100;
constexpr int kDefaultMax = 1000000;
constexpr quint32 kHongKongLots = 3000;
constexpr int kHongKongMax = 99999999;
constexpr double kRepurchaseUnit = 100.0;

const QString& anySymbol() {
    static const QString any = QStringLiteral("*");
    return any;
}

const QtyRuleEntry* ruleFor(const QList<QtyRuleEntry>& rules, const QVariantMap& order) {
    const auto found = std::find_if(rules.cbegin(), rules.cend(), [&order](const auto& rule) {
        QVariantMap matched;
        return VelmarUtils::IsMapQuatifiedByFilter(order, rule.filter, matched, {});
    });
    return found == rules.cend() ? nullptr : &*found;
}

/// A quantity divided by the step: `whole` steps, and `frac` of one more.
struct Lots {
    qint64 min;
    qint64 step;
    qint64 whole;
    double frac;
};

qint64 downToStep(qint64 qty, const Lots& lots) {
    return qty < lots.min ? 0 : lots.whole * lots.step;
}

qint64 toNearestStep(qint64 qty, const Lots& lots) {
    const auto step = static_cast<double>(lots.step);
    const auto min = static_cast<double>(lots.min);
    return saturated<qint64>(
        qty < lots.min ? std::round(static_cast<double>(qty) / min) * min
                       : (std::round(lots.frac) + static_cast<double>(lots.whole)) * step);
}

qint64 upToStep(qint64 qty, const Lots& lots) {
    return qty < lots.min
               ? lots.min
               : saturated<qint64>((std::ceil(lots.frac) + static_cast<double>(lots.whole)) *
                                   static_cast<double>(lots.step));
}

}  // namespace

int QuantityRules::ruleOf(const StepMap& rules, const QString& symbol, int otherwise) const {
    // The first key that the table contains wins, whatever its value.
    auto found = rules.constFind(m_identity.GetSecuritySubTypeBySymbol(symbol));
    if (found == rules.cend()) {
        found = rules.constFind(m_identity.GetSecurityTypeBySymbol(symbol));
    }
    if (found == rules.cend()) {
        found = rules.constFind(anySymbol());
    }
    return found == rules.cend() ? otherwise : *found;
}

int QuantityRules::GetQtyStepBySymbol(const QString& symbol) const {
    const double lot = CBusinessDataBase::GetInstance()
                           ->GetSecurityDetailsBySymbol(symbol)
                           .value(Security::LotSize)
                           .toDouble();
    return lot > kNothing ? saturated<int>(lot) : ruleOf(m_stepQtyMap, symbol, kDefaultStep);
}

int QuantityRules::GetMinQtyPerOrderBySymbol(const QString& symbol) const {
    return VelmarUtils::isHKTypeSymbol(symbol) ? GetQtyStepBySymbol(symbol)
                                               : ruleOf(m_minQtyMap, symbol, kDefaultMin);
}

int QuantityRules::GetMaxQtyPerOrderBySymbol(const QString& symbol,
                                             const QVariantMap& order) const {
    const QString subType = m_identity.GetSecuritySubTypeBySymbol(symbol);
    if (MdcSubSecurityType::HKSharesTypeList.contains(subType)) {
        // In 32 bits, and unsigned, since signed overflow is undefined.
        const quint32 product = static_cast<quint32>(GetQtyStepBySymbol(symbol)) * kHongKongLots;
        return std::min(static_cast<int>(product), kHongKongMax);
    }
    for (const QString& key : {subType, m_identity.GetSecurityTypeBySymbol(symbol)}) {
        const auto rules = m_maxQtyMap.constFind(key);
        if (rules != m_maxQtyMap.cend()) {
            if (const QtyRuleEntry* const rule = ruleFor(*rules, order)) {
                return rule->qty;
            }
        }
    }
    // The fallback applies even when its conditions, if it has any, are not met.
    const auto rest = m_maxQtyMap.constFind(anySymbol());
    return rest == m_maxQtyMap.cend() || rest->isEmpty() ? kDefaultMax : rest->first().qty;
}

int QuantityRules::GetMinSoldQtyBySymbol(const QString& symbol) const {
    const QString subType = m_identity.GetSecuritySubTypeBySymbol(symbol);
    if (subType == MdcSubSecurityType::ScienTechInnovateBoard) {
        return 200;
    }
    const bool isSmallBoard = subType == MdcSubSecurityType::GuZhuanBase ||
                              subType == MdcSubSecurityType::GuZhuanInnovate ||
                              subType == MdcSubSecurityType::BjSelectedStock;
    return isSmallBoard ? 100 : 1;
}

qint64 QuantityRules::GetQtyByOddLotType(const QString& symbol, CustomOddLotType type, qint64 qty,
                                         bool flag) const {
    if (qty == 0 || type == CustomOddLotType::Keep) {
        return qty;
    }
    if (type == CustomOddLotType::ByFlag) {
        type = flag ? CustomOddLotType::Down : CustomOddLotType::Up;
    }
    Lots lots{GetMinQtyPerOrderBySymbol(symbol), GetQtyStepBySymbol(symbol), 0, 0};
    if (lots.step < 1) {
        // Guards the division below. The configuration drops such a rule, but a security's own lot
        // may be less than one.
        qCWarning(lcSymbolRules) << "no usable quantity step of" << symbol << ":" << lots.step;
        return qty;
    }
    lots.whole = qty / lots.step;
    lots.frac = static_cast<double>(qty - lots.whole * lots.step) / static_cast<double>(lots.step);
    switch (type) {
        case CustomOddLotType::Down:
            return downToStep(qty, lots);
        case CustomOddLotType::Nearest:
            return toNearestStep(qty, lots);
        case CustomOddLotType::Up:
            return upToStep(qty, lots);
        default:
            return qty;
    }
}

qint64 QuantityRules::CalcEntrustQty(double amount, double price, const QString& symbol,
                                     int multiplier, bool includeFee) const {
    return VelmarBusiUtils::GetFloorByStepAndMinLimit(
        rawQty(amount, price, symbol, multiplier, includeFee), GetQtyStepBySymbol(symbol),
        GetMinQtyPerOrderBySymbol(symbol));
}

double QuantityRules::rawQty(double amount, double price, const QString& symbol, int multiplier,
                             bool includeFee) const {
    if (m_identity.IsSymbolBondRepurchase(symbol)) {
        return amount / kRepurchaseUnit;
    }
    if (!(price > kNothing)) {
        return 0.0;
    }
    const QString type = CBusinessDataBase::GetInstance()->GetSecurityTypeBySymbol(symbol);
    const double units = amount / multiplier;
    if (type == MdcSecurityType::BondType) {
        stuBaseInfo bond;
        const QString failed = ZnBondDataMgr::instance().GetSingelBondBaseInfo(symbol, bond);
        return units / (failed == QLatin1String("0") ? bond.stockInterest + price : price);
    }
    const QString exchange = m_identity.GetASecurityExchangeBySymbol(symbol);
    if (!includeFee || exchange.isEmpty()) {
        return units / price;
    }
    return units / price / (feeRate(type, exchange) + 1.0);
}

double QuantityRules::feeRate(const QString& securityType, const QString& exchange) const {
    const bool shanghai = exchange == Exchange::sh;
    const auto fees = m_tradeFeeLock.read();
    if (!fees->m_tradeFeeEnable) {
        return 0.0;
    }
    const auto fee = [&fees, shanghai](const QString& ofShanghai, const QString& ofShenzhen) {
        return fees->m_tradeFeeMap.value(shanghai ? ofShanghai : ofShenzhen).toDouble();
    };
    if (securityType == MdcSecurityType::FundType) {
        return fee(ETFTradeSetting::EtfTrade_ETFBuyFee_SH, ETFTradeSetting::EtfTrade_ETFBuyFee_SZ);
    }
    if (securityType == MdcSecurityType::StockType) {
        return fee(ETFTradeSetting::EtfTrade_StockTransferFee_SH,
                   ETFTradeSetting::EtfTrade_StockTransferFee_SZ) +
               fee(ETFTradeSetting::EtfTrade_StockBuyFee_SH,
                   ETFTradeSetting::EtfTrade_StockBuyFee_SZ);
    }
    return 0.0;
}

double QuantityRules::CalcEntrustAmount(double price, double qty, const QString& symbol,
                                        int multiplier) const {
    return m_identity.IsSymbolBondRepurchase(symbol) ? qty * kRepurchaseUnit
                                                     : multiplier * (price * qty);
}

void QuantityRules::slotTradeFeeSettingChanged() {
    QString error;
    {
        // The settings are read under the lock, so that of two concurrent changes the later wins.
        const auto fees = m_tradeFeeLock.write();
        const ZnCore* const core = ZnCore::instance();
        fees->m_tradeFeeEnable =
            core->settings(ETFTradeSetting::EtfTrade_FeeEnable, QString(), QString()).toBool();
        const QString text =
            core->settings(ETFTradeSetting::EtfTrade_FeeSettings, QString(), QString()).toString();
        fees->m_tradeFeeMap.clear();
        error = VelmarUtils::TransStr2Map(text, fees->m_tradeFeeMap);
    }
    if (!error.isEmpty()) {
        qCInfo(lcSymbolRules) << "ZnBusinessDataManager::slotTradeFeeSettingChanged"
                              << "转换交易费率设置失败！";
    }
}

#include "derived_order_fields.h"

#include <QLocale>
#include <cmath>
#include <limits>
#include <vector>

#include "never_destroyed.h"
#include "order_record.h"
#include "vocabulary/values.h"

namespace {

enum class OrderKind { Market, Other, Any };
enum class MinQty { Zero, OrderQty };

struct DerivationRule {
    OrderKind orderKind;
    QString priceType;
    QString timeInForce;
    QString maxPriceLevels;
    MinQty minQty;
};

struct DerivationRules {
    // timeInForce: "0" the day, "3" deal or cancel, "7" after hours. maxPriceLevels: "0" any.
    const std::vector<DerivationRule> rules{
        {OrderKind::Other, PriceType::limitPriceAllDealOrCancel, "3", "0", MinQty::OrderQty},
        {OrderKind::Other, PriceType::fixedPriceAfterMarket, "7", "0", MinQty::Zero},
        {OrderKind::Market, PriceType::shDealOrbeLimit5, "0", "5", MinQty::Zero},
        {OrderKind::Market, PriceType::shDealOrCancel5, "3", "5", MinQty::Zero},
        {OrderKind::Market, PriceType::szDealOrCancel5, "3", "5", MinQty::Zero},
        {OrderKind::Market, PriceType::szDealOrCancel, "3", "0", MinQty::Zero},
        {OrderKind::Market, PriceType::szOpponentOptimization, "0", "1", MinQty::Zero},
        {OrderKind::Market, PriceType::szSelfOptimization, "0", "0", MinQty::Zero},
        {OrderKind::Market, PriceType::szAllDealOrCancel, "3", "0", MinQty::OrderQty},
        {OrderKind::Any, PriceType::shEntrustAfterHours, "7", "0", MinQty::Zero},
    };
};

/// The double with the fewest digits that a float stands for: 0.1 for 0.1F, and not
/// 0.10000000149011612.
double shortestDouble(float number) {
    using Limits = std::numeric_limits<float>;
    QString text;
    for (int digits = Limits::digits10; digits <= Limits::max_digits10; ++digits) {
        text = QString::number(static_cast<double>(number), 'g', digits);
        if (text.toFloat() == number) {
            break;
        }
    }
    return text.toDouble();
}

/// A number in decimal, 1000000 and not 1e+06; a text as it stands; empty for NaN and infinities.
QString decimalText(const QVariant& quantity) {
    const bool isFloat = quantity.userType() == QMetaType::Float;
    if (!isFloat && quantity.userType() != QMetaType::Double) {
        return quantity.toString();
    }
    const double number = quantity.toDouble();
    if (!std::isfinite(number)) {
        return {};
    }
    return QString::number(isFloat ? shortestDouble(quantity.toFloat()) : number, 'f',
                           QLocale::FloatingPointShortest);
}

}  // namespace

std::optional<DerivedOrderFields> derivedOrderFields(const OrderRecord& order) {
    const QString priceType = order.text(OrderRecord::PriceType);
    if (priceType.isEmpty()) {
        return {};
    }
    const bool isMarket = order.text(OrderRecord::OrderType) == OrderType::market;
    const OrderKind orderKind = isMarket ? OrderKind::Market : OrderKind::Other;
    for (const DerivationRule& rule : neverDestroyed<DerivationRules>().rules) {
        const bool applies = rule.orderKind == OrderKind::Any || rule.orderKind == orderKind;
        if (applies && rule.priceType == priceType) {
            return DerivedOrderFields{rule.timeInForce, rule.maxPriceLevels,
                                      rule.minQty == MinQty::OrderQty
                                          ? decimalText(order.value(OrderRecord::OrderQty))
                                          : QStringLiteral("0")};
        }
    }
    return {};
}

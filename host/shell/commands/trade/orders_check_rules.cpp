#include <QJsonDocument>
#include <algorithm>
#include <cmath>

#include "exact_json.h"
#include "orders_check.h"
#include "trade_fields.h"
#include "vocabulary/fields.h"
#include "vocabulary/tick_fields.h"
#include "vocabulary/values.h"

// The rules of orders check: what the exported functions say about an order's quantity, price and
// account.

namespace {

constexpr int kTrade = 16;
/// How far off a step a price may be and still count as on it, in steps.
constexpr double kOnStep = 1e-6;

enum class Side { Buy, Sell, Unknown };

/// Codes of the exchange's side, and those of SideUnion whose direction is certain.
Side sideOf(const QString& code) {
    static const QStringList buys{OrderSide::buy,
                                  SideUnion::normalBuy,
                                  SideUnion::FixIncomeTradeBuy,
                                  SideUnion::FixIncomeTradeBuySZ,
                                  SideUnion::financingBuy,
                                  SideUnion::marginOrderSideList.value(0)};
    static const QStringList sells{DealSide::sell,
                                   SideUnion::normalSideList.value(1),
                                   SideUnion::FixIncomeTradeSell,
                                   SideUnion::FixIncomeTradeSellSZ,
                                   SideUnion::marginOrderSideList.value(1),
                                   SideUnion::marginOrderSideList.value(3)};
    if (buys.contains(code)) {
        return Side::Buy;
    }
    return sells.contains(code) ? Side::Sell : Side::Unknown;
}

QString text(const QVariantMap& record, const QString& field) {
    return record.value(field).toString();
}

QString shown(double number) {
    return QString::number(number, 'g', 12);
}

QString jsonText(const QVariantMap& record) {
    return QString::fromUtf8(QJsonDocument(exactJsonObject(record)).toJson(QJsonDocument::Compact));
}

/// Why a rule is open whose figure depends on the direction.
QString unknownDirection(const QVariantMap& order) {
    const QString side = text(order, Security::side);
    return side.isEmpty() ? QStringLiteral("no side")
                          : QStringLiteral("whether side '%1' buys or sells is unknown").arg(side);
}

/// A finite number above zero; false for everything else.
bool isAmount(const QVariant& value, double* number) {
    bool ok = false;
    *number = value.toDouble(&ok);
    return ok && std::isfinite(*number) && *number > 0;
}

bool isOnStep(double value, double step) {
    const double steps = value / step;
    return std::abs(steps - std::round(steps)) < kOnStep;
}

}  // namespace

void OrdersCheck::addOrderRules(Checked& one) {
    const QString symbol = text(one.record->fields, Security::symbol);
    const bool isKnown =
        !ask(QStringLiteral("GetSecurityDetailsBySymbol"), {symbol}).toObject().isEmpty();
    if (!isKnown) {
        one.rules.append({QStringLiteral("security"), Result::Fail,
                          symbol.isEmpty()
                              ? QStringLiteral("no symbol")
                              : QStringLiteral("no security is called '%1'").arg(symbol)});
        return;
    }
    one.rules.append({QStringLiteral("security"), Result::Pass, QString()});
    addQuantityRules(one);
    addPriceRules(one);
}

void OrdersCheck::addQuantityRules(Checked& one) {
    const QVariantMap& order = one.record->fields;
    const QString symbol = text(order, Security::symbol);
    double qty = 0;
    if (!isAmount(order.value(Security::orderQty), &qty)) {
        one.rules.append({QStringLiteral("quantity"), Result::Fail,
                          QStringLiteral("'%1' is not a quantity above 0")
                              .arg(text(order, Security::orderQty))});
        return;
    }
    const Side side = sideOf(text(order, Security::side));
    const bool isSell = side == Side::Sell;
    const double step = number(QStringLiteral("GetQtyStepBySymbol"), {symbol});
    const double least = number(isSell ? QStringLiteral("GetMinSoldQtyBySymbol")
                                       : QStringLiteral("GetMinQtyPerOrderBySymbol"),
                                {symbol});
    const double most =
        number(QStringLiteral("GetMaxQtyPerOrderBySymbol"), {symbol, jsonText(order)});
    one.rules.append({isSell ? QStringLiteral("smallest sale") : QStringLiteral("smallest order"),
                      qty < least ? Result::Fail : Result::Pass, shown(least)});
    one.rules.append(
        {QStringLiteral("largest order"), qty > most ? Result::Fail : Result::Pass, shown(most)});
    const bool isWhole = step > 0 && isOnStep(qty, step);
    Result result = isWhole ? Result::Pass : Result::Fail;
    QString detail = shown(step);
    if (!isWhole && side == Side::Unknown) {
        result = Result::Open;
        detail += QStringLiteral("; ") + unknownDirection(order);
    } else if (!isWhole && isSell) {
        // Whether it is the rest depends on the position at that moment.
        result = Result::Open;
        detail += QStringLiteral("; an odd quantity is sold as the rest of a position only");
    }
    one.rules.append({QStringLiteral("quantity step"), result, detail});
}

void OrdersCheck::addPriceRules(Checked& one) {
    const QVariantMap& order = one.record->fields;
    const QString symbol = text(order, Security::symbol);
    const QString priceUnit = QStringLiteral("price unit");
    const QString cage = QStringLiteral("price limits");
    double price = 0;
    if (!isAmount(order.value(TradeField::orderPrice), &price)) {
        const bool isMarket = text(order, Security::orderType) == OrderType::market;
        const Result result = isMarket ? Result::Open : Result::Fail;
        const QString detail = isMarket ? QStringLiteral("a market order has no price")
                                        : QStringLiteral("'%1' is not a price above 0")
                                              .arg(text(order, TradeField::orderPrice));
        one.rules.append({priceUnit, result, detail});
        one.rules.append({cage, Result::Open, QStringLiteral("no price")});
        return;
    }
    const double unit =
        number(QStringLiteral("GetPriceUnitBySymbol"),
               {symbol, QString::number(price, 'g', 17), text(order, Security::side)});
    one.rules.append(
        {priceUnit, unit > 0 && isOnStep(price, unit) ? Result::Pass : Result::Fail, shown(unit)});
    addCageRule(one, price, unit);
}

void OrdersCheck::addCageRule(Checked& one, double price, double unit) {
    const QVariantMap& order = one.record->fields;
    const QVariantMap tick = m_ticks.value(text(order, Security::symbol));
    const Side side = sideOf(text(order, Security::side));
    Rule rule{QStringLiteral("price limits"), Result::Open, QString()};
    if (tick.isEmpty()) {
        rule.detail = QStringLiteral("no tick received");
    } else if (side == Side::Unknown) {
        rule.detail = unknownDirection(order);
    } else if (!ask(QStringLiteral("IsUserCageInfoInited"), {QString()}).toBool()) {
        rule.detail = QStringLiteral("the price cage is not loaded");
    } else {
        const double limit =
            number(QStringLiteral("CheckCagePrice"),
                   {QString::number(price, 'g', 17), jsonText(tick),
                    side == Side::Sell ? QStringLiteral("true") : QStringLiteral("false")});
        const bool isWithin = std::abs(limit - price) < std::max(unit, 1e-9) * kOnStep;
        rule.result = isWithin ? Result::Pass : Result::Fail;
        rule.detail = isWithin ? QStringLiteral("last price %1")
                                     .arg(shown(tick.value(TickField::lastPrice).toDouble()))
                               : QStringLiteral("limit %1").arg(shown(limit));
        if (tick.value(TickField::phase) != TickPhase::continuous) {
            rule.detail += QStringLiteral("; the day's limits alone, trading is not continuous");
        }
    }
    one.rules.append(rule);
}

void OrdersCheck::addAccountRules(Checked& one) {
    const QVariantMap& record = one.record->fields;
    const QString account = text(record, UserAccount::tradingAccount);
    const QString mayTrade = QStringLiteral("account may trade");
    const QJsonObject known =
        ask(QStringLiteral("GetAccountInfoByTradingAccount"), {account, QStringLiteral("false")})
            .toObject();
    if (account.isEmpty() || known.value(QLatin1String("tradingAccount")).toString() != account) {
        one.rules.append({mayTrade, Result::Fail,
                          account.isEmpty()
                              ? QStringLiteral("no trading account")
                              : QStringLiteral("no account is called '%1'").arg(account)});
        return;
    }
    const bool isFrozen =
        known.value(QLatin1String("accountStatus")).toString() == AccountStatus::freezing;
    const bool hasRight = known.value(QLatin1String("authorityFlags")).toInt() & kTrade;
    one.rules.append({mayTrade, isFrozen || !hasRight ? Result::Fail : Result::Pass,
                      isFrozen    ? QStringLiteral("the account is frozen")
                      : !hasRight ? QStringLiteral("no right to trade")
                                  : QString()});
    if (one.isCancel) {
        return;
    }
    const QString symbol = text(record, Security::symbol);
    const bool isTradable =
        ask(QStringLiteral("IsSymbolTradableByAccount"), {account, symbol}).toBool();
    one.rules.append(
        {QStringLiteral("security for account"), isTradable ? Result::Pass : Result::Fail,
         isTradable ? QString() : QStringLiteral("%1 may not trade %2").arg(account, symbol)});
    const QString side = text(record, Security::side);
    if (side == OrderSide::buy || side == DealSide::sell) {
        one.rules.append(
            {QStringLiteral("side for account"), Result::Open,
             QStringLiteral("side '%1' is the exchange's, not an account's").arg(side)});
        return;
    }
    const QString sideRule = QStringLiteral("side for account");
    if (side.isEmpty()) {
        one.rules.append({sideRule, Result::Fail, QStringLiteral("no side")});
        return;
    }
    const bool isSupported =
        ask(QStringLiteral("IsSideUnionSupportByAccount"), {account, side}).toBool();
    if (!isSupported &&
        ask(QStringLiteral("GetSupportSideUnionListByAccount"), {account}).toArray().isEmpty()) {
        one.rules.append(
            {sideRule, Result::Open, QStringLiteral("the account's kind has no list of sides")});
        return;
    }
    one.rules.append(
        {sideRule, isSupported ? Result::Pass : Result::Fail,
         isSupported ? QString() : QStringLiteral("%1 may not use side '%2'").arg(account, side)});
}

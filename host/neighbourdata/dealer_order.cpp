#include "dealer_order.h"

#include <algorithm>
#include <cmath>

#include "order_status.h"
#include "trade_fields.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

constexpr double kCommissionRate = 0.00025;
constexpr double kLeastCommission = 5;
constexpr double kStampDutyRate = 0.0005;
/// Each deal's amount is rounded, so their sum may exceed the order's by a few fen.
constexpr double kRoundingReserve = 0.1;

inline const QString kNewEntrust = QStringLiteral("0");
inline const QString kLimitOrder = QStringLiteral("2");
inline const QString kDealt = QStringLiteral("0");

double toTheFen(double amount) {
    return std::round(amount * 100) / 100;
}

}  // namespace

double dealCommission(double amount, bool isSale, const DealtSecurity& security) {
    if (!(amount > 0)) {
        return 0;
    }
    const bool isTaxed = isSale && security.type == MdcSecurityType::StockType && !security.ladder;
    return std::max(kLeastCommission, toTheFen(amount * kCommissionRate)) +
           (isTaxed ? toTheFen(amount * kStampDutyRate) : 0);
}

double buyingCost(const DealtSecurity& security, qint64 quantity, qint64 price) {
    const double amount = security.amountOf(quantity, price);
    return (amount + dealCommission(amount, false, security)) * security.rate + kRoundingReserve;
}

DealerOrder::DealerOrder(const Terms& terms, const QVector<qint64>& parts)
    : m_terms(terms), m_parts(parts), m_status(OrderStatus::sent) {}

QString DealerOrder::sideOf(const QString& fundAccountType, bool buys) {
    const int place = buys ? 0 : 1;
    if (fundAccountType == FundAccountType::Credit) {
        return SideUnion::marginOrderSideList.at(place);
    }
    if (fundAccountType == FundAccountType::Future) {
        return SideUnion::futuresSideList.at(place);
    }
    if (fundAccountType == FundAccountType::Option) {
        return SideUnion::optionSideList.at(place);
    }
    return SideUnion::normalSideList.at(place);
}

double DealerOrder::commissionOf(qint64 quantity, qint64 price) const {
    const double amount = m_amount + m_terms.security->amountOf(quantity, price);
    return toTheFen(dealCommission(amount, !m_terms.buys, *m_terms.security) - m_commission);
}

double DealerOrder::reserved() const {
    if (!m_terms.buys) {
        return 0;
    }
    const qint64 rest = m_terms.quantity - m_filled - m_cancelled;
    return kRoundingReserve - cashOf(rest, m_terms.price);
}

double DealerOrder::cashOf(qint64 quantity, qint64 price) const {
    const double amount = m_terms.security->amountOf(quantity, price);
    return ((m_terms.buys ? -amount : amount) - commissionOf(quantity, price)) *
           m_terms.security->rate;
}

QVariantMap DealerOrder::common(const QDateTime& time) const {
    const DealtSecurity& security = *m_terms.security;
    return {
        {UserAccount::tradingAccount, m_terms.account.tradingAccount},
        {UserAccount::securityAccount, m_terms.account.securityAccounts.value(security.exchange)},
        {UserAccount::securityExchange, security.exchange},
        {Security::securityID, security.securityID},
        {Security::symbol, security.symbol},
        {Security::orderID, m_terms.orderID},
        {Security::transActTime, time.toMSecsSinceEpoch()}};
}

QVariantMap DealerOrder::execution(const QDateTime& time, const QString& kind) {
    QVariantMap record = common(time);
    record.insert(Security::execID,
                  QStringLiteral("%1-%2").arg(m_terms.orderID).arg(++m_executions));
    record.insert(UserAccount::ExchangeExecType, kind);
    record.insert(Security::side, m_terms.buys ? OrderSide::buy : DealSide::sell);
    return record;
}

QVariantMap DealerOrder::deal(qint64 price, const QDateTime& time) {
    const qint64 quantity = nextPart();
    const double amount = m_terms.security->amountOf(quantity, price);
    const double commission = commissionOf(quantity, price);
    ++m_deals;
    m_filled += quantity;
    m_priceTimesQuantity += price * quantity;
    m_amount = toTheFen(m_amount + amount);
    m_commission = toTheFen(m_commission + commission);
    QVariantMap record = execution(time, kDealt);
    record.insert(Security::lastQty, quantity);
    record.insert(TradeField::dealPrice, DealtSecurity::currency(price));
    record.insert(Security::lastAmount, amount);
    record.insert(Margin::executionCommission, commission);
    return record;
}

QVariantMap DealerOrder::cancelRest(const QDateTime& time) {
    m_parts.resize(m_deals);
    m_cancelled = m_terms.quantity - m_filled;
    QVariantMap record = execution(time, EntrustType::cancelOrder);
    record.insert(Security::lastQty, qint64(0));
    record.insert(TradeField::dealPrice, 0.0);
    record.insert(Security::lastAmount, 0.0);
    record.insert(Margin::executionCommission, 0.0);
    return record;
}

QVariantMap DealerOrder::record(const QDateTime& time) const {
    QVariantMap record = common(time);
    record.insert(Security::clOrdID, QLatin1Char('C') + m_terms.orderID);
    record.insert(Security::entrustType, kNewEntrust);
    record.insert(Security::orderType, kLimitOrder);
    record.insert(Security::side, sideOf(m_terms.account.fundAccountType, m_terms.buys));
    record.insert(Security::orderStatus, m_status);
    record.insert(Security::orderQty, m_terms.quantity);
    record.insert(TradeField::orderPrice, DealtSecurity::currency(m_terms.price));
    record.insert(Security::cumQty, m_filled);
    record.insert(Security::cancelledQty, m_cancelled);
    const qint64 left =
        m_status == OrderStatus::rejected ? 0 : m_terms.quantity - m_filled - m_cancelled;
    record.insert(Security::leaveQty, left);
    record.insert(Security::avgPx, m_filled > 0 ? DealtSecurity::currency(m_priceTimesQuantity) /
                                                      static_cast<double>(m_filled)
                                                : 0.0);
    return record;
}

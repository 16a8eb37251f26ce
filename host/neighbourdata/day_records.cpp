#include "day_records.h"

#include <cmath>

#include "neighbour_log.h"
#include "order_status.h"
#include "trade_fields.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

const OrderStatusTable& statuses() {
    static const OrderStatusTable table = [] {
        OrderStatusTable loaded;
        QString error;
        if (!loaded.load(&error)) {
            qCCritical(lcNeighbour).noquote() << "the table of order states is unusable:" << error;
        }
        return loaded;
    }();
    return table;
}

bool isNumber(const QVariant& value) {
    switch (static_cast<QMetaType::Type>(value.type())) {
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Double:
            return true;
        default:
            return value.userType() == QMetaType::Float;
    }
}

/// Reads fields of a record; after the first failure every read does nothing.
class FieldReader {
public:
    FieldReader(const QVariantMap& record, QString* error) : m_record(record), m_error(error) {}

    bool good() const { return m_good; }
    bool has(const QString& field) const { return m_record.contains(field); }
    void fail(const QString& text) {
        if (m_good) {
            *m_error = text;
        }
        m_good = false;
    }

    /// A text; numbers count as texts too, since ids are written as either.
    QString text(const QString& field) {
        const QVariant value = m_record.value(field);
        if (value.isValid() && value.userType() != QMetaType::QString && !isNumber(value)) {
            fail(QStringLiteral("%1 is not a text").arg(field));
        }
        return value.toString();
    }
    QString requiredText(const QString& field) {
        QString found = text(field);
        if (found.isEmpty()) {
            fail(QStringLiteral("%1 is missing").arg(field));
        }
        return found;
    }

    /// A finite number within the bound; 0 when absent.
    double number(const QString& field) {
        const QVariant value = m_record.value(field);
        if (!value.isValid()) {
            return 0;
        }
        const double found = value.toDouble();
        if (!isNumber(value)) {
            fail(QStringLiteral("%1 is not a number").arg(field));
        } else if (!std::isfinite(found) || std::abs(found) > kMostAmount) {
            fail(QStringLiteral("%1 is not a number of at most 1e15").arg(field));
        }
        return m_good ? found : 0;
    }
    double requiredNumber(const QString& field) {
        if (!has(field)) {
            fail(QStringLiteral("%1 is missing").arg(field));
        }
        return number(field);
    }
    double positive(const QString& field) {
        const double found = number(field);
        if (found < 0) {
            fail(QStringLiteral("%1 is negative").arg(field));
        }
        return found;
    }
    qint64 wholeNumber(const QString& field) {
        const double found = positive(field);
        if (found != std::floor(found)) {
            fail(QStringLiteral("%1 is not a whole number").arg(field));
        }
        return m_good ? static_cast<qint64>(found) : 0;
    }

    std::shared_ptr<const Instrument> instrument() {
        const QString symbol = text(Security::symbol);
        const QString id = text(Security::securityID);
        const QString exchange = text(UserAccount::securityExchange);
        if (symbol.isEmpty() && (id.isEmpty() || exchange.isEmpty())) {
            fail(QStringLiteral("symbol is missing"));
        }
        if (!m_good) {
            return nullptr;
        }
        QString why;
        auto found = Instrument::find(symbol, id, exchange, &why);
        if (!found) {
            fail(why);
        }
        return found;
    }

private:
    const QVariantMap& m_record;
    QString* const m_error;
    bool m_good = true;
};

// Amounts are rounded to the fen, prices to what their source shows.
constexpr double kAmountTolerance = 0.01;
constexpr double kRelativeTolerance = 1e-6;

void readSide(FieldReader& fields, DayDeal* deal) {
    const QString side = fields.requiredText(Security::side);
    deal->isBuy = side == OrderSide::buy;
    if (!deal->isBuy && side != DealSide::sell) {
        fields.fail(QStringLiteral("the side of a deal is '%1' or '%2', not '%3'")
                        .arg(OrderSide::buy, DealSide::sell, side));
    }
}

/// Quantity, price and amount of a deal; of the last two, one gives the other.
void readAmounts(FieldReader& fields, DayDeal* deal) {
    deal->quantity = fields.wholeNumber(Security::lastQty);
    deal->price = fields.positive(TradeField::dealPrice);
    deal->amount = fields.positive(Security::lastAmount);
    if (deal->isCancel) {
        if (deal->quantity != 0 || deal->amount != 0) {
            fields.fail(QStringLiteral("a cancel row has the quantity and the amount 0"));
        }
        return;
    }
    if (deal->quantity == 0) {
        fields.fail(QStringLiteral("%1 is missing").arg(Security::lastQty));
    }
    if (!fields.has(TradeField::dealPrice) && !fields.has(Security::lastAmount)) {
        fields.fail(QStringLiteral("%1 is missing").arg(TradeField::dealPrice));
    }
    if (!fields.good()) {
        return;
    }
    const double units = static_cast<double>(deal->quantity) * deal->instrument->unit;
    if (!fields.has(Security::lastAmount)) {
        deal->amount = units * deal->price;
    } else if (!fields.has(TradeField::dealPrice)) {
        deal->price = deal->amount / units;
    } else if (std::abs(units * deal->price - deal->amount) >
               kAmountTolerance + kRelativeTolerance * deal->amount) {
        fields.fail(QStringLiteral("%1 and %2 contradict each other")
                        .arg(TradeField::dealPrice, Security::lastAmount));
    }
    if (deal->amount > kMostAmount) {
        fields.fail(QStringLiteral("the amount is larger than 1e15"));
    }
}

}  // namespace

bool readDeal(const QVariantMap& record, DayDeal* deal, QString* error) {
    FieldReader fields(record, error);
    deal->tradingAccount = fields.requiredText(UserAccount::tradingAccount);
    deal->instrument = fields.instrument();
    readSide(fields, deal);
    deal->securityAccount = fields.text(UserAccount::securityAccount);
    deal->execID = fields.text(Security::execID);
    deal->orderID = fields.text(Security::orderID);
    deal->isCancel = fields.text(UserAccount::ExchangeExecType) == EntrustType::cancelOrder;
    if (fields.good()) {
        readAmounts(fields, deal);
    }
    deal->commission = fields.positive(Margin::executionCommission);
    if (deal->isCancel && deal->commission != 0) {
        fields.fail(QStringLiteral("a cancel row has no commission"));
    }
    fields.positive(Security::transActTime);
    deal->record = record;
    return fields.good();
}

bool readPosition(const QVariantMap& record, DayPosition* position, QString* error) {
    FieldReader fields(record, error);
    position->tradingAccount = fields.requiredText(UserAccount::tradingAccount);
    position->instrument = fields.instrument();
    position->securityAccount = fields.text(UserAccount::securityAccount);
    position->averageCost = fields.number(Security::omsAverageCost);
    const double nominal = fields.requiredNumber(Security::nominalQty);
    if (!fields.good()) {
        return false;
    }
    const double pieces = nominal / position->instrument->nominalPerPiece;
    const double whole = std::round(pieces);
    if (std::abs(pieces) > kMostAmount) {
        fields.fail(QStringLiteral("%1 is more than 1e15 pieces").arg(Security::nominalQty));
    } else if (std::abs(pieces - whole) > 1e-6) {
        fields.fail(QStringLiteral("%1 is not a whole number of pieces").arg(Security::nominalQty));
    } else {
        position->quantity = static_cast<qint64>(whole);
    }
    return fields.good();
}

bool readOrder(const QVariantMap& record, DayOrder* order, QString* error) {
    FieldReader fields(record, error);
    order->tradingAccount = fields.requiredText(UserAccount::tradingAccount);
    const auto instrument = fields.instrument();
    order->orderID = fields.requiredText(Security::orderID);
    order->side = fields.requiredText(Security::side);
    fields.requiredNumber(Security::orderQty);
    order->quantity = fields.wholeNumber(Security::orderQty);
    order->filled = fields.wholeNumber(Security::cumQty);
    order->cancelled = fields.wholeNumber(Security::cancelledQty);
    order->averagePrice = fields.positive(Security::avgPx);
    order->status = fields.text(Security::orderStatus);
    fields.positive(TradeField::orderPrice);
    fields.positive(Security::transActTime);
    if (order->status.isEmpty()) {
        order->status = OrderStatus::sent;
    }
    if (!statuses().codes().contains(order->status)) {
        fields.fail(QStringLiteral("%1 '%2' is unknown").arg(Security::orderStatus, order->status));
    }
    if (order->quantity == 0) {
        fields.fail(QStringLiteral("%1 is 0").arg(Security::orderQty));
    }
    if (order->left() < 0) {
        fields.fail(QStringLiteral("more is filled and cancelled than %1").arg(Security::orderQty));
    }
    if (!fields.good()) {
        return false;
    }
    order->symbol = instrument->symbol;
    order->exchange = instrument->exchange;
    order->record = record;
    order->record.insert(Security::symbol, instrument->symbol);
    order->record.insert(Security::securityID, instrument->securityID);
    order->record.insert(UserAccount::securityExchange, instrument->exchange);
    return true;
}

bool DayOrder::takeState(const QVariantMap& later, QString* error) {
    QVariantMap merged = row();
    for (auto it = later.cbegin(); it != later.cend(); ++it) {
        merged.insert(it.key(), it.value());
    }
    DayOrder next;
    if (!readOrder(merged, &next, error)) {
        return false;
    }
    if (next.symbol != symbol || next.tradingAccount != tradingAccount ||
        next.exchange != exchange || next.side != side || next.quantity != quantity) {
        *error = QStringLiteral("the order '%1' is one of %2 for %3 %4, exchange '%5', side '%6'")
                     .arg(orderID, tradingAccount)
                     .arg(quantity)
                     .arg(symbol, exchange, side);
        return false;
    }
    if (next.status != status && !statuses().mayFollow(status, next.status)) {
        *error = QStringLiteral("the order '%1' cannot go from the status '%2' to '%3'")
                     .arg(orderID, status, next.status);
        return false;
    }
    if (next.filled < filled || next.cancelled < cancelled) {
        *error = QStringLiteral("a quantity of the order '%1' would shrink").arg(orderID);
        return false;
    }
    if (isFinal() && (next.filled != filled || next.cancelled != cancelled)) {
        *error =
            QStringLiteral("the order '%1' is final with the status '%2'").arg(orderID, status);
        return false;
    }
    *this = next;
    return true;
}

bool DayOrder::isFinal() const {
    return statuses().isTerminal(status);
}

bool DayOrder::allows(bool isBuy) const {
    using namespace SideUnion;
    static const QStringList buying{OrderSide::buy,        normalBuy,
                                    FixIncomeTradeBuy,     FixIncomeTradeBuySZ,
                                    financingBuy,          marginOrderSideList.at(0),
                                    futuresSideList.at(0), optionSideList.at(0)};
    static const QStringList selling{
        DealSide::sell,        normalSideList.at(1),      FixIncomeTradeSell,
        FixIncomeTradeSellSZ,  marginOrderSideList.at(1), marginOrderSideList.at(3),
        futuresSideList.at(1), optionSideList.at(1)};
    return !(isBuy ? selling : buying).contains(side);
}

QVariantMap DayOrder::row() const {
    QVariantMap made = record;
    made.insert(Security::orderQty, quantity);
    made.insert(Security::cumQty, filled);
    made.insert(Security::cancelledQty, cancelled);
    made.insert(Security::leaveQty, isFinal() ? qint64(0) : left());
    made.insert(Security::avgPx, averagePrice);
    made.insert(Security::orderStatus, status);
    return made;
}

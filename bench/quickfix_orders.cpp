#include "quickfix_orders.h"

#include <quickfix/Field.h>
#include <quickfix/fix44/NewOrderSingle.h>

// The library's headers need C++14: they contain exception specifications.

namespace {

// Fields without a standard tag get one of the range for users.
constexpr int kPriceTypeTag = 5001;
constexpr int kInstructionTag = 5002;
constexpr int kFlowTypeTag = 5003;
constexpr int kStationTag = 5004;
constexpr int kClientMessageTag = 5005;
constexpr int kSecurityAccountTag = 5006;
constexpr int kMaxPriceLevelsTag = 1090;

FIX44::NewOrderSingle messageOf(const PlainOrder& order) {
    FIX44::NewOrderSingle message;
    message.setField(FIX::FIELD::ClOrdID, order.clOrdID);
    message.setField(FIX::FIELD::Side, order.side);
    message.setField(FIX::FIELD::TransactTime, order.transactTime);
    message.setField(FIX::FIELD::OrdType, order.orderType);
    message.set(FIX::Account(order.account));
    message.set(FIX::SecurityExchange(order.exchange));
    message.set(FIX::SecurityID(order.securityID));
    message.set(FIX::OrderQty(order.quantity));
    message.set(FIX::Price(order.price));
    message.setField(FIX::FIELD::TimeInForce, order.timeInForce);
    message.setField(FIX::FIELD::MinQty, order.minQty);
    message.setField(kMaxPriceLevelsTag, order.maxPriceLevels);
    message.setField(kSecurityAccountTag, order.securityAccount);
    message.setField(kClientMessageTag, order.clientMsgID);
    message.setField(kPriceTypeTag, order.priceType);
    message.setField(kInstructionTag, order.instruction);
    message.setField(kFlowTypeTag, order.flowType);
    message.setField(kStationTag, order.station);
    return message;
}

}  // namespace

std::size_t serialiseWithQuickFix(const std::vector<PlainOrder>& orders) {
    std::size_t bytes = 0;
    std::string text;
    for (const PlainOrder& order : orders) {
        bytes += messageOf(order).toString(text).size();
    }
    return bytes;
}

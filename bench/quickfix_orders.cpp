#include "quickfix_orders.h"

#include <quickfix/Field.h>
#include <quickfix/fix44/NewOrderSingle.h>

// The library's headers need C++14: they contain exception specifications.

std::size_t serialiseWithQuickFix(const std::vector<OrderTexts>& orders) {
    // Tags for the fields' positions; those of our own fields are in the range for users.
    constexpr int kFirstUserTag = 5000;
    std::size_t bytes = 0;
    std::string text;
    for (const OrderTexts& order : orders) {
        FIX44::NewOrderSingle message;
        int tag = kFirstUserTag;
        for (const auto& field : order) {
            message.setField(tag++, field.second);
        }
        bytes += message.toString(text).size();
    }
    return bytes;
}

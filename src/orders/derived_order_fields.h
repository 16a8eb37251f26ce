#pragma once

#include <QString>
#include <optional>

class OrderRecord;

/// The fields of an order that follow from its order type and price type, as texts.
struct DerivedOrderFields {
    QString timeInForce;
    QString maxPriceLevels;
    QString minQty;
};

/// Nothing when no rule names the record's combination of types. Any thread.
std::optional<DerivedOrderFields> derivedOrderFields(const OrderRecord& order);

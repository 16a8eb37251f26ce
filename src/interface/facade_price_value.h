#pragma once

#include "facade_record_value.h"
#include "rate_side_type.h"
#include "velmarutils/velmar_busi_utils.h"

template <>
struct FacadeEnum<CustomPriceType> {
    static QString name() { return QStringLiteral("CustomPriceType"); }
    // The bids and asks between the best and the fifth have no enumerator of their own.
    static constexpr FacadeEnumValue values[] = {
        {static_cast<int>(CustomPriceType::Bid1), "Bid1"},
        {static_cast<int>(CustomPriceType::Bid1) + 1, "Bid2"},
        {static_cast<int>(CustomPriceType::Bid1) + 2, "Bid3"},
        {static_cast<int>(CustomPriceType::Bid1) + 3, "Bid4"},
        {static_cast<int>(CustomPriceType::Bid5), "Bid5"},
        {static_cast<int>(CustomPriceType::Ask1), "Ask1"},
        {static_cast<int>(CustomPriceType::Ask1) + 1, "Ask2"},
        {static_cast<int>(CustomPriceType::Ask1) + 2, "Ask3"},
        {static_cast<int>(CustomPriceType::Ask1) + 3, "Ask4"},
        {static_cast<int>(CustomPriceType::Ask5), "Ask5"},
        {static_cast<int>(CustomPriceType::UpperLimit), "UpperLimit"},
        {static_cast<int>(CustomPriceType::LowerLimit), "LowerLimit"},
        {static_cast<int>(CustomPriceType::UpperLimitOrder), "UpperLimitOrder"},
        {static_cast<int>(CustomPriceType::LowerLimitOrder), "LowerLimitOrder"},
        {static_cast<int>(CustomPriceType::AskForQty), "AskForQty"},
        {static_cast<int>(CustomPriceType::BidForQty), "BidForQty"},
        {static_cast<int>(CustomPriceType::RatioAbove), "RatioAbove"},
        {static_cast<int>(CustomPriceType::RatioBelow), "RatioBelow"},
    };
};

template <>
struct FacadeEnum<RateSideType> {
    static QString name() { return QStringLiteral("RateSideType"); }
    static constexpr FacadeEnumValue values[] = {
        {static_cast<int>(RateSideType::Mid), "Mid"},
        {static_cast<int>(RateSideType::Buy), "Buy"},
        {static_cast<int>(RateSideType::Sell), "Sell"},
    };
};

struct HandicapFields {
    template <class Record, class Visitor>
    static void visit(Record& record, Visitor&& field) {
        field("level", record.level);
        field("price", record.price);
        field("qty", record.qty);
    }
};

template <>
struct FacadeValue<HandicapInfo> : FacadeJsonText<HandicapInfo> {
    using Value = FacadeRecordValue<HandicapInfo, HandicapFields>;
    static QString name() { return QStringLiteral("HandicapInfo"); }
    static QString wanted() { return QStringLiteral("a JSON object with fields of HandicapInfo"); }
    static bool fromJson(const QJsonValue& json, HandicapInfo* value) {
        return Value::fromJson(json, value);
    }
    static QString whyNot(const QJsonValue& json) { return Value::whyNot(json); }
    static QJsonValue toJson(const HandicapInfo& value) { return Value::toJson(value); }
};

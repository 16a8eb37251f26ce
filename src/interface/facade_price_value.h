#pragma once

#include "facade_record_value.h"
#include "rate_side_type.h"
#include "velmarutils/velmar_busi_utils.h"

template <>
struct FacadeEnumName<CustomPriceType> {
    static QString name() { return QStringLiteral("CustomPriceType"); }
};

template <>
struct FacadeEnumName<RateSideType> {
    static QString name() { return QStringLiteral("RateSideType"); }
};

struct HandicapFields {
    template <class Record, class Visitor>
    static void visit(Record& record, Visitor&& told) {
        told("level", record.level);
        told("price", record.price);
        told("qty", record.qty);
    }
};

template <>
struct FacadeValue<HandicapInfo> : FacadeJsonText<HandicapInfo> {
    using Value = FacadeRecordValue<HandicapInfo, HandicapFields>;
    static QString name() { return QStringLiteral("HandicapInfo"); }
    static bool fromJson(const QJsonValue& json, HandicapInfo* value) {
        return Value::fromJson(json, value);
    }
    static QJsonValue toJson(const HandicapInfo& value) { return Value::toJson(value); }
};

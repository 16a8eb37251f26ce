#include "facade_record_value.h"

namespace {

struct SymbolListFields {
    template <class Record, class Visitor>
    static void visit(Record& record, Visitor&& field) {
        field("securityType", record.securityType);
        field("subTypeList", record.subTypeList);
        field("symbolPostList", record.symbolPostList);
        field("allowDeleted", record.allowDeleted);
        field("excludeSubTypeList", record.excludeSubTypeList);
    }
};

using Value = FacadeRecordValue<SymbolListType, SymbolListFields>;

}  // namespace

bool FacadeValue<SymbolListType>::fromJson(const QJsonValue& json, SymbolListType* value) {
    return Value::fromJson(json, value);
}

QJsonValue FacadeValue<SymbolListType>::toJson(const SymbolListType& value) {
    return Value::toJson(value);
}

QString FacadeValue<SymbolListType>::whyNot(const QJsonValue& json) {
    return Value::whyNot(json);
}

#include "facade_record_value.h"

namespace {

struct SymbolListFields {
    template <class Record, class Visitor>
    static void visit(Record& record, Visitor&& told) {
        told("securityType", record.securityType);
        told("subTypeList", record.subTypeList);
        told("symbolPostList", record.symbolPostList);
        told("allowDeleted", record.allowDeleted);
        told("excludeSubTypeList", record.excludeSubTypeList);
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

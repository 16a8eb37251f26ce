#pragma once

#include <type_traits>

#include "facade_value.h"

/// A record as a JSON object. `Fields::visit(record, visitor)` visits every field under its own
/// name, for reading and writing alike, so that the two cannot drift apart.
template <class Record, class Fields>
struct FacadeRecordValue {
    /// Fields that the object lacks keep their default; on failure `value` is left alone.
    static bool fromJson(const QJsonValue& json, Record* value) {
        const QJsonObject object = json.toObject();
        Record record;
        bool ok = json.isObject();
        Fields::visit(record, [&object, &ok](const char* name, auto& field) {
            const auto found = object.constFind(QLatin1String(name));
            if (found != object.constEnd()) {
                ok = FacadeValue<std::decay_t<decltype(field)>>::fromJson(*found, &field) && ok;
            }
        });
        if (ok) {
            *value = record;
        }
        return ok;
    }
    /// "its field branchNo is not a whole number ..." for the first field of another kind; empty
    /// when every field fits.
    static QString whyNot(const QJsonValue& json) {
        const QJsonObject object = json.toObject();
        Record record;
        QString why;
        Fields::visit(record, [&object, &why](const char* name, auto& field) {
            using Field = FacadeValue<std::decay_t<decltype(field)>>;
            const auto found = object.constFind(QLatin1String(name));
            if (why.isEmpty() && found != object.constEnd() && !Field::fromJson(*found, &field)) {
                why = QStringLiteral("its field %1 is not %2")
                          .arg(QLatin1String(name), Field::wanted());
            }
        });
        return why;
    }
    static QJsonValue toJson(const Record& value) {
        QJsonObject object;
        Fields::visit(value, [&object](const char* name, const auto& field) {
            object.insert(QLatin1String(name),
                          FacadeValue<std::decay_t<decltype(field)>>::toJson(field));
        });
        return object;
    }
};

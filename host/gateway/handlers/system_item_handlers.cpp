#include <QSqlQuery>

#include "handler_families.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

/// A request with this value gets the long description, where an item has one.
inline const QString kLong = QStringLiteral("1");

/// The item's record: value and description.
QVariantMap itemRow(const QString& name, const QSqlQuery& query, bool isLong) {
    const QString longer = query.value(2).toString();
    return {{System::itemName, name},
            {System::itemValue, query.value(0).toString()},
            {System::itemDesp, isLong && !longer.isEmpty() ? longer : query.value(1).toString()}};
}

/// By name, or by configuration key, which gets the value alone. An unknown item is a success
/// without rows.
HandlerAnswer systemItem(const ServerCall& call) {
    const QString key = call.text(System::sysConfigKey);
    const QString name = key.isEmpty() ? call.text(System::itemName) : key;
    const bool isLong = call.text(System::itemValue) == kLong;
    HandlerAnswer answer;
    const bool read = call.store.select(
        QStringLiteral("SELECT item_value, description, long_description FROM system_item"
                       " WHERE item_name = ?"),
        {name}, [&](const QSqlQuery& query) {
            answer.rows.append(
                key.isEmpty() ? itemRow(name, query, isLong)
                              : QVariantMap{{System::sysConfigKey, key},
                                            {System::sysConfigValue, query.value(0).toString()}});
        });
    return read ? answer : HandlerAnswer::storeFailed();
}

}  // namespace

void addSystemItemHandlers(ServerHandlers& handlers) {
    handlers.insert(Velmar_MsgType::getSysConfigRequest, systemItem);
    handlers.insert(Quindar_MsgType::sysConfigRequest, systemItem);
}

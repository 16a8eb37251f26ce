#include "zncfg/config_manager.h"

#include "data_stores.h"
#include "never_destroyed.h"
#include "reference_table.h"
#include "vocabulary/fields.h"

ConfigManager* ConfigManager::instance() {
    return &neverDestroyed([] { return new ConfigManager; });
}

QVariantMap ConfigManager::getAlleffectiveKeyAndValues() const {
    QVariantMap values;
    // What the user never saved has the value of the system settings, if they name it.
    const auto records = ReferenceTable::of(ReferenceKind::Setting).records();
    for (auto record = records.cbegin(); record != records.cend(); ++record) {
        const QVariant value = record->value(System::itemValue);
        if (value.isValid()) {
            values.insert(record.key(), value);
        }
    }
    const QVariantMap saved = DataStores::settings().all();
    for (auto one = saved.cbegin(); one != saved.cend(); ++one) {
        values.insert(one.key(), one.value());
    }
    return values;
}

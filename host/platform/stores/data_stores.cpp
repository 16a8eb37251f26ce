#include "data_stores.h"

#include "never_destroyed.h"

SettingsFile& DataStores::settings() {
    return neverDestroyed<SettingsFile>();
}

StaticDatabase& DataStores::staticDatabase() {
    return neverDestroyed<StaticDatabase>();
}

BusinessDataStore& DataStores::businessData() {
    return neverDestroyed<BusinessDataStore>();
}

SharedValues& DataStores::board() {
    return neverDestroyed<SharedValues>();
}

TickSubscriptions& DataStores::tickSubscriptions() {
    return neverDestroyed<TickSubscriptions>();
}

WorkDatabase& DataStores::workDatabase() {
    return neverDestroyed<WorkDatabase>();
}

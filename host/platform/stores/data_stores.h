#pragma once

#include "business_data_store.h"
#include "platform_export.h"
#include "settings_file.h"
#include "shared_values.h"
#include "static_database.h"
#include "tick_subscriptions.h"

// What the data side holds, one of each in the process. Never destroyed: objects that live to the
// end of the process still use them.
namespace DataStores {

SettingsFile& settings();
StaticDatabase& staticDatabase();
PLATFORM_API BusinessDataStore& businessData();
/// The board that all plug-ins share.
SharedValues& board();
PLATFORM_API TickSubscriptions& tickSubscriptions();

/// Forgets the rows of every reference table.
void clearReferenceTables();

}  // namespace DataStores

#pragma once

#include "business_data_store.h"
#include "platform_export.h"
#include "settings_file.h"
#include "shared_values.h"
#include "static_database.h"
#include "tick_subscriptions.h"
#include "work_database.h"

// The stores of the process. Never destroyed: objects that live to the end of the process still use
// them.
namespace DataStores {

SettingsFile& settings();
PLATFORM_API StaticDatabase& staticDatabase();
PLATFORM_API BusinessDataStore& businessData();
/// The values of ZnCore::setCommonInfo(), shared by all plug-ins.
SharedValues& board();
PLATFORM_API TickSubscriptions& tickSubscriptions();
PLATFORM_API WorkDatabase& workDatabase();

/// Empties every reference table.
void clearReferenceTables();

}  // namespace DataStores

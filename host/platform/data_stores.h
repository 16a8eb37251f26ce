#pragma once

#include "business_data_store.h"
#include "settings_file.h"
#include "shared_values.h"
#include "static_database.h"

// What the data side holds, one of each in the process. Never destroyed: objects that live to the
// end of the process still ask.
namespace DataStores {

SettingsFile& settings();
StaticDatabase& staticDatabase();
BusinessDataStore& businessData();
/// The board that all plug-ins share.
SharedValues& board();

/// Forgets how far the one-shot initialisation steps are.
void resetInitStates();
/// Forgets the rows of every reference table.
void clearReferenceTables();
/// Takes the feed's readiness back.
void resetTickFeed();

}  // namespace DataStores

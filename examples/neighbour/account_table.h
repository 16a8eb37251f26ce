#pragma once

/// Asks the business data plug-in for its accounts and prints them on stdout. Blocks until the
/// account table is loaded.
void printAccountTable();

#pragma once

/// Reads the accounts from the business data plug-in and prints them on stdout. Blocks until the
/// account table is loaded.
void printAccountTable();

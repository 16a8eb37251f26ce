#pragma once

#include "account_rows.h"

/// The configuration items of the system: the price cage's, the announcement, what clients report
/// about their performance, whether they upload logs by themselves, and one without a value.
QList<TableRow> makeSystemItemRows();

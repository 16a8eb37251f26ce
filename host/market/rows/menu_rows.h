#pragma once

#include "account_rows.h"

/// The menus of the system and who has them. False with a text when the built-in table cannot be
/// read.
bool makeMenuRows(QList<TableRow>* rows, QString* error);

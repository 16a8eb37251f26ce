#pragma once

#include "account_rows.h"

/// The patches of clients: one, for the version of this program.
QList<TableRow> makePatchRows();

/// Writes the zip files of these patches into the folder of the market. False with a text on
/// failure.
bool writePatchFiles(const QString& dir, QString* error);

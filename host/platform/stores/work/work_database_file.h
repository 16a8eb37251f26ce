#pragma once

#include <QString>

#include "database_fault.h"

// The file of the work database: its name and its state. Any thread; the calls block for the disk.
namespace WorkDatabaseFile {

/// The name of a login's file. Two logins never have the same; none leads out of the folder. An
/// empty login has a file of its own.
QString nameOf(const QString& login);

/// Creates the file where it is missing, checks its pages and indexes, and sets its journal to WAL.
/// A missing file whose journal is there is a fault. A damaged file is moved aside together with
/// its journal and replaced by an empty one, with a log line that names both. `options` are those
/// of QSqlDatabase::setConnectOptions().
DatabaseFault prepare(const QString& file, const QString& options);

}  // namespace WorkDatabaseFile

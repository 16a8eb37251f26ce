#pragma once

#include <QMap>
#include <QString>

#include "database_fault.h"

/// The SQLite files of a sample market, which are written once and only read afterwards. Their
/// table `meta` names the layout, what the file was made from, the seal of a large file (see
/// database_seal.h) and, written last, that the file is complete.
namespace SealedDatabase {

/// The layout that this program writes and reads.
inline const QString format = QStringLiteral("2");

inline const QString formatKey = QStringLiteral("format");
inline const QString completeKey = QStringLiteral("complete");
inline const QString completeValue = QStringLiteral("1");

/// What is wrong with a file. `meta` gets its table of that name as far as it could be read.
/// Never makes a file. Any thread; blocks for some ten milliseconds, whatever the size.
PLATFORM_API DatabaseFault check(const QString& file, QMap<QString, QString>* meta);

/// What to do about a file that is missing, damaged or of another format.
inline const QString repair = QStringLiteral("rebuild it with ./run --rebuild");

}  // namespace SealedDatabase

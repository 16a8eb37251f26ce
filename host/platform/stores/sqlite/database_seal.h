#pragma once

#include <QMap>
#include <QString>

#include "platform_export.h"

/// How a SQLite file that is only ever read is found damaged without reading all of it. Small files
/// are left to SQLite's own check of every page; larger ones bear a seal, written with them: a
/// digest of their first pages, where the small tables stand, and of pages evenly spread over the
/// rest. A seal finds a cut file, a lost or added end, and damage to any page that it covers. What
/// it cannot find is damage to other pages only; that shows when they are read, as an error of the
/// statement or as wrong rows. A seal speaks for the file as it was made: one that was changed
/// through SQLite since is not covered, and is left to SQLite's check again. Any thread; the calls
/// read the file and block for that.
namespace DatabaseSeal {

/// Up to this size SQLite checks every page, which takes some ten milliseconds.
constexpr qint64 kSmallBytes = 8 * 1024 * 1024;
/// Pages that the digest covers: so many from the front, so many of the rest. The first two pages
/// are left out, since they hold the seal itself; the table `meta` is to be the first one.
constexpr int kFrontPages = 1024;
constexpr int kSpreadPages = 512;

/// Keys of the table `meta`.
inline const QString pagesKey = QStringLiteral("pages");
inline const QString digestKey = QStringLiteral("digest");
inline const QString changeKey = QStringLiteral("change");

PLATFORM_API bool isSmall(const QString& file);
/// What is wrong with the file's header or size; empty when both fit.
PLATFORM_API QString headerFault(const QString& file);
/// The values of a seal for the file as it stands, to be written to `meta` in one transaction, the
/// last one; empty when it cannot be read.
PLATFORM_API QMap<QString, QString> make(const QString& file);
/// Whether the file bears a seal and SQLite has not changed it since.
PLATFORM_API bool covers(const QString& file, const QMap<QString, QString>& meta);
/// What of the file does not fit the seal that its table `meta` holds; empty when all does.
PLATFORM_API QString fault(const QString& file, const QMap<QString, QString>& meta);

}  // namespace DatabaseSeal

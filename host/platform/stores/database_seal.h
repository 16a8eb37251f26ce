#pragma once

#include <QMap>
#include <QString>

#include "platform_export.h"

/// Finds damage in a SQLite file that is only read, without reading all of it. Small files are left
/// to SQLite's own check of every page. Larger ones have a seal, written together with them: a
/// digest of the first pages, which contain the small tables, and of pages evenly spread over the
/// rest. A seal finds a file that was cut or extended, and damage to any page that it covers.
/// Damage to other pages shows only when they are read, as an error of the statement or as wrong
/// rows. A seal is valid for the file as it was written: a file that SQLite has changed since is
/// left to SQLite's check of every page again. Any thread; the calls read the file and block.
namespace DatabaseSeal {

/// Up to this size SQLite checks every page, which takes some ten milliseconds.
constexpr qint64 kSmallBytes = 8 * 1024 * 1024;
/// The numbers of pages that the digest covers, at the front and of the rest. The first two pages
/// are left out, since they contain the seal; `meta` must be the file's first table.
constexpr int kFrontPages = 1024;
constexpr int kSpreadPages = 512;

/// Keys of the table `meta`.
inline const QString pagesKey = QStringLiteral("pages");
inline const QString digestKey = QStringLiteral("digest");
inline const QString changeKey = QStringLiteral("change");

PLATFORM_API bool isSmall(const QString& file);
/// What is wrong with the file's header or size; empty when they are valid.
PLATFORM_API QString headerFault(const QString& file);
/// The rows of a seal for the file as it is now, to be written to `meta` in one last transaction;
/// empty when the file cannot be read.
PLATFORM_API QMap<QString, QString> make(const QString& file);
/// Whether the file has a seal and SQLite has not changed it since.
PLATFORM_API bool covers(const QString& file, const QMap<QString, QString>& meta);
/// What differs between the file and the seal in its table `meta`; empty when nothing does.
PLATFORM_API QString fault(const QString& file, const QMap<QString, QString>& meta);

}  // namespace DatabaseSeal

#pragma once

#include <QFile>
#include <QIODevice>
#include <QString>
#include <functional>

// Text files that other programs or other runs have written: UTF-8 whatever the locale, with
// anything in them.

/// Opens a file for forEachLine(). False for whatever is not a file, such as a folder, a pipe or a
/// link that leads in a circle, and for a file that cannot be opened.
bool openForLines(QFile& file, QIODevice::OpenMode mode);

/// Calls each(line) with every line of an open file, as UTF-8 text without its end. A line above 1
/// MiB is left out, with one warning for the file. Never has more than one line in memory.
void forEachLine(QFile& file, const std::function<void(const QString& line)>& each);

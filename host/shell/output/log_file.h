#pragma once

#include <QString>
#include <ctime>
#include <functional>

/// The client's log. After install(), every line of Qt's logger is written to a file with its time,
/// level, category and source position; a text's further lines follow it indented. Fatal lines go
/// to stderr too.
namespace LogFile {

struct Options {
    QString file;  ///< its folder is created when missing
    /// Writes a file of this name in a subfolder of the local day instead, such as
    /// "log/2026-01-05/client.log" for "log/client.log", and goes on to the next one at midnight.
    /// `file` becomes a link to the one that was begun last; a file that was there before moves to
    /// the subfolder of the day when it was changed last.
    bool inDayFolders = false;
    /// How many of those subfolders keep a log; it is removed from earlier ones at the start and at
    /// midnight. Counted rather than compared with today, since the clock may be wrong.
    int daysKept = 30;
    bool debug = false;     ///< include debug lines
    bool onStderr = false;  ///< write every line to stderr as well
    /// At this size the file is renamed to FILE.1, replacing an older one, and a new one is
    /// started.
    qint64 maxBytes = 8 * 1024 * 1024;
    /// Seconds since 1970-01-01 00:00 UTC, for the days; any thread. Empty: the machine's clock.
    std::function<std::time_t()> clock{};
};

/// Returns false with a text when the file cannot be written. A second call switches to another
/// file. The logger is never freed, so that destructors of static objects can still log.
bool install(const Options& options, QString* error);

}  // namespace LogFile

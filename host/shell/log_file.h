#pragma once

#include <QString>

/// The client's log. After install(), every line of Qt's logger is written to a file with its time,
/// level, category and source position; a text's further lines follow it indented. Fatal lines go
/// to stderr too.
namespace LogFile {

struct Options {
    QString file;           ///< its folder is created when missing
    bool debug = false;     ///< include debug lines
    bool onStderr = false;  ///< write every line to stderr as well
    /// At this size the file is renamed to FILE.1, replacing an older one, and a new one is
    /// started.
    qint64 maxBytes = 8 * 1024 * 1024;
};

/// Returns false with a text when the file cannot be written. A second call switches to another
/// file. The logger is never freed, so that destructors of static objects can still log.
bool install(const Options& options, QString* error);

}  // namespace LogFile

#pragma once

#include <QString>

/// The client's log: from install() on, every line of Qt's logger goes to a file, with its time,
/// level, category and place; further lines of a text follow it indented. Fatal lines go to stderr
/// too.
namespace LogFile {

struct Options {
    QString file;           ///< its folder is made when missing
    bool debug = false;     ///< debug lines too
    bool onStderr = false;  ///< on stderr as well
    /// At this size the file becomes FILE.1, whatever was there before, and a new one is begun.
    qint64 maxBytes = 8 * 1024 * 1024;
};

/// False with a text when the file cannot be written. A second call goes on with another file. What
/// it holds is never given back, so that the destructors of static objects can log.
bool install(const Options& options, QString* error);

}  // namespace LogFile

#pragma once

#include <QString>

/// Reports a crash of this process, a SIGSEGV, SIGABRT, SIGBUS, SIGFPE or SIGILL, in files for the
/// next start (see CrashReport); the process then ends by the same signal as without it. A thread
/// that has used up its own stack is reported when it has a SignalStack. One per process, on the
/// main thread.
namespace CrashHandler {

/// Whether this build can report crashes: with libunwind and without a sanitizer, which has
/// handlers of its own.
bool isAvailable();

/// Reports crashes from now on, and gives the calling thread a SignalStack. Both folders are made
/// when missing. Does nothing where it is not available. Logs a warning on failure.
void install(const QString& dumpFolder, const QString& logFolder);

/// Learns which libraries are loaded and the present offset from UTC, which a report cannot find
/// out by itself. To be called after libraries were loaded; does nothing before install().
void refresh();

}  // namespace CrashHandler

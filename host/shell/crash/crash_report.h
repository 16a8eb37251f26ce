#pragma once

#include <cstdint>
#include <string>

#include "module_map.h"

/// What is known of a crash when it happens.
struct CrashFacts {
    int signal = 0;
    std::int64_t msSinceEpoch = 0;  ///< since 1970-01-01 00:00 UTC
    std::int64_t processId = 0;
    std::int64_t threadId = 0;
    std::uintptr_t address = 0;              ///< that could not be used; 0 when unknown
    const std::uintptr_t* frames = nullptr;  ///< the call stack, the innermost first
    int frameCount = 0;
};

/// Where and how crashes are reported. Made in advance; write() works in a signal handler.
class CrashReport {
public:
    struct Places {
        std::string dumpFolder;  ///< both without "/" at the end
        std::string logFolder;
        std::int64_t utcOffset = 0;  ///< in seconds, positive to the east
    };

    CrashReport(const Places& places, ModuleMap modules);

    /// Writes a crash dump, "velmar-client-yyyyMMdd-HHmmss-PID.dmp", and a record of the crash,
    /// "dmpLog_yyyyMMdd-HHmmss-PID.txt", whose one line is the text form of
    /// { ClientMonitor::TagDump: { ClientMonitor::TagCallStack: [...], "time": ... } }, all times
    /// local. False when one of them could not be written whole. Calls only functions that are
    /// safe in a signal handler.
    bool write(const CrashFacts& facts) const;

private:
    bool writeDump(const CrashFacts& facts) const;
    bool writeRecord(const CrashFacts& facts) const;

    const Places m_places;
    const ModuleMap m_modules;
    // Parts of the record's line.
    const std::string m_beforeStack;
    const std::string m_beforeTime;
};

/// "SIGSEGV" and so on; "?" for a signal that is no crash.
const char* crashSignalName(int signal);

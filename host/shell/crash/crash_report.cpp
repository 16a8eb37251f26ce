#include "crash_report.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <utility>

#include "crash_time.h"
#include "plain_text.h"
#include "vocabulary/quindar_values.h"

namespace {

/// "yyyyMMdd-HHmmss".
void putFileTime(const CrashTime& time, PlainText& to) {
    to.number(time.year, 4).number(time.month, 2).number(time.day, 2).text("-");
    to.number(time.hour, 2).number(time.minute, 2).number(time.second, 2);
}

/// "yyyy-MM-dd HH:mm:ss.zzz".
void putTime(const CrashTime& time, PlainText& to) {
    to.number(time.year, 4).text("-").number(time.month, 2).text("-").number(time.day, 2).text(" ");
    to.number(time.hour, 2).text(":").number(time.minute, 2).text(":").number(time.second, 2);
    to.text(".").number(time.millisecond, 3);
}

void putFrame(const ModuleMap& modules, std::uintptr_t address, PlainText& to) {
    if (const ModuleMap::Module* const module = modules.find(address)) {
        to.text(module->name.c_str()).text("+").hex(address - module->base);
    } else {
        to.hex(address);
    }
}

/// Makes "FOLDER/PREFIXyyyyMMdd-HHmmss-PID.SUFFIX"; a negative number when it cannot.
int makeFile(const std::string& folder, const char* prefix, const CrashTime& time,
             std::int64_t processId, const char* suffix) {
    PlainText path;
    path.text(folder.c_str()).text("/").text(prefix);
    putFileTime(time, path);
    path.text("-").number(processId).text(suffix);
    constexpr int kReadable = 0644;
    return path.isWhole() ? ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kReadable)
                          : -1;
}

bool finish(int descriptor, PlainText& to) {
    to.flush();
    return ::close(descriptor) == 0 && to.isWhole();
}

std::string keyText(const QString& key) {
    return '"' + key.toStdString() + "\":";
}

}  // namespace

const char* crashSignalName(int signal) {
    switch (signal) {
        case SIGSEGV:
            return "SIGSEGV";
        case SIGABRT:
            return "SIGABRT";
        case SIGBUS:
            return "SIGBUS";
        case SIGFPE:
            return "SIGFPE";
        case SIGILL:
            return "SIGILL";
        default:
            return "?";
    }
}

CrashReport::CrashReport(const Places& places, ModuleMap modules)
    : m_places(places),
      m_modules(std::move(modules)),
      m_beforeStack('{' + keyText(Quindar_Values::ClientMonitor::TagDump) + '{' +
                    keyText(Quindar_Values::ClientMonitor::TagCallStack) + '['),
      m_beforeTime("],\"time\":\"") {}

bool CrashReport::write(const CrashFacts& facts) const {
    // The record first: it says more about the crash than the dump does.
    const bool isRecorded = writeRecord(facts);
    return writeDump(facts) && isRecorded;
}

bool CrashReport::writeRecord(const CrashFacts& facts) const {
    const CrashTime time = CrashTime::of(facts.msSinceEpoch, m_places.utcOffset);
    const int descriptor = makeFile(m_places.logFolder, "dmpLog_", time, facts.processId, ".txt");
    if (descriptor < 0) {
        return false;
    }
    PlainText line(descriptor);
    line.text(m_beforeStack.c_str());
    for (int i = 0; i < facts.frameCount; ++i) {
        line.text(i == 0 ? "\"" : ",\"");
        putFrame(m_modules, facts.frames[i], line);
        line.text("\"");
    }
    line.text(m_beforeTime.c_str());
    putTime(time, line);
    line.text("\"}}\n");
    return finish(descriptor, line);
}

bool CrashReport::writeDump(const CrashFacts& facts) const {
    const CrashTime time = CrashTime::of(facts.msSinceEpoch, m_places.utcOffset);
    const int descriptor =
        makeFile(m_places.dumpFolder, "velmar-client-", time, facts.processId, ".dmp");
    if (descriptor < 0) {
        return false;
    }
    PlainText dump(descriptor);
    dump.text("crash of velmar-client\ntime: ");
    putTime(time, dump);
    dump.text("\nsignal: ").number(facts.signal).text(" ").text(crashSignalName(facts.signal));
    dump.text("\naddress: ").hex(facts.address);
    dump.text("\nprocess: ").number(facts.processId);
    dump.text("\nthread: ").number(facts.threadId);
    dump.text("\ncall stack:\n");
    for (int i = 0; i < facts.frameCount; ++i) {
        dump.text("  ").number(i).text("  ");
        putFrame(m_modules, facts.frames[i], dump);
        dump.text("\n");
    }
    dump.text("modules:\n");
    for (const ModuleMap::Module& module : m_modules.modules()) {
        dump.text("  ").hex(module.begin).text(" ").hex(module.end).text(" ");
        dump.text(module.name.c_str()).text("\n");
    }
    return finish(descriptor, dump);
}

#include "log_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>
#include <vector>

#include "never_destroyed.h"

namespace {

struct State {
    std::mutex lock;  // guards everything below
    LogFile::Options options;
    QByteArray folder;  // of options.file, with "/" at the end
    QByteArray name;    // of options.file, without its folder
    QByteArray day;     // of the open file's folder; empty without such folders
    QByteArray path;    // of the open file
    std::FILE* file = nullptr;
    qint64 size = 0;
};

State& state() {
    return neverDestroyed<State>();
}

const char* levelName(QtMsgType type) {
    switch (type) {
        case QtDebugMsg:
            return "debug";
        case QtInfoMsg:
            return "info ";
        case QtWarningMsg:
            return "warn ";
        case QtCriticalMsg:
            return "error";
        case QtFatalMsg:
            return "fatal";
    }
    return "?    ";
}

/// "2024-01-31 09:15:00.123". Uses the C library alone, because Qt's date classes depend on static
/// objects, which may be gone when a destructor logs.
QByteArray timeText() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto ms =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() %
        1000;
    std::tm local{};
    localtime_r(&seconds, &local);
    char day[32] = "";
    std::strftime(day, sizeof(day), "%Y-%m-%d %H:%M:%S", &local);
    return QByteArray(day) + '.' + QByteArray::number(static_cast<int>(ms) + 1000).mid(1);
}

QByteArray placeText(const QMessageLogContext& context) {
    if (!context.file) {
        return QByteArray();
    }
    const char* const slash = std::strrchr(context.file, '/');
    return QByteArray(slash ? slash + 1 : context.file) + ':' + QByteArray::number(context.line);
}

/// "2024-01-31".
QByteArray dayText(std::time_t seconds) {
    std::tm local{};
    localtime_r(&seconds, &local);
    char day[16] = "";
    std::strftime(day, sizeof(day), "%Y-%m-%d", &local);
    return QByteArray(day);
}

QByteArray dayNow(const State& log) {
    if (!log.options.inDayFolders) {
        return {};
    }
    return dayText(log.options.clock ? log.options.clock() : std::time(nullptr));
}

/// Makes the folder of a day, below that of the log, and returns it with "/" at the end.
QByteArray makeDayFolder(const State& log, const QByteArray& day) {
    constexpr mode_t kAll = 0777;
    QByteArray folder = log.folder + day + '/';
    ::mkdir(folder.constData(), kAll);
    return folder;
}

/// A log that was written before days had folders goes to the folder of its own day.
void moveFormerLog(const State& log) {
    const QByteArray file = log.folder + log.name;
    struct stat found {};
    if (::lstat(file.constData(), &found) == 0 && S_ISREG(found.st_mode)) {
        const QByteArray target = makeDayFolder(log, dayText(found.st_mtime)) + log.name;
        const bool isTaken = ::access(target.constData(), F_OK) == 0;
        std::rename(file.constData(), (isTaken ? target + ".1" : target).constData());
    }
}

/// Whether a name has the form of dayText().
bool isDayName(const std::string& name) {
    const std::string form = "dddd-dd-dd";
    const auto fits = [](char character, char wanted) {
        return wanted == 'd' ? character >= '0' && character <= '9' : character == wanted;
    };
    return name.size() == form.size() &&
           std::equal(name.cbegin(), name.cend(), form.cbegin(), fits);
}

/// The days before or after the present one that have a folder, the earliest first.
std::vector<std::string> otherDays(const State& log) {
    namespace fs = std::filesystem;
    std::vector<std::string> days;
    std::error_code fault;
    for (fs::directory_iterator one(log.folder.constData(), fault), end; !fault && one != end;
         one.increment(fault)) {
        const std::string name = one->path().filename().string();
        std::error_code unknown;
        if (isDayName(name) && name != log.day.constData() &&
            fs::is_directory(one->symlink_status(unknown))) {
            days.push_back(name);
        }
    }
    std::sort(days.begin(), days.end());
    return days;
}

/// Removes the log from the earliest folders beyond those that keep one. A folder in which somebody
/// else has put a file stays.
void removeEarlyDays(const State& log) {
    const std::vector<std::string> days = otherDays(log);
    const auto kept = static_cast<std::size_t>(std::max(0, log.options.daysKept - 1));
    for (std::size_t i = 0; i + kept < days.size(); ++i) {
        const QByteArray folder = log.folder + days[i].c_str();
        const QByteArray file = folder + '/' + log.name;
        ::unlink(file.constData());
        ::unlink((file + ".1").constData());
        ::rmdir(folder.constData());
    }
}

/// Gives the open file its second name. Other processes that do the same at this moment replace the
/// link as well, so that it always exists.
void linkLocked(const State& log) {
    const QByteArray link = log.folder + log.name;
    const QByteArray next = link + '.' + QByteArray::number(static_cast<int>(::getpid()));
    ::unlink(next.constData());
    if (::symlink((log.day + '/' + log.name).constData(), next.constData()) == 0 &&
        std::rename(next.constData(), link.constData()) != 0) {
        ::unlink(next.constData());
    }
}

bool openLocked(State& log, QString* error) {
    log.day = dayNow(log);
    log.path = (log.day.isEmpty() ? log.folder : makeDayFolder(log, log.day)) + log.name;
    log.file = std::fopen(log.path.constData(), "ab");
    if (!log.file) {
        *error =
            QStringLiteral("cannot write the log file %1: %2")
                .arg(QFile::decodeName(log.path), QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    struct stat opened {};
    log.size = ::fstat(::fileno(log.file), &opened) == 0 ? opened.st_size : 0;
    if (!log.day.isEmpty()) {
        linkLocked(log);
    }
    return true;
}

void closeLocked(State& log) {
    if (log.file) {
        std::fclose(log.file);
        log.file = nullptr;
    }
}

void rotateLocked(State& log) {
    closeLocked(log);
    std::rename(log.path.constData(), (log.path + ".1").constData());
    QString ignored;
    openLocked(log, &ignored);
}

/// Goes on in the next day's file once a day is over; in the old one when there can be no other.
void changeDayLocked(State& log) {
    if (log.day.isEmpty() || dayNow(log) == log.day) {
        return;
    }
    const QByteArray before = log.path;
    closeLocked(log);
    QString ignored;
    if (openLocked(log, &ignored)) {
        removeEarlyDays(log);
    } else {
        log.path = before;
        log.file = std::fopen(before.constData(), "ab");
    }
}

/// Indents a text's further lines, so that none can be mistaken for a log line of its own.
QByteArray indented(const QString& message) {
    QByteArray text = message.toUtf8();
    text.replace("\r\n", "\n").replace('\r', '\n').replace("\n", "\n    ");
    return text;
}

void handle(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    const QByteArray line = timeText() + ' ' + levelName(type) + ' ' +
                            (context.category ? context.category : "default") + ' ' +
                            placeText(context) + "  " + indented(message) + '\n';
    State& log = state();
    const std::lock_guard<std::mutex> guard(log.lock);
    if (log.options.onStderr || type == QtFatalMsg) {
        std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stderr);
    }
    if (!log.file) {
        return;
    }
    changeDayLocked(log);
    if (!log.file) {
        return;
    }
    std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), log.file);
    std::fflush(log.file);
    log.size += line.size();
    if (log.size >= log.options.maxBytes) {
        rotateLocked(log);
    }
}

}  // namespace

bool LogFile::install(const Options& options, QString* error) {
    const QString folder = QFileInfo(options.file).absolutePath();
    if (!QDir().mkpath(folder)) {
        *error = QStringLiteral("cannot create the folder %1").arg(folder);
        return false;
    }
    {
        State& log = state();
        const std::lock_guard<std::mutex> guard(log.lock);
        closeLocked(log);
        log.options = options;
        log.folder = QFile::encodeName(folder + QLatin1Char('/'));
        log.name = QFile::encodeName(QFileInfo(options.file).fileName());
        if (options.inDayFolders) {
            moveFormerLog(log);
        }
        if (!openLocked(log, error)) {
            return false;
        }
        if (log.size >= options.maxBytes) {
            rotateLocked(log);
        }
        if (options.inDayFolders) {
            removeEarlyDays(log);
        }
    }
    // QT_LOGGING_RULES in the environment overrides these. The text of the deal cache may be a
    // gigabyte, so it is written only on demand.
    QLoggingCategory::setFilterRules((options.debug
                                          ? QStringLiteral("*.debug=true\nqt.*.debug=false")
                                          : QStringLiteral("*.debug=false")) +
                                     QStringLiteral("\nvelmar.history.cache=false"));
    qInstallMessageHandler(handle);
    return true;
}

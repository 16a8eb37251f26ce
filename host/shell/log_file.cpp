#include "log_file.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <mutex>

#include "never_destroyed.h"

namespace {

struct State {
    std::mutex lock;  // guards everything below
    LogFile::Options options;
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

bool openLocked(State& log, QString* error) {
    log.file = std::fopen(QFile::encodeName(log.options.file).constData(), "ab");
    if (!log.file) {
        *error = QStringLiteral("cannot write the log file %1: %2")
                     .arg(log.options.file, QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    log.size = QFileInfo(log.options.file).size();
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
    const QByteArray name = QFile::encodeName(log.options.file);
    std::rename(name.constData(), (name + ".1").constData());
    QString ignored;
    openLocked(log, &ignored);
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
        if (!openLocked(log, error)) {
            return false;
        }
        if (log.size >= options.maxBytes) {
            rotateLocked(log);
        }
    }
    // QT_LOGGING_RULES in the environment overrides these.
    QLoggingCategory::setFilterRules(options.debug
                                         ? QStringLiteral("*.debug=true\nqt.*.debug=false")
                                         : QStringLiteral("*.debug=false"));
    qInstallMessageHandler(handle);
    return true;
}

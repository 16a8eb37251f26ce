#include "status_file.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <cerrno>
#include <csignal>
#include <limits>

namespace {

constexpr qint64 kMostBytes = 1024 * 1024;

inline const QString kPid = QStringLiteral("pid");
inline const QString kStarted = QStringLiteral("started");
inline const QString kWritten = QStringLiteral("written");
inline const QString kFigures = QStringLiteral("figures");

/// When a process started, in ticks since the start of the machine; -1 when that is unknown.
qint64 startOf(qint64 pid) {
    constexpr int kStart = 19;  // behind the name, whose bracket is the last one
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!file.open(QIODevice::ReadOnly)) {
        return -1;
    }
    const QByteArray stat = file.readAll();
    bool isNumber = false;
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 1).simplified().split(' ');
    const qint64 start = fields.value(kStart).toLongLong(&isNumber);
    return isNumber ? start : -1;
}

/// Process ids are given again, so the start of the process counts too where it can be read.
bool isRunning(const ClientStatusRecord& record) {
    if (::kill(static_cast<pid_t>(record.pid), 0) != 0 && errno != EPERM) {
        return false;
    }
    const qint64 started = startOf(record.pid);
    return started < 0 || started == record.started;
}

/// False with the text when the file is no record of a client.
bool readRecord(const QString& name, ClientStatusRecord* record, QString* error) {
    QFile file(name);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("%1 cannot be read: %2").arg(name, file.errorString());
        return false;
    }
    const QByteArray bytes = file.read(kMostBytes + 1);
    const QJsonObject json = QJsonDocument::fromJson(bytes).object();
    record->pid = qint64(json.value(kPid).toDouble());
    record->started = qint64(json.value(kStarted).toDouble(-1));
    record->written = QDateTime::fromString(json.value(kWritten).toString(), Qt::ISODateWithMs);
    record->figures = json.value(kFigures).toObject().toVariantMap();
    *error = QStringLiteral("%1 is not the status of a client").arg(name);
    return bytes.size() <= kMostBytes && record->pid > 0 &&
           record->pid <= std::numeric_limits<qint32>::max() && record->written.isValid() &&
           record->started >= 0 && json.value(kFigures).isObject();
}

}  // namespace

StatusFile::StatusFile(const QString& home) : m_file(pathIn(home)) {}

StatusFile::~StatusFile() {
    ClientStatusRecord record;
    QString error;
    if (m_isWritten && readRecord(m_file, &record, &error) &&
        record.pid == QCoreApplication::applicationPid()) {
        QFile::remove(m_file);
    }
}

QString StatusFile::pathIn(const QString& home) {
    return QDir(home).filePath(QStringLiteral("monitor.json"));
}

bool StatusFile::note(const QVariantMap& figures, qint64 nowMs) {
    const bool isKnown = m_isWritten && m_error.isEmpty() && figures == m_last;
    if (isKnown || (m_hasTried && nowMs - m_triedMs < leastMs)) {
        return m_error.isEmpty();
    }
    m_hasTried = true;
    m_triedMs = nowMs;
    const qint64 pid = QCoreApplication::applicationPid();
    const QJsonObject json{{kPid, pid},
                           {kStarted, qMax<qint64>(0, startOf(pid))},
                           {kWritten, QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)},
                           {kFigures, QJsonObject::fromVariantMap(figures)}};
    const QByteArray bytes = QJsonDocument(json).toJson(QJsonDocument::Compact) + '\n';
    QSaveFile file(m_file);
    const bool isGood =
        file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
    m_error = isGood ? QString()
                     : QStringLiteral("%1 cannot be written: %2").arg(m_file, file.errorString());
    if (isGood) {
        m_isWritten = true;
        m_last = figures;
    }
    return isGood;
}

bool StatusFile::read(const QString& home, ClientStatusRecord* record, QString* error) {
    if (!QFileInfo(home).isDir()) {
        *error = QStringLiteral("%1 is not a folder").arg(home);
        return false;
    }
    if (!QFileInfo::exists(pathIn(home))) {
        *error = QStringLiteral("no client is running in %1").arg(home);
        return false;
    }
    if (!readRecord(pathIn(home), record, error)) {
        return false;
    }
    *error = QStringLiteral("the client of %1 has ended unexpectedly; its last figures are of %2")
                 .arg(home, record->written.toLocalTime().toString(Qt::ISODate));
    return isRunning(*record);
}

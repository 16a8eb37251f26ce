#include "upload_file.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

namespace {

QByteArray lineOf(const QVariantMap& record) {
    return QJsonDocument::fromVariant(record).toJson(QJsonDocument::Compact) + '\n';
}

/// Gives a file that has reached its size another name.
bool beginAnew(const QString& name, qint64 mostBytes) {
    const QFileInfo info(name);
    if (!info.isFile() || info.size() < mostBytes) {
        return true;
    }
    const QString before = name + QStringLiteral(".1");
    return (!QFileInfo::exists(before) || QFile::remove(before)) && QFile::rename(name, before);
}

}  // namespace

bool UploadFile::append(const QString& name, const QVariantMap& record, QString* error) {
    const std::lock_guard<std::mutex> guard(m_lock);
    QDir().mkpath(QFileInfo(name).absolutePath());
    if (!beginAnew(name, m_mostBytes)) {
        *error = QStringLiteral("%1 is full and cannot be renamed").arg(name);
        return false;
    }
    QFile file(name);
    // Unbuffered, so that a write that fails leaves nothing to be written later.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
        *error = QStringLiteral("%1 cannot be written: %2").arg(name, file.errorString());
        return false;
    }
    const qint64 before = file.size();
    const QByteArray line = lineOf(record);
    if (file.write(line) != line.size()) {
        *error = QStringLiteral("%1 cannot be written: %2").arg(name, file.errorString());
        file.resize(before);
        return false;
    }
    return true;
}

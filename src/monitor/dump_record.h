#pragma once

#include <QDateTime>
#include <QFileInfo>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariantMap>

/// When a file was made; where the system does not keep that, when its metadata or else its
/// contents changed last.
QDateTime creationTime(const QFileInfo& file);

/// A file that a crash left, as its report and its line in the list of reported dumps describe it.
struct DumpFile {
    QString name;
    QString createTime;  ///< DateTimeFormatString::EXPORT_DATE_TIME_FORMAT
    QString size;        ///< whole megabytes with "MB"

    static DumpFile of(const QFileInfo& file);
    /// "name|time|size".
    QString line() const;
    QVariantMap report() const;
};

/// The list of the dumps that were reported. On one thread at a time; reads and writes a file.
class DumpRecord {
public:
    explicit DumpRecord(const QString& file) : m_file(file) {}

    /// The names in the file, which are logged; empty when it cannot be read. Lines of fewer than
    /// three parts are left out.
    QSet<QString> names() const;
    /// Replaces the lines; logs a warning when the file cannot be written.
    void write(const QStringList& lines) const;

private:
    const QString m_file;
};

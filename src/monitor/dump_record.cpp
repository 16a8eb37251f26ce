#include "dump_record.h"

#include <QFile>

#include "log.h"
#include "text_lines.h"
#include "vocabulary/names.h"
#include "vocabulary/own_keys.h"

QDateTime creationTime(const QFileInfo& file) {
    QDateTime made = file.birthTime();
    if (made.isValid()) {
        return made;
    }
    const QDateTime changed = file.metadataChangeTime();
    return changed.isValid() ? changed : file.lastModified();
}

DumpFile DumpFile::of(const QFileInfo& file) {
    constexpr int kMegabyteBits = 20;
    return {file.fileName(),
            creationTime(file).toString(DateTimeFormatString::EXPORT_DATE_TIME_FORMAT),
            QString::number(file.size() >> kMegabyteBits) + QStringLiteral("MB")};
}

QString DumpFile::line() const {
    return QStringLiteral("%1|%2|%3").arg(name, createTime, size);
}

QVariantMap DumpFile::report() const {
    return {{OwnKeys::dumpFileName, name},
            {OwnKeys::dumpCreateTime, createTime},
            {QStringLiteral("size"), size}};
}

QSet<QString> DumpRecord::names() const {
    constexpr int kParts = 3;
    QSet<QString> names;
    QFile file(m_file);
    if (openForLines(file, QIODevice::ReadOnly)) {
        forEachLine(file, [&names](const QString& line) {
            const QStringList parts = line.split(QLatin1Char('|'), Qt::SkipEmptyParts);
            if (parts.size() >= kParts) {
                names.insert(parts.first());
            }
        });
        qCDebug(lcMonitor) << "the reported dumps:" << names;
    }
    return names;
}

void DumpRecord::write(const QStringList& lines) const {
    QFile file(m_file);
    const QByteArray text = lines.join(QLatin1Char('\n')).toUtf8();
    const bool isReplaceable = !file.exists() || QFileInfo(m_file).isFile();
    if (!isReplaceable ||
        !file.open(QIODevice::WriteOnly | QIODevice::Text | QIODevice::Truncate) ||
        file.write(text) != text.size() || !file.flush()) {
        qCWarning(lcMonitor) << "the list of reported dumps is not written," << m_file
                             << file.errorString();
    }
}

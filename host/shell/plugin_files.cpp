#include "plugin_files.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>

QStringList pluginFilesIn(const QString& folder, const QStringList& besides) {
    QSet<QString> known;
    for (const QString& file : besides) {
        known.insert(QFileInfo(file).canonicalFilePath());
    }
    QStringList files;
    const QFileInfoList found =
        QDir(folder).entryInfoList(QStringList(QStringLiteral("*.so")), QDir::Files, QDir::Name);
    for (const QFileInfo& file : found) {
        const QString real = file.canonicalFilePath();
        if (!known.contains(real)) {
            known.insert(real);
            files.append(file.absoluteFilePath());
        }
    }
    return files;
}

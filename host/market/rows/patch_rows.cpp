#include "patch_rows.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include "velmarutils/velmar_utils.h"
#include "zip_archive.h"

namespace {

QString patchId() {
    return VelmarUtils::GetAppVersion() + QStringLiteral("-001");
}

/// Relative to the market's folder.
QString patchFile() {
    return QStringLiteral("patches/%1.zip").arg(patchId());
}

QByteArray patchText() {
    return QStringLiteral("补丁%1：行情列表的涨跌幅按四舍五入显示。\n").arg(patchId()).toUtf8();
}

}  // namespace

QList<TableRow> makePatchRows() {
    return {{QStringLiteral("client_patch"),
             {patchId(), patchFile(), QStringLiteral("行情显示修正"), VelmarUtils::GetAppVersion(),
              QStringLiteral("20260105090000")}}};
}

bool writePatchFiles(const QString& dir, QString* error) {
    const QString path = QDir(dir).filePath(patchFile());
    const QByteArray zip = zipOf(QStringLiteral("README.txt"), patchText());
    QSaveFile file(path);
    if (QDir().mkpath(QFileInfo(path).absolutePath()) && file.open(QIODevice::WriteOnly) &&
        file.write(zip) == zip.size() && file.commit()) {
        return true;
    }
    *error = QStringLiteral("%1 cannot be written: %2").arg(path, file.errorString());
    return false;
}

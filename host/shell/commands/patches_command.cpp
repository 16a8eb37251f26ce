#include "patches_command.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QSettings>
#include <algorithm>

#include "settings_codec.h"
#include "text_table.h"
#include "vocabulary/fields.h"

namespace {

inline const QString kDownloaded = QStringLiteral("0");
inline const QString kApplied = QStringLiteral("1");

QString keyOf(const QString& patchId, const QString& key) {
    return patchId + QLatin1Char('/') + key;
}

QString statusWord(const QString& status) {
    if (status == kDownloaded) {
        return QStringLiteral("downloaded");
    }
    return status == kApplied ? QStringLiteral("applied")
                              : QStringLiteral("unknown (%1)").arg(status);
}

/// Why the file is no zip file; empty when it is one.
QString zipFault(const QString& path) {
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly)) {
        return QStringLiteral("missing");
    }
    // Every zip file begins with a file's header, an empty one with the end of its directory.
    const QByteArray begin = file.read(4);
    return begin == QByteArray("PK\x03\x04") || begin == QByteArray("PK\x05\x06")
               ? QString()
               : QStringLiteral("not a zip file");
}

/// The file's name with its size or what is wrong with it.
QString fileText(const QString& path) {
    const QString fault = zipFault(path);
    return QStringLiteral("%1 (%2)").arg(
        QFileInfo(path).fileName(),
        fault.isEmpty() ? QStringLiteral("%1 bytes").arg(QFileInfo(path).size()) : fault);
}

CommandAnswer applyAnswer(const QString& patchId, const QString& fault, const QString& line) {
    CommandAnswer answer;
    answer.isFault = !fault.isEmpty();
    answer.lines = QStringList(harmlessText(
        answer.isFault ? QStringLiteral("%1 is not applied: %2").arg(patchId, fault) : line));
    QJsonObject object{{QStringLiteral("id"), patchId},
                       {QStringLiteral("applied"), fault.isEmpty()}};
    if (answer.isFault) {
        object.insert(QStringLiteral("fault"), fault);
    }
    answer.json = object;
    return answer;
}

}  // namespace

PatchesCommand::PatchesCommand(const QString& homeDir)
    : m_file(homeDir + QStringLiteral("/config/default/patchClientSet.cfg")) {}

bool PatchesCommand::read(QList<Patch>* patches, QString* error) const {
    const QFileInfo info(m_file);
    // A link that leads nowhere or in a circle does not exist either, but is no empty list.
    if (!info.exists() && !info.isSymLink()) {
        return true;
    }
    QSettings settings(m_file, QSettings::IniFormat);
    settings.setIniCodec(settingsCodec());
    settings.sync();
    if (!info.isFile() || settings.status() != QSettings::NoError) {
        *error = QStringLiteral("the list of patches %1 cannot be read").arg(m_file);
        return false;
    }
    const QStringList ids = settings.childGroups();
    for (const QString& id : ids) {
        const auto text = [&settings, &id](const QString& key) {
            return settings.value(keyOf(id, key)).toString();
        };
        patches->append({id, text(ClientPatch::Remark), text(System::timeStamp),
                         text(ClientPatch::PatchStatus), text(ClientPatch::PatchUrl)});
    }
    return true;
}

bool PatchesCommand::markApplied(const QString& patchId) const {
    QSettings settings(m_file, QSettings::IniFormat);
    settings.setIniCodec(settingsCodec());
    settings.setValue(keyOf(patchId, ClientPatch::PatchStatus), kApplied);
    settings.sync();
    return settings.status() == QSettings::NoError;
}

CommandAnswer PatchesCommand::list(int columns) const {
    CommandAnswer answer;
    QList<Patch> patches;
    if (!read(&patches, &answer.error)) {
        return answer;
    }
    TextTable table({QStringLiteral("Patch"), QStringLiteral("Name"), QStringLiteral("Time"),
                     QStringLiteral("State"), QStringLiteral("File")});
    QJsonArray rows;
    for (const Patch& patch : qAsConst(patches)) {
        table.addRow({patch.id, patch.name, patch.timeStamp, statusWord(patch.status),
                      fileText(patch.file)});
        QJsonObject row{{QStringLiteral("id"), patch.id},
                        {QStringLiteral("name"), patch.name},
                        {QStringLiteral("time"), patch.timeStamp},
                        {QStringLiteral("status"), statusWord(patch.status)},
                        {QStringLiteral("file"), patch.file}};
        const QString fault = zipFault(patch.file);
        if (!fault.isEmpty()) {
            row.insert(QStringLiteral("fault"), fault);
        }
        rows.append(row);
    }
    answer.json = rows;
    answer.lines = patches.isEmpty() ? QStringList(QStringLiteral("no patches are downloaded"))
                                     : table.lines(columns);
    return answer;
}

CommandAnswer PatchesCommand::apply(const QString& patchId) const {
    CommandAnswer answer;
    QList<Patch> patches;
    if (!read(&patches, &answer.error)) {
        return answer;
    }
    const auto patch = std::find_if(patches.cbegin(), patches.cend(),
                                    [&patchId](const Patch& one) { return one.id == patchId; });
    if (patch == patches.cend()) {
        answer.error =
            QStringLiteral("no patch '%1' is downloaded; 'patches list' lists them").arg(patchId);
        return answer;
    }
    if (patch->status == kApplied) {
        return applyAnswer(patchId, {}, QStringLiteral("%1 is applied already").arg(patchId));
    }
    const QString fault = zipFault(patch->file);
    if (!fault.isEmpty()) {
        return applyAnswer(patchId, QStringLiteral("%1 is %2").arg(patch->file, fault), {});
    }
    if (!markApplied(patchId)) {
        return applyAnswer(patchId, QStringLiteral("%1 cannot be written").arg(m_file), {});
    }
    return applyAnswer(
        patchId, {},
        QStringLiteral("%1 is applied; the next start reports it to the server").arg(patchId));
}

#include "client_patches.h"

#include <QDir>
#include <QFile>
#include <QSet>

#include "data_query.h"
#include "log.h"
#include "shared_settings.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znbusinessdata/c_business_data_base.h"
#include "znwidget/zn_presenter_class.h"

namespace {

constexpr const char* kWriteTag = "VelmarBusinessDataManagerPresenterClass::writePatchInfoFile";
constexpr const char* kUploadTag = "VelmarBusinessDataManagerPresenterClass::uploadClientPatchInfo";
inline const QString kApplied = QStringLiteral("1");
inline const QString kDownloaded = QStringLiteral("0");

QString keyOf(const QString& patchId, const QString& key) {
    return patchId + QLatin1Char('/') + key;
}

QString patchFolder() {
    return VelmarUtils::GetDefaultUserCfgFileDir() + QStringLiteral("patch/");
}

/// Whether the id may name a file and a group: it comes from the server and becomes one component
/// of a path.
bool isFileName(const QString& patchId) {
    return !patchId.isEmpty() && !patchId.contains(QLatin1Char('/')) &&
           !patchId.contains(QLatin1Char('\\')) && !patchId.contains(QLatin1String("..")) &&
           !patchId.contains(QChar::Null);
}

/// Downloads the patch of a row. Returns its local path, empty with a warning after a failure.
QString download(const QString& patchId, const QString& url, const QString& remark) {
    if (!isFileName(patchId)) {
        qCWarning(lcMonitor) << kWriteTag << "refuses the patch id" << patchId << "of" << remark;
        return QString();
    }
    if (url.isEmpty()) {
        qCWarning(lcMonitor).noquote()
            << kWriteTag << QStringLiteral("补丁包【%1】下载地址为空！").arg(remark);
        return QString();
    }
    QString path = patchFolder() + patchId + QStringLiteral(".zip");
    if (VelmarUtils::DownloadFileByUrl(url, path, true) !=
        Quindar_Values::RequestExeStatus::success) {
        qCWarning(lcMonitor).noquote()
            << kWriteTag << QStringLiteral("下载补丁包【%1】失败，ID：%2！").arg(remark, patchId);
        return QString();
    }
    return path;
}

}  // namespace

void ClientPatches::uploadClientPatchInfo(ZnPresenterClass* presenter) {
    ServerRequest request;
    request.msgType = Velmar_MsgType::AlterClientPatchInfoRequest;
    request.fields = {{System::alterType, AlterType::Update}};
    request.send = SendKind::SyncBlock;
    request.hasSourceId = false;
    request.answer = AnswerForm::NamedStatus;
    request.warns = false;  // the next start tries again
    const QVariantMap all = m_patchSettings.lockedAll();
    for (auto one = all.cbegin(); one != all.cend(); ++one) {
        const QString patchId = one.key().section(QLatin1Char('/'), 0, 0);
        const bool isState = one.key() == keyOf(patchId, ClientPatch::PatchStatus);
        if (isState && !patchId.isEmpty() && one->toString() == kApplied) {
            request.rows.append({{ClientPatch::PatchId, patchId}});
        }
    }
    if (request.rows.isEmpty()) {
        return;
    }
    constexpr int kMostAttempts = 5;
    constexpr int kSent = 0;
    for (int attempt = 0; attempt < kMostAttempts && !presenter->isClosing(); ++attempt) {
        const ServerReply reply = sendToServer(presenter, request);
        if (reply.code == kSent) {
            return;
        }
        qCDebug(lcMonitor).noquote() << kUploadTag << reply.code << reply.text;
    }
}

void ClientPatches::queryClientPatchInfo(ZnPresenterClass* presenter) {
    const ServerReply reply =
        queryRows(presenter, Velmar_MsgType::QueryClientPatchInfoRequest,
                  {{UserAccount::userID, CBusinessDataBase::GetInstance()->GetLoginAccount()},
                   {ClientPatch::ExcludeUpdated, QStringLiteral("1")}});
    if (!reply.isAnswered()) {
        return;
    }
    m_patchSettings.lockedClear();
    writePatchInfoFile(presenter, reply.rows);
    // Downloads that the close has cut off are still wanted, and some of their files may be here.
    if (!presenter->isClosing()) {
        removeOldFiles();
    }
}

int ClientPatches::writePatchInfoFile(ZnPresenterClass* presenter, const QList<QVariantMap>& rows) {
    if (rows.isEmpty()) {
        return 0;
    }
    const QString version = VelmarUtils::GetAppVersion();
    QStringList names;
    for (const QVariantMap& row : rows) {
        if (presenter->isClosing()) {
            break;
        }
        if (row.value(System::dataVersion).toString() != version) {
            continue;
        }
        const QString patchId = row.value(ClientPatch::PatchId).toString();
        const QString remark = row.value(ClientPatch::Remark).toString();
        const QString path = download(patchId, row.value(ClientPatch::PatchUrl).toString(), remark);
        if (path.isEmpty()) {
            continue;
        }
        m_patchSettings.lockedSetValues(
            {{keyOf(patchId, ClientPatch::Remark), remark},
             {keyOf(patchId, System::timeStamp), row.value(System::timeStamp).toString()},
             {keyOf(patchId, ClientPatch::PatchStatus), kDownloaded},
             {keyOf(patchId, ClientPatch::PatchUrl), path}});
        names.append(remark);
    }
    if (!names.isEmpty()) {
        VelmarUtils::SendEventMsg(presenter, EventMsgName::ClientPatchUpdateEvent, names);
    }
    return names.size();
}

void ClientPatches::removeOldFiles() const {
    const QVariantMap all = m_patchSettings.lockedAll();
    QSet<QString> kept;
    for (auto one = all.cbegin(); one != all.cend(); ++one) {
        if (one.key().endsWith(QLatin1Char('/') + ClientPatch::PatchUrl)) {
            kept.insert(one->toString());
        }
    }
    const QString folder = patchFolder();
    // The second kind is what a download leaves when its process dies: the temporary file.
    const QStringList kinds{QStringLiteral("*.zip"), QStringLiteral("*.zip.??????")};
    const QStringList files = QDir(folder).entryList(kinds, QDir::Files | QDir::Hidden);
    for (const QString& file : files) {
        if (!kept.contains(folder + file) && !QFile::remove(folder + file)) {
            qCWarning(lcMonitor) << "the old patch file" << folder + file << "cannot be removed";
        }
    }
}

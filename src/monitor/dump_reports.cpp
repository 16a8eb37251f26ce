#include "dump_reports.h"

#include <QDir>
#include <QJsonDocument>
#include <QMap>
#include <QSet>
#include <QVector>
#include <algorithm>
#include <cstdlib>
#include <functional>
#include <utility>

#include "application_folder.h"
#include "data_query.h"
#include "dump_record.h"
#include "log.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/own_keys.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zncore/zn_core.h"
#include "znmsg/c_pack_message_common.h"
#include "znwidget/zn_presenter_class.h"

namespace {

constexpr const char* kTag = "VelmarBusinessDataManagerPresenterClass::uploadDmpInfo";
constexpr int kMostReports = 1000;
inline const QString kDumps = QStringLiteral("*.dmp");

QString compactJson(const QJsonDocument& document) {
    return QString::fromUtf8(document.toJson(QJsonDocument::Compact));
}

/// A dump that has a name in one of the folders.
struct FoundDump {
    QString name;
    QString path;
};

/// What a look at the folders found.
struct DumpScan {
    QMap<QString, QVariantMap> newDumps;
    QVector<DumpFile> kept;
    int left = 0;  ///< new ones beyond the number that is reported at one start
};

/// The dumps of both folders. Those of the application's folder are looked up by their bare names.
QVector<FoundDump> findDumps(const std::function<bool()>& isBrokenOff) {
    const QString userFolder = VelmarUtils::GetUserCfgFileDir();
    QVector<FoundDump> found;
    for (const auto& [folder, prefix] :
         {std::pair{applicationFolder(), QString()}, std::pair{userFolder, userFolder}}) {
        const QStringList names = QDir(folder).entryList({kDumps}, QDir::Files, QDir::Name);
        for (const QString& name : names) {
            if (isBrokenOff()) {
                return found;
            }
            const QString path = prefix + name;
            if (QFileInfo(path).isFile()) {
                found.append({name, path});
            }
        }
    }
    return found;
}

/// The names of the new dumps that this start reports, the first ones in their order.
QSet<QString> namesToReport(const QVector<FoundDump>& found, const QSet<QString>& known,
                            int* left) {
    QStringList names;
    for (const FoundDump& dump : found) {
        if (!known.contains(dump.name)) {
            names.append(dump.name);
        }
    }
    names.sort();
    names.removeDuplicates();
    *left = qMax(0, names.size() - kMostReports);
    names = names.mid(0, kMostReports);
    return QSet<QString>(names.cbegin(), names.cend());
}

/// Removes a dump that is old enough. Returns whether it is gone.
bool isRemoved(const QFileInfo& file, const QDate& today) {
    constexpr int kDaysKept = 7;
    if (file.lastModified().date().daysTo(today) < kDaysKept) {
        return false;
    }
    if (file.dir().remove(file.fileName())) {
        return true;
    }
    qCInfo(lcMonitor) << kTag << "清理文件失败：" << file.fileName();
    return false;
}

DumpScan scanDumps(const QSet<QString>& known, const QDate& today,
                   const std::function<bool()>& isBrokenOff) {
    DumpScan scan;
    const QVector<FoundDump> found = findDumps(isBrokenOff);
    const QSet<QString> toReport = namesToReport(found, known, &scan.left);
    for (const FoundDump& dump : found) {
        if (isBrokenOff()) {
            return scan;
        }
        const bool isNew = toReport.contains(dump.name);
        if (!isNew && !known.contains(dump.name)) {
            continue;  // new, too, at the next start: it gets no line and is not removed
        }
        const QFileInfo info(dump.path);
        if (!info.isFile()) {
            continue;  // another client of this home has removed it since
        }
        const DumpFile file = DumpFile::of(info);
        if (isNew) {
            scan.newDumps.insert(file.name, file.report());
        }
        if (!isRemoved(info, today)) {
            scan.kept.append(file);
        }
    }
    return scan;
}

/// The exception records that the last run left, by their times.
QMap<QDateTime, QVariantMap> exceptionsByTime() {
    QMap<QDateTime, QVariantMap> exceptionByTime;
    const QVariantMap records = ZnCore::instance()->getCommonInfo(ClientMonitor::TagDump).toMap();
    for (const QVariant& one : records) {
        const QVariantMap record = one.toMap();
        const QDateTime time = QDateTime::fromString(
            record.value(ClientMonitor::TagDump).toMap().value(QStringLiteral("time")).toString(),
            DateTimeFormatString::STD_DATE_TIME_MS_FORMAT);
        if (time.isValid()) {
            exceptionByTime.insert(time, record);
        }
    }
    return exceptionByTime;
}

bool isAutoUpload(ZnPresenterClass* presenter) {
    const ServerReply reply =
        queryRows(presenter, Quindar_MsgType::sysConfigRequest,
                  {{System::sysConfigKey, QStringLiteral("torvi.sys.dmp.autouploadlog")}});
    return reply.isAnswered() && !reply.rows.isEmpty() &&
           reply.rows.first().value(System::sysConfigValue).toBool();
}

void requestLogs(ZnPresenterClass* presenter, const QDateTime& dumpTime, const QVariant& operType,
                 const Clock& clock) {
    CPackMessageCommon packer;
    packer.AddVaule(System::createTime, dumpTime);
    packer.AddVaule(
        QuantMsgField::textTitle,
        QStringLiteral("dmp_%1_%2_%3")
            .arg(operType.toString(), CBusinessDataBase::GetInstance()->GetLoginAccount(),
                 clock.now().toString(DateTimeFormatString::EXPORT_DATE_TIME_FORMAT)));
    VelmarUtils::SendEventMsg(presenter,
                              VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::LogUploadEvent),
                              packer.GetPackedMsg(false));
}

/// Completes a dump's report and sends it. Returns the dump's time.
QDateTime sendReport(const QMap<QDateTime, QVariantMap>& exceptionByTime, QVariantMap* report,
                     ClientInfoSink& sink) {
    report->insert(System::itemType, ClinetInfoUpload::ClientErrorInfo);
    report->insert(System::itemValue, ClientErrorType::DmpInfoError);
    QDateTime dumpTime = QDateTime::fromString(report->value(OwnKeys::dumpCreateTime).toString(),
                                               DateTimeFormatString::EXPORT_DATE_TIME_FORMAT);
    addException(dumpTime, exceptionByTime, report);
    report->remove(System::itemValueEx);
    report->insert(System::itemValueEx, compactJson(QJsonDocument::fromVariant(*report)));
    sink.collectClientInfo(*report);
    return dumpTime;
}

/// The lines of the dumps that stay, without those that no report was sent of.
QStringList linesOf(const QVector<DumpFile>& kept, const QSet<QString>& unreported) {
    QStringList lines;
    for (const DumpFile& file : kept) {
        if (!unreported.contains(file.name)) {
            lines.append(file.line());
        }
    }
    return lines;
}

}  // namespace

int callStackClass(const QVariant& callStack) {
    const QJsonDocument document = QJsonDocument::fromVariant(callStack);
    constexpr int kOther = 1;
    if (document.isNull()) {
        return kOther;
    }
    const QString text = compactJson(document);
    const QList<QPair<QString, int>> classes{{DumpCallStackString::grpc, 2},
                                             {DumpCallStackString::libcef, 3},
                                             {DumpCallStackString::fastDb, 4}};
    const auto found = std::find_if(classes.cbegin(), classes.cend(),
                                    [&text](const auto& one) { return text.contains(one.first); });
    return found == classes.cend() ? kOther : found->second;
}

void addException(const QDateTime& dumpTime, const QMap<QDateTime, QVariantMap>& exceptionByTime,
                  QVariantMap* report) {
    constexpr qint64 kWithinSeconds = 61;
    // A time that cannot be read belongs to no record.
    for (auto one = exceptionByTime.cbegin(); dumpTime.isValid() && one != exceptionByTime.cend();
         ++one) {
        const qint64 secs = dumpTime.secsTo(one.key());
        qCDebug(lcMonitor) << kTag << dumpTime << one.key() << secs;
        if (std::abs(secs) < kWithinSeconds) {
            for (auto field = one->cbegin(); field != one->cend(); ++field) {
                report->insert(field.key(), field.value());
            }
            report->insert(System::operType,
                           callStackClass(report->value(ClientMonitor::TagDump)
                                              .toMap()
                                              .value(ClientMonitor::TagCallStack)));
            break;
        }
    }
    if (!report->contains(System::operType)) {
        report->insert(System::operType, 0);
    }
}

void uploadDmpInfo(ZnPresenterClass* presenter, ClientInfoSink& sink, const Clock& clock) {
    const auto isBrokenOff = [presenter] { return presenter && presenter->isClosing(); };
    const DumpRecord record(VelmarUtils::GetDefaultUserCfgFileDir() +
                            QStringLiteral("dmpRecord.txt"));
    DumpScan scan = scanDumps(record.names(), clock.today(), isBrokenOff);
    if (isBrokenOff()) {
        return;
    }
    if (scan.left > 0) {
        qCWarning(lcMonitor) << kTag << "reports" << kMostReports << "new dumps at one start;"
                             << scan.left << "are left for later ones";
    }
    const QMap<QDateTime, QVariantMap> exceptionByTime = exceptionsByTime();
    const QStringList names = scan.newDumps.keys();
    qCDebug(lcMonitor) << kTag << names;
    const bool autoUpload = !names.isEmpty() && isAutoUpload(presenter);
    QSet<QString> unreported(names.cbegin(), names.cend());
    for (auto report = scan.newDumps.begin(); report != scan.newDumps.end(); ++report) {
        if (isBrokenOff()) {
            break;
        }
        const QDateTime dumpTime = sendReport(exceptionByTime, &*report, sink);
        unreported.remove(report.key());
        const QVariant operType = report->value(System::operType);
        if (autoUpload && operType.toInt() != 0) {
            requestLogs(presenter, dumpTime, operType, clock);
        }
    }
    record.write(linesOf(scan.kept, unreported));
}

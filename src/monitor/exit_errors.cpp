#include "exit_errors.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <functional>

#include "application_folder.h"
#include "client_info_buffer.h"
#include "dump_record.h"
#include "log.h"
#include "text_lines.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/values.h"
#include "zncore/zn_core.h"

namespace {

constexpr const char* kUpdateTag = "ZnBusinessDataManager::uploadClientUpdateError";
constexpr const char* kMonitorTag = "ZnBusinessDataManager::uploadDmpMonitorInfo";

/// Calls each(record, line) with every line that is the text form of a record.
void forEachRecord(QFile& file,
                   const std::function<void(const QVariantMap&, const QString&)>& each) {
    forEachLine(file, [&each](const QString& line) {
        QVariantMap record;
        if (VelmarUtils::TransStr2Map(line, record).isEmpty()) {
            each(record, line);
        }
    });
}

QVariantMap errorItem(const QString& type, const QString& value, const QString& line) {
    return clientInfoItem(type, value, line, QVariant(), QTime(), 0);
}

/// Reports the records of a file, enters the last one in the map and removes the file.
void takeExceptionFile(const QFileInfo& info, ClientInfoSink& sink, QVariantMap* exceptions) {
    qCDebug(lcMonitor) << kMonitorTag << info.fileName() << info.filePath();
    QFile file(info.filePath());
    if (openForLines(file, QIODevice::ReadOnly)) {
        forEachRecord(file, [&](const QVariantMap& record, const QString& line) {
            exceptions->insert(info.fileName(), record);
            sink.collectClientInfo(errorItem(ClinetInfoUpload::ClientErrorInfo,
                                             ClientErrorType::ExceptionExitError, line));
        });
        file.close();
    }
    if (!file.remove()) {
        qCDebug(lcMonitor) << kMonitorTag << "异常退出错误日志清理失败！";
    }
}

void removeOldLog(const QFileInfo& info, const QDate& today) {
    if (creationTime(info).date() < today.addDays(-1) && !QFile::remove(info.filePath())) {
        qCDebug(lcMonitor) << kMonitorTag << "陈旧监控日志清理失败！";
    }
}

}  // namespace

void uploadClientUpdateError(ClientInfoSink& sink) {
    QFile file(applicationFolder() + QStringLiteral("/log/ZnUpdateClient/ErrorRecord.csv"));
    if (!file.exists()) {
        return;
    }
    if (openForLines(file, QIODevice::ReadWrite)) {
        forEachRecord(file, [&sink](const QVariantMap& record, const QString& line) {
            sink.collectClientInfo(errorItem(ClinetInfoUpload::AutoUpdateError,
                                             record.value(QStringLiteral("ErrorCode")).toString(),
                                             line));
        });
        file.write("");
        file.close();
    }
    if (!QFile::remove(file.fileName())) {
        qCDebug(lcMonitor) << kUpdateTag << "升级错误日志清理失败！";
    }
}

void uploadDmpMonitorInfo(ClientInfoSink& sink, const Clock& clock) {
    QVariantMap exceptions;
    const QFileInfoList files = QDir(applicationFolder() + QStringLiteral("/log/"))
                                    .entryInfoList(QDir::Files | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& info : files) {
        if (ZnCore::instance()->isClosing()) {
            break;
        }
        const QString name = info.fileName();
        if (name.startsWith(QLatin1String("dmpLog_"), Qt::CaseInsensitive)) {
            takeExceptionFile(info, sink, &exceptions);
        } else if (name.startsWith(QLatin1String("monitorLog_"))) {
            removeOldLog(info, clock.today());
        }
    }
    qCDebug(lcMonitor) << kMonitorTag << "record exception map" << exceptions;
    ZnCore::instance()->setCommonInfo(ClientMonitor::TagDump, exceptions);
}

#include <QUrl>

#include "data_log.h"
#include "file_download.h"
#include "request_broker.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/values.h"

QString VelmarUtils::DownloadFileByUrl(const QString& url, const QString& path, bool) {
    const FileDownload download(FileDownload::Limits(),
                                [] { return RequestBroker::instance().isClosing(); });
    QString failure = download.fetch(url, path);
    if (failure.isEmpty()) {
        return Quindar_Values::RequestExeStatus::success;
    }
    qCInfo(lcPlatformQuery).noquote()
        << "download to" << path << "from" << QUrl(url).toDisplayString() << "failed:" << failure;
    return failure;
}

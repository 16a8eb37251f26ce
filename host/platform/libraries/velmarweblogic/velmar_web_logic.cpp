#include "velmarweblogic/velmar_web_logic.h"

#include <QDateTime>

#include "data_log.h"
#include "home_folder.h"
#include "never_destroyed.h"
#include "upload_file.h"

namespace {

constexpr qint64 kMostBytes = 10 * 1024 * 1024;

/// The one writer of the file.
struct Uploads {
    UploadFile file{kMostBytes};
};

}  // namespace

VelmarWebLogic* VelmarWebLogic::instance() {
    return &neverDestroyed([] { return new VelmarWebLogic; });
}

void VelmarWebLogic::UpLoad(const QString& destination, const QString& kind, const QString& first,
                            const QString& second, QVariantMap record) {
    QString error;
    const QVariantMap line{
        {QStringLiteral("time"), QDateTime::currentDateTime().toString(Qt::ISODateWithMs)},
        {QStringLiteral("destination"), destination},
        {QStringLiteral("kind"), kind},
        {QStringLiteral("first"), first},
        {QStringLiteral("second"), second},
        {QStringLiteral("values"), record}};
    if (!neverDestroyed<Uploads>().file.append(
            HomeFolder::path() + QStringLiteral("/log/web-uploads.jsonl"), line, &error)) {
        qCWarning(lcPlatformData).noquote() << "a web upload is lost:" << error;
    }
}

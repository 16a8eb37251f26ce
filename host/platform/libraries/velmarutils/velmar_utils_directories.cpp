#include <QDir>

#include "data_log.h"
#include "home_folder.h"
#include "velmarutils/velmar_utils.h"

namespace {

/// The same folder for every login: a client reads its files before and after the log-in and must
/// find the same ones.
QString configFolder(const QString& name) {
    const QString folder = HomeFolder::path() + QStringLiteral("/config/") + name;
    if (!QDir().mkpath(folder)) {
        qCWarning(lcPlatformData) << "the configuration folder" << folder << "cannot be made";
    }
    return folder + QLatin1Char('/');
}

}  // namespace

QString VelmarUtils::GetUserCfgFileDir() {
    return configFolder(QStringLiteral("user"));
}

QString VelmarUtils::GetDefaultUserCfgFileDir() {
    return configFolder(QStringLiteral("default"));
}

#include "platform_data.h"

#include <QDir>
#include <QStandardPaths>
#include <mutex>
#include <utility>

#include "data_log.h"
#include "data_stores.h"
#include "security_book.h"

namespace {

template <class Store>
Store& neverDestroyed() {
    static auto* const store = new Store;
    return *store;
}

struct Home {
    std::mutex lock;  // guards the path
    QString path;
};

/// A host that named no home works in the user's own configuration folder.
QString homeFor(const QString& given) {
    const QString path = given.isEmpty()
                             ? QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation)
                             : given;
    return QDir::cleanPath(QDir(path).absolutePath());
}

void setHome(const QString& path) {
    Home& home = neverDestroyed<Home>();
    const std::lock_guard<std::mutex> guard(home.lock);
    home.path = path;
}

void dropAll() {
    DataStores::settings().close();
    DataStores::staticDatabase().close();
    DataStores::businessData().clear();
    DataStores::board().clear();
    DataStores::resetInitStates();
    DataStores::clearReferenceTables();
    SecurityBook::instance().clear();
    DataStores::resetTickFeed();
    setHome(QString());
}

}  // namespace

SettingsFile& DataStores::settings() {
    return neverDestroyed<SettingsFile>();
}

StaticDatabase& DataStores::staticDatabase() {
    return neverDestroyed<StaticDatabase>();
}

BusinessDataStore& DataStores::businessData() {
    return neverDestroyed<BusinessDataStore>();
}

SharedValues& DataStores::board() {
    return neverDestroyed<SharedValues>();
}

bool PlatformData::open(const LocalPlatform::Options& options, QString* error) {
    dropAll();
    const QString home = homeFor(options.homeDir);
    QString why;
    bool opened = QDir().mkpath(home);
    if (!opened) {
        why = QStringLiteral("the home folder %1 cannot be made").arg(home);
    }
    opened = opened &&
             DataStores::settings().open(home + QStringLiteral("/settings/client.ini"), &why) &&
             DataStores::staticDatabase().open(options.staticDbFile, &why);
    if (!opened) {
        dropAll();
        qCWarning(lcPlatformData) << "the platform's data cannot be opened:" << why;
        if (error) {
            *error = why;
        }
        return false;
    }
    setHome(home);
    if (error) {
        error->clear();
    }
    return true;
}

QString PlatformData::homeDir() {
    Home& home = neverDestroyed<Home>();
    const std::lock_guard<std::mutex> guard(home.lock);
    return home.path.isEmpty() ? homeFor(QString()) : home.path;
}

void PlatformData::setClock(std::function<QDateTime()> clock) {
    DataStores::businessData().setClock(std::move(clock));
}

void PlatformData::setLogin(const QVariantMap& loginRecord) {
    DataStores::businessData().setLogin(loginRecord);
}

void PlatformData::setAccountTree(QList<QVariantMap> rows) {
    DataStores::businessData().setAccountTree(std::move(rows));
}

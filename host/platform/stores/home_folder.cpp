#include "home_folder.h"

#include <QDir>
#include <QStandardPaths>
#include <mutex>

#include "never_destroyed.h"

namespace {

struct Home {
    std::mutex lock;  // guards the path
    QString path;
};

}  // namespace

void HomeFolder::set(const QString& path) {
    Home& home = neverDestroyed<Home>();
    const std::lock_guard<std::mutex> guard(home.lock);
    home.path = path;
}

QString HomeFolder::path() {
    Home& home = neverDestroyed<Home>();
    const std::lock_guard<std::mutex> guard(home.lock);
    const QString path = home.path.isEmpty()
                             ? QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation)
                             : home.path;
    return QDir::cleanPath(QDir(path).absolutePath());
}

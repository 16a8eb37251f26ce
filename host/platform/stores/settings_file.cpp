#include "settings_file.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>

#include "data_log.h"

/// QSettings writes once more from the event loop of the thread that made it; that write takes the
/// same lock as all others.
class SettingsFile::LockedSettings : public QSettings {
public:
    LockedSettings(const QString& file, std::mutex* lock)
        : QSettings(file, QSettings::IniFormat), m_lock(lock) {
        setIniCodec("UTF-8");
    }

protected:
    bool event(QEvent* event) override {
        const std::lock_guard<std::mutex> guard(*m_lock);
        return QSettings::event(event);
    }

private:
    std::mutex* const m_lock;
};

namespace {

QString describe(QSettings::Status status) {
    return status == QSettings::FormatError ? QStringLiteral("it is not in the settings format")
                                            : QStringLiteral("it cannot be read or written");
}

}  // namespace

SettingsFile::SettingsFile() = default;
SettingsFile::~SettingsFile() = default;

bool SettingsFile::open(const QString& file, QString* error) {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_settings.reset();
    const QFileInfo info(file);
    if (!QDir().mkpath(info.absolutePath())) {
        *error = QStringLiteral("the settings folder %1 cannot be made").arg(info.absolutePath());
        return false;
    }
    if (info.exists() && !info.isFile()) {
        *error = QStringLiteral("the settings file %1 is not a file").arg(file);
        return false;
    }
    auto settings = std::make_unique<LockedSettings>(file, &m_lock);
    if (settings->status() != QSettings::NoError) {
        *error = QStringLiteral("the settings file %1: %2").arg(file, describe(settings->status()));
        return false;
    }
    m_settings = std::move(settings);
    return true;
}

void SettingsFile::close() {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_settings.reset();
}

QVariant SettingsFile::value(const QString& key) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_settings || key.isEmpty()) {
        return QVariant();
    }
    return m_settings->value(key);
}

void SettingsFile::setValue(const QString& key, const QVariant& value) {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_settings || key.isEmpty()) {
        qCWarning(lcPlatformSettings)
            << "setting" << key
            << "is dropped:" << (m_settings ? "it has no key" : "no file is open");
        return;
    }
    m_settings->setValue(key, value);
    m_settings->sync();
    if (m_settings->status() != QSettings::NoError) {
        qCWarning(lcPlatformSettings)
            << "setting" << key << "is not in the file" << m_settings->fileName() << ":"
            << describe(m_settings->status());
    }
}

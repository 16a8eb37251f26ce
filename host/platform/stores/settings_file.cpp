#include "settings_file.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>

#include "data_log.h"
#include "settings_codec.h"

/// QSettings writes once more from the event loop of the thread that created it; that write takes
/// the same lock as all others.
class SettingsFile::LockedSettings : public QSettings {
public:
    LockedSettings(const QString& file, std::mutex* lock)
        : QSettings(file, QSettings::IniFormat), m_lock(lock) {
        setIniCodec(settingsCodec());
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

/// How the write that has just ended went. The status of a QSettings stays at the first error for
/// ever, so after an earlier error a new object on the same file finds out: it shares the values
/// that are still to be written and tries again.
QSettings::Status statusOfWrite(const QSettings& settings, QSettings::Status before) {
    return before == QSettings::NoError
               ? settings.status()
               : QSettings(settings.fileName(), QSettings::IniFormat).status();
}

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

QVariantMap SettingsFile::all() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    QVariantMap values;
    if (m_settings) {
        const QStringList keys = m_settings->allKeys();
        for (const QString& key : keys) {
            values.insert(key, m_settings->value(key));
        }
    }
    return values;
}

void SettingsFile::setValue(const QString& key, const QVariant& value) {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_settings || key.isEmpty()) {
        qCWarning(lcPlatformSettings)
            << "setting" << key
            << "is dropped:" << (m_settings ? "its key is empty" : "no file is open");
        return;
    }
    const QSettings::Status before = m_settings->status();
    m_settings->setValue(key, value);
    m_settings->sync();
    const QSettings::Status status = statusOfWrite(*m_settings, before);
    if (status != QSettings::NoError) {
        qCWarning(lcPlatformSettings) << "setting" << key << "is not in the file"
                                      << m_settings->fileName() << ":" << describe(status);
    }
}

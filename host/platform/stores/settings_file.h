#pragma once

#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <memory>
#include <mutex>

/// The persisted settings: one INI file in UTF-8. Any thread. A value is in the file when
/// setValue() returns.
class SettingsFile {
public:
    SettingsFile();
    ~SettingsFile();

    /// Opens a file, which need not exist, in place of the former one. False with a text when it
    /// cannot be used; no file is open then.
    bool open(const QString& file, QString* error);
    void close();

    /// An invalid value when the key is absent or no file is open.
    QVariant value(const QString& key) const;
    /// Every key with its value; a key of a group is "group/name".
    QVariantMap all() const;
    /// Logs a warning when the write fails or no file is open.
    void setValue(const QString& key, const QVariant& value);

private:
    class LockedSettings;

    mutable std::mutex m_lock;  // guards m_settings and the file behind it
    std::unique_ptr<LockedSettings> m_settings;
};

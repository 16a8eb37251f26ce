#pragma once

#include <QString>
#include <QVariant>
#include <memory>
#include <mutex>

/// The persisted settings: one INI file in UTF-8. Any thread; each write is in the file when it
/// returns.
class SettingsFile {
public:
    SettingsFile();
    ~SettingsFile();

    /// Takes the file, which need not exist, in place of the one before. False with a text when it
    /// cannot be used; then no file is open.
    bool open(const QString& file, QString* error);
    void close();

    /// An invalid value when the key is absent or no file is open.
    QVariant value(const QString& key) const;
    /// A write that fails, or that meets no open file, leaves a log line.
    void setValue(const QString& key, const QVariant& value);

private:
    class LockedSettings;

    mutable std::mutex m_lock;  // guards m_settings and the file behind it
    std::unique_ptr<LockedSettings> m_settings;
};

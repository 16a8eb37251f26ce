#include "shared_settings.h"

#include <QThread>

#include "log.h"

SharedSettings::SharedSettings(const QString& file, QObject* owner)
    : QSettings(file, QSettings::IniFormat) {
    setIniCodec("UTF-8");
    if (owner) {
        // A parent on another thread is refused, so the child goes there first.
        if (owner->thread() != thread()) {
            moveToThread(owner->thread());
        }
        setParent(owner);
    }
}

QVariant SharedSettings::lockedValue(const QString& key, const QVariant& defaultValue) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return value(key, defaultValue);
}

bool SharedSettings::lockedContains(const QString& key) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return contains(key);
}

void SharedSettings::lockedSetValue(const QString& key, const QVariant& value) {
    lockedSetValues({{key, value}});
}

void SharedSettings::lockedSetValues(const QVariantMap& values) {
    const std::lock_guard<std::mutex> guard(m_lock);
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        setValue(it.key(), it.value());
    }
    sync();
    // This object's own status stays at the first trouble that it ever met. A new one on the file
    // shares what is still to be written, tries that again, and tells how it is now.
    if (QSettings(fileName(), IniFormat).status() == AccessError) {
        qCWarning(lcBase) << "settings" << values.keys() << "not written to" << fileName();
    }
}

QString SharedSettings::file() const {
    return fileName();
}

bool SharedSettings::event(QEvent* event) {
    const std::lock_guard<std::mutex> guard(m_lock);
    return QSettings::event(event);
}

#include "shared_settings.h"

#include <QThread>

#include "ini_file_codec.h"
#include "log.h"

SharedSettings::SharedSettings(const QString& file, QObject* owner)
    : QSettings(file, QSettings::IniFormat) {
    setIniCodec(iniFileCodec());
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
    // The status of a QSettings stays at the first error for ever. After an error a new object on
    // the same file finds out how things are now: it shares the values that are still to be
    // written and tries again.
    if (status() != NoError && QSettings(fileName(), IniFormat).status() == AccessError) {
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

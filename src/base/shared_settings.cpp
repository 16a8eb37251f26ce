#include "shared_settings.h"

#include <QPointer>
#include <QThread>
#include <utility>

#include "ini_file_codec.h"
#include "log.h"
#include "post.h"

SharedSettings::SharedSettings(const QString& file, QObject* owner, WhenNotWritten whenNotWritten)
    : QSettings(file, QSettings::IniFormat), m_whenNotWritten(whenNotWritten) {
    setIniCodec(iniFileCodec());
    if (owner) {
        goTo(*owner);
    }
}

void SharedSettings::goTo(QObject& owner) {
    QThread* const target = owner.thread();
    const bool isOwnThread = target == thread();
    // A parent on another thread is refused, so the child goes there first.
    moveToThread(target);
    if (isOwnThread || !target->isRunning()) {
        setParent(&owner);
        return;
    }
    // The owner's list of children belongs to its thread, which may add others to it now.
    queueOn(&owner, [parent = &owner, self = QPointer<QObject>(this)] {
        if (self) {
            self->setParent(parent);
        }
    });
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
    writeOut(values.keys());
}

void SharedSettings::lockedClear() {
    const std::lock_guard<std::mutex> guard(m_lock);
    // Another process may have written to the file since; only keys that are known are removed.
    sync();
    const QStringList keys = allKeys();
    clear();
    writeOut(keys);
}

/// Writes what was changed; m_lock is held.
void SharedSettings::writeOut(const QStringList& keys) {
    sync();
    // The status of a QSettings stays at the first error for ever. After an error a new object on
    // the same file finds out how things are now: it shares the values that are still to be
    // written and tries again.
    bool isLost = false;
    if (status() != NoError) {
        QSettings probe(fileName(), IniFormat);
        probe.setIniCodec(iniFileCodec());
        probe.sync();
        isLost = probe.status() == AccessError;
    }
    const bool wasLost = std::exchange(m_hasWarned, isLost);
    if (isLost && !(wasLost && m_whenNotWritten == WhenNotWritten::WarnOnce)) {
        qCWarning(lcBase) << "settings" << keys << "not written to" << fileName();
    }
}

QVariantMap SharedSettings::lockedAll() {
    const std::lock_guard<std::mutex> guard(m_lock);
    // A QSettings does not look at its file again by itself.
    sync();
    QVariantMap all;
    const QStringList keys = allKeys();
    for (const QString& key : keys) {
        all.insert(key, value(key));
    }
    return all;
}

bool SharedSettings::lockedIsReadable() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return status() == NoError;
}

QString SharedSettings::file() const {
    return fileName();
}

bool SharedSettings::event(QEvent* event) {
    const std::lock_guard<std::mutex> guard(m_lock);
    return QSettings::event(event);
}

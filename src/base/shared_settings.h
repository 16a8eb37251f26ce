#pragma once

#include <QSettings>
#include <QString>
#include <QVariant>
#include <mutex>

/// An INI file in UTF-8 that several threads read and write. QSettings itself writes later, from
/// its own thread's event loop; here every access and that late write share one mutex, and each
/// write goes to the file at once.
class SharedSettings : private QSettings {
public:
    /// `owner` deletes the object with itself; it may live on another thread than the caller's.
    SharedSettings(const QString& file, QObject* owner);

    QVariant lockedValue(const QString& key, const QVariant& defaultValue = QVariant()) const;
    bool lockedContains(const QString& key) const;
    /// When the file cannot be written, a warning names it, and the value holds for this process.
    void lockedSetValue(const QString& key, const QVariant& value);
    /// Several keys, one write to the file; a failure as above.
    void lockedSetValues(const QVariantMap& values);
    QString file() const;

protected:
    bool event(QEvent* event) override;

private:
    mutable std::mutex m_lock;  // guards the QSettings below this object
};

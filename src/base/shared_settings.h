#pragma once

#include <QSettings>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <mutex>

/// An INI file in UTF-8 that several threads read and write. QSettings itself writes later, from
/// its own thread's event loop; here every access and that late write share one mutex, and each
/// write goes to the file at once.
class SharedSettings : private QSettings {
public:
    enum class WhenNotWritten {
        WarnEachTime,
        WarnOnce  ///< and again only when a later write succeeded and one after it did not
    };

    /// `owner` deletes the object with itself; it may live on another thread than the caller's, and
    /// becomes the parent by a call queued to that thread then.
    SharedSettings(const QString& file, QObject* owner,
                   WhenNotWritten whenNotWritten = WhenNotWritten::WarnEachTime);

    QVariant lockedValue(const QString& key, const QVariant& defaultValue = QVariant()) const;
    bool lockedContains(const QString& key) const;
    /// When the file cannot be written, a warning names it, and the value holds for this process.
    void lockedSetValue(const QString& key, const QVariant& value);
    /// Several keys, one write to the file; a failure as above.
    void lockedSetValues(const QVariantMap& values);
    /// Removes every key, those included that another process has written; a failure as above.
    void lockedClear();
    /// Every key with its value, those included that another process has written.
    QVariantMap lockedAll();
    /// Whether all of the file could be read so far; a file that does not exist is read whole.
    bool lockedIsReadable() const;
    QString file() const;

protected:
    bool event(QEvent* event) override;

private:
    /// Becomes a child of the owner, on the owner's thread.
    void goTo(QObject& owner);
    void writeOut(const QStringList& keys);

    mutable std::mutex m_lock;  // guards the QSettings below this object and m_hasWarned
    const WhenNotWritten m_whenNotWritten;
    bool m_hasWarned = false;
};

#pragma once

#include <QObject>
#include <QSettings>
#include <QString>
#include <QVariant>

#include "platform_export.h"

/// The application core: process-wide board, persisted settings, closing state. Any thread.
class PLATFORM_API ZnCore : public QObject {
    Q_OBJECT

public:
    static ZnCore* instance();

    /// The board: a key and value store in memory that all plug-ins share.
    void setCommonInfo(QString key, QVariant value);
    /// An invalid value when the key was never set.
    QVariant getCommonInfo(QString key) const;

    /// A persisted setting. One that was never saved has its value of the system settings, if these
    /// name it (see ZnSystemSettingDataMgr), and is invalid otherwise. The two texts are passed
    /// empty.
    QVariant settings(const QString& key, const QString& group = QString(),
                      const QString& file = QString(),
                      QSettings::Scope scope = QSettings::UserScope) const;
    /// Writes a setting to its file at once. The two texts are passed empty.
    void saveSetting(const QString& key, const QVariant& value, const QString& group = QString(),
                     const QString& file = QString(),
                     QSettings::Scope scope = QSettings::UserScope);

    /// True once the host is closing. A wait without a time limit must poll it and end.
    bool isClosing() const;

signals:
    void signalSkinChanged(const QString& skinId);

private:
    ZnCore();
    ~ZnCore() override;
};

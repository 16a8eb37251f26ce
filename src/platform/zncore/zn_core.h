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
    /// An invalid value when the key was never set. The platform itself provides the total counts
    /// and bytes of messages and MdcLatency of ClientPerformItem, and sets
    /// ClientErrorType::ComputerSuspend and ComputerResume, as times, once the machine has come
    /// back from a suspension.
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

    /// The id of the skin that the client shows, empty before one was chosen.
    QString getCurrentSkinId() const;
    /// The address of the gateway that the client is connected to, empty without a connection.
    QString getCurrentConnectIP() const;

    /// True once the host is closing. A wait without a time limit must poll it and end.
    bool isClosing() const;

signals:
    /// Another skin is shown. On the application's thread.
    void signalSkinChanged(const QString& skinId);
    /// The host begins to close; requests still go out. On the thread that closes: connect directly
    /// and queue what is left to send to a presenter's object thread. The closing thread then
    /// waits, for a limited time, until that is done and the asynchronous requests sent there are
    /// answered; synchronous ones fail by then.
    void signalAboutToClose();

private:
    friend class LocalPlatform;  // the host raises the signals

    ZnCore();
    ~ZnCore() override;
};

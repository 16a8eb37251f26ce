#pragma once

#include <QDateTime>
#include <QJsonValue>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>

/// A business message, whichever of its forms it was read from.
struct BusiMessage {
    QString clientId;  ///< empty for a row of the server
    QString serverId;  ///< empty for a notice that the client raised
    QString level;
    QString type;
    QString subType;
    QString tradingAccount;
    QString productAccount;
    QDateTime time;  ///< local; invalid when the form has none that can be read
    bool isRead = false;
    bool asksForStorage = false;  ///< of a notice of this client, as long as it runs
    QString text;
    QString position;

    /// A record of the exported functions or of an event.
    static BusiMessage ofRecord(const QVariantMap& record);
    /// A list of records as the exported functions answer it.
    static QList<BusiMessage> ofAnswer(const QJsonValue& records);
    /// A row of the table BUSI_MSG_CENTER.
    static BusiMessage ofTableRow(const QVariantMap& row);
    /// A row of the server's list, whose time is milliseconds since 1970 or "yyyyMMdd hhmmss".
    static BusiMessage ofServerRow(const QVariantMap& row);

    /// The text on one line.
    QString line() const { return text.simplified(); }
};

/// How message kinds are named for people. A code without a name is shown as it is.
struct MessageWords {
    QMap<QString, QString> types;       ///< by type
    QMap<QString, QString> subTypes;    ///< by sub-type
    QMap<QString, QString> levelNames;  ///< by level
    QStringList levels;                 ///< the codes in use, sorted

    /// Those of the static configuration.
    static MessageWords ofPlatform();

    QString level(const QString& code) const;
    /// "4 交易, 4001 风险警示".
    QString kind(const QString& type, const QString& subType) const;
    /// The sub-types of a type, which begin with its code.
    QStringList subTypesOf(const QString& type) const;
};

/// The time of day for a message of today, else the date too.
QString messageTimeText(const QDateTime& time, const QDate& today);
/// The messages as a table, the earliest first. Lines are cut to `columns`.
QStringList messageTable(QList<BusiMessage> messages, const MessageWords& words, const QDate& today,
                         int columns);
/// One line of `messages tail`.
QString messageTailLine(const BusiMessage& message, const MessageWords& words, const QDate& today,
                        int columns);

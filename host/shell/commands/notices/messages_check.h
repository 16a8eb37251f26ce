#pragma once

#include <QDate>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <QVector>
#include <functional>

#include "busi_message.h"
#include "command_answer.h"

/// The messages of one user in their three places.
struct MessagePlaces {
    QList<QVariantMap> server;  ///< all rows of the server's list
    QList<BusiMessage> table;   ///< all rows of the table
    QList<BusiMessage> memory;  ///< as the exported functions answer
};

/// A message that the places do not agree about.
struct MessageDifference {
    QString serverId;
    QString clientId;
    QString what;
    QString reason;  ///< empty when the cause is not known
    QString text;
};

/// What a comparison of the three places found.
struct MessageCheck {
    int server = 0;  ///< compared rows of the server
    int table = 0;
    int memory = 0;
    int earlier = 0;          ///< messages of earlier days, which are not compared
    int earlierInMemory = 0;  ///< those of them that are in memory
    int lacking = 0;     ///< messages of the server that are not in memory without a known cause
    int memoryOnly = 0;  ///< notices of this client that were raised without being stored
    QVector<MessageDifference> differences;
    QList<QVariantMap> missing;  ///< rows of the server that are not in memory

    bool agrees() const { return differences.isEmpty(); }
    QJsonObject asJson() const;
};

/// Compares messages by server id, and those of this client alone by client id. Only messages of
/// `today` count, since the table is cleared of earlier ones at each start; a message whose time
/// cannot be used counts as one of today, as the plug-in dates it. `lacksAccount` says whether the
/// plug-in has no record of a trading account; it drops pushes for such an account.
MessageCheck checkMessages(const MessagePlaces& places, const QDate& today,
                           const std::function<bool(const QString& account)>& lacksAccount);

/// What `messages check` prints; `pushedAgain` is negative without --repair.
CommandAnswer messageCheckAnswer(const MessageCheck& check, int pushedAgain, int columns);

/// The header row of a push that contains the server's message: without what a query adds, and
/// without empty fields.
QVariantMap pushedRow(const QVariantMap& serverRow);

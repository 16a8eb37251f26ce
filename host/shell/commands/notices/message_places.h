#pragma once

#include <QJsonObject>

#include "command_answer.h"
#include "facade_questions.h"
#include "messages_check.h"

class Client;

/// Compares the messages of a running client with the server's and the table's, and has missing
/// ones pushed again. Main thread.
class MessagePlacesCheck {
public:
    MessagePlacesCheck(Client& client, const FacadeAsk& ask);

    /// What is on its way gets a few seconds to arrive before a difference is reported. With
    /// `repair`, the server pushes the messages that are not in memory once more.
    CommandAnswer answer(bool repair, int columns);
    /// One comparison without waiting; false with a text when the server's list cannot be read.
    bool compare(MessageCheck* check, QString* error);
    /// Whether the server has messages of today that the plug-in lacks without a known cause; those
    /// on their way get a few seconds to arrive. False when the server's list cannot be read.
    bool lacksMessages(MessageCheck* check, QString* error);
    /// Returns how many of these rows the server could push to the plug-in.
    int pushAgain(const QList<QVariantMap>& serverRows);

private:
    bool settled(MessageCheck* check, QString* error);

    Client& m_client;
    FacadeQuestions m_facade;
};

/// All rows of the message table of the user who is logged in.
QList<BusiMessage> messagesOfTable();

#include "messages_command.h"

#include <QJsonArray>
#include <QJsonObject>

#include "figures_text.h"
#include "text_table.h"

MessagesCommand::MessagesCommand(const FacadeLibrary& library, const FacadeAsk& ask,
                                 const MessageWords& words)
    : m_facade(library, ask), m_words(words) {}

CommandAnswer MessagesCommand::list(bool unread, const QDate& today, int columns) {
    CommandAnswer answer;
    const QJsonArray records = m_facade
                                   .ask(unread ? QStringLiteral("GetUnreadBusiMsgList")
                                               : QStringLiteral("GetAllBusiMsgList"),
                                        {})
                                   .toArray();
    const QList<BusiMessage> messages = BusiMessage::ofAnswer(records);
    int unreadCount = 0;
    for (const BusiMessage& message : messages) {
        unreadCount += message.isRead ? 0 : 1;
    }
    if (!messages.isEmpty()) {
        answer.lines = messageTable(messages, m_words, today, columns);
    }
    answer.lines.append(unread ? countText(unreadCount, "unread message")
                               : QStringLiteral("%1, %2 unread")
                                     .arg(countText(messages.size(), "message"))
                                     .arg(unreadCount));
    answer.json = records;
    answer.interrupted = m_facade.interrupted();
    return answer;
}

CommandAnswer MessagesCommand::read(const QStringList& clientIds) {
    CommandAnswer answer;
    QMap<QString, BusiMessage> known;
    const QList<BusiMessage> messages =
        BusiMessage::ofAnswer(m_facade.ask(QStringLiteral("GetAllBusiMsgList"), {}));
    for (const BusiMessage& message : messages) {
        known.insert(message.clientId, message);
    }
    QStringList unknown;
    for (const QString& id : clientIds) {
        if (!known.contains(id)) {
            unknown.append(id);
        }
    }
    answer.interrupted = m_facade.interrupted();
    if (answer.interrupted) {
        return answer;
    }
    if (!unknown.isEmpty()) {
        answer.error = QStringLiteral(
                           "no message of today has the id %1; 'messages list' shows "
                           "the ids")
                           .arg(unknown.join(QStringLiteral(", ")));
        return answer;
    }
    QJsonArray json;
    for (const QString& id : clientIds) {
        const bool wasRead = m_facade.ask(QStringLiteral("IsBusiMsgRead"), {id}).toBool();
        const bool isMarked = m_facade.ask(QStringLiteral("SetBusiMsgRead"), {id}).toBool();
        const QString how = !isMarked ? QStringLiteral("could not be marked read")
                            : wasRead ? QStringLiteral("was read before")
                                      : QStringLiteral("marked read");
        if (isMarked && !wasRead) {
            m_marked.append(id);
        }
        answer.isFault = answer.isFault || !isMarked;
        answer.lines.append(
            harmlessText(QStringLiteral("%1  %2  %3").arg(id, how, known.value(id).line())));
        json.append(QJsonObject{{QStringLiteral("clientId"), id},
                                {QStringLiteral("marked"), isMarked},
                                {QStringLiteral("wasRead"), wasRead}});
    }
    answer.json = json;
    answer.interrupted = m_facade.interrupted();
    return answer;
}

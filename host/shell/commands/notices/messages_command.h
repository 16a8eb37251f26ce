#pragma once

#include <QDate>
#include <functional>

#include "busi_message.h"
#include "command_answer.h"
#include "facade_questions.h"

/// Lists messages and marks them read, by the exported functions. For one thread.
class MessagesCommand {
public:
    MessagesCommand(const FacadeLibrary& library, const FacadeAsk& ask, const MessageWords& words);

    CommandAnswer list(bool unread, const QDate& today, int columns);
    /// Marks none of them read when one is unknown.
    CommandAnswer read(const QStringList& clientIds);
    /// Ids that read() has marked, and that were unread before.
    const QStringList& marked() const { return m_marked; }

private:
    FacadeQuestions m_facade;
    const MessageWords m_words;
    QStringList m_marked;
};

#pragma once

#include <QString>
#include <QVariant>
#include <functional>

#include "busi_message.h"
#include "command_answer.h"
#include "facade_questions.h"

/// Shows and changes which messages remind the user, by the exported functions. For one thread.
class RemindCommand {
public:
    /// The value of a key in the user's settings file on disk, invalid without it.
    using FileValue = std::function<QVariant(const QString& key)>;

    RemindCommand(const FacadeLibrary& library, const FacadeAsk& ask, const MessageWords& words,
                  FileValue fileValue);

    /// The setting that applies to each kind and level; of one type, or of all for an empty one.
    /// Beside it, how many unread messages of the kind there are and how many of them pop up.
    CommandAnswer show(const QString& type, int columns);
    /// `kind` is a type or "type/sub-type"; `how` is "on" (remind and pop up), "quiet" (remind
    /// without popping up) or "off". Other fields of the setting stay. A setting that is not read
    /// back as it was set, from the functions and from the file, is a fault.
    CommandAnswer set(const QString& kind, const QString& level, const QString& how, int columns);
    /// Ends reminders until the date changes.
    CommandAnswer endToday();

private:
    struct Kind {
        QString type;
        QString subType;
        QString level;
    };

    CommandAnswer table(const QString& type, bool withToday, int columns);
    /// How many messages of each kind, as type, sub-type and level, the list of a function has.
    QMap<QStringList, int> countsOf(const QString& function);
    bool knows(const Kind& kind, QString* error) const;
    QVariantMap settingOf(const Kind& kind, bool withToday);

    FacadeQuestions m_facade;
    const MessageWords m_words;
    const FileValue m_fileValue;
};

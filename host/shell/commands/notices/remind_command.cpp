#include "remind_command.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <utility>

#include "text_table.h"
#include "vocabulary/fields.h"
#include "vocabulary/own_keys.h"

namespace {

/// The sub-type that stands for the type as a whole.
const QString kWholeType = QStringLiteral("BASE");

const QString kNotWritten =
    QStringLiteral("the settings file was not written, so the change ends here; see the log");

QString yesNo(bool value) {
    return value ? QStringLiteral("yes") : QStringLiteral("no");
}

QString compact(const QVariantMap& map) {
    return map.isEmpty() ? QString()
                         : QString::fromUtf8(QJsonDocument(QJsonObject::fromVariantMap(map))
                                                 .toJson(QJsonDocument::Compact));
}

QString namedLevels(const MessageWords& words) {
    QStringList levels;
    for (const QString& level : words.levels) {
        levels.append(words.level(level));
    }
    return levels.join(QStringLiteral(", "));
}

}  // namespace

RemindCommand::RemindCommand(const FacadeLibrary& library, const FacadeAsk& ask,
                             const MessageWords& words, FileValue fileValue)
    : m_facade(library, ask), m_words(words), m_fileValue(std::move(fileValue)) {}

bool RemindCommand::knows(const Kind& kind, QString* error) const {
    if (!m_words.types.contains(kind.type)) {
        *error = QStringLiteral("no message type is called '%1'; types: %2")
                     .arg(kind.type, m_words.types.keys().join(QStringLiteral(", ")));
        return false;
    }
    const QStringList subTypes = m_words.subTypesOf(kind.type);
    if (!kind.subType.isEmpty() && kind.subType != kWholeType && !subTypes.contains(kind.subType)) {
        *error = QStringLiteral("type %1 has no sub-type '%2'; sub-types: %3")
                     .arg(kind.type, kind.subType, subTypes.join(QStringLiteral(", ")));
        return false;
    }
    if (!kind.level.isEmpty() && !m_words.levels.contains(kind.level)) {
        *error = QStringLiteral("no message level is called '%1'; levels: %2")
                     .arg(kind.level, namedLevels(m_words));
        return false;
    }
    return true;
}

QVariantMap RemindCommand::settingOf(const Kind& kind, bool withToday) {
    return m_facade
        .ask(QStringLiteral("GetBusiMsgRemindSettingInfo"),
             {kind.type, kind.subType, kind.level,
              withToday ? QStringLiteral("true") : QStringLiteral("false")})
        .toObject()
        .toVariantMap();
}

QMap<QStringList, int> RemindCommand::countsOf(const QString& function) {
    QMap<QStringList, int> counts;
    const QList<BusiMessage> messages = BusiMessage::ofAnswer(m_facade.ask(function, {}));
    for (const BusiMessage& message : messages) {
        const bool isKnown = m_words.subTypesOf(message.type).contains(message.subType);
        ++counts[{message.type, isKnown ? message.subType : kWholeType, message.level}];
    }
    return counts;
}

CommandAnswer RemindCommand::show(const QString& type, int columns) {
    return table(type, true, columns);
}

CommandAnswer RemindCommand::table(const QString& type, bool withToday, int columns) {
    CommandAnswer answer;
    if (!type.isEmpty() && !knows({type, {}, {}}, &answer.error)) {
        return answer;
    }
    TextTable shown({QStringLiteral("Type"), QStringLiteral("Sub-type"), QStringLiteral("Level"),
                     QStringLiteral("RemindSwitch"), QStringLiteral("PopSwitch"),
                     QStringLiteral("Unread popping up"), QStringLiteral("Other fields")});
    // Which messages pop up does not follow from the switches alone: a kind without a setting does.
    const QMap<QStringList, int> unread = countsOf(QStringLiteral("GetUnreadBusiMsgList"));
    const QMap<QStringList, int> popUps = countsOf(QStringLiteral("GetRemindBusiMsgList"));
    QJsonArray json;
    const QStringList types = type.isEmpty() ? m_words.types.keys() : QStringList(type);
    for (const QString& one : types) {
        for (const QString& subType : QStringList(kWholeType) + m_words.subTypesOf(one)) {
            for (const QString& level : m_words.levels) {
                const QVariantMap setting = settingOf({one, subType, level}, withToday);
                const QStringList kind{one, subType, level};
                QVariantMap others = setting;
                others.remove(BusiMsgCenter::RemindSwitch);
                others.remove(BusiMsgCenter::PopSwitch);
                shown.addRow({m_words.kind(one, QString()),
                              subType == kWholeType ? QStringLiteral("all")
                                                    : m_words.kind(QString(), subType),
                              m_words.level(level),
                              yesNo(setting.value(BusiMsgCenter::RemindSwitch).toBool()),
                              yesNo(setting.value(BusiMsgCenter::PopSwitch).toBool()),
                              unread.contains(kind) ? QStringLiteral("%1 of %2")
                                                          .arg(popUps.value(kind))
                                                          .arg(unread.value(kind))
                                                    : QString(),
                              compact(others)});
                json.append(
                    QJsonObject{{QStringLiteral("type"), one},
                                {QStringLiteral("subType"), subType},
                                {QStringLiteral("level"), level},
                                {QStringLiteral("unread"), unread.value(kind)},
                                {QStringLiteral("unreadPoppingUp"), popUps.value(kind)},
                                {QStringLiteral("setting"), QJsonObject::fromVariantMap(setting)}});
            }
        }
    }
    const bool ended = m_facade.ask(QStringLiteral("GetNoMoreRemindInDayFlag"), {}).toBool();
    answer.lines = shown.lines(columns);
    answer.lines.append(ended ? QStringLiteral("reminders are ended for today")
                              : QStringLiteral("reminders are not ended for today"));
    answer.json =
        QJsonObject{{QStringLiteral("endedToday"), ended}, {QStringLiteral("settings"), json}};
    answer.interrupted = m_facade.interrupted();
    return answer;
}

CommandAnswer RemindCommand::set(const QString& kind, const QString& level, const QString& how,
                                 int columns) {
    CommandAnswer answer;
    const Kind wanted{kind.section(QLatin1Char('/'), 0, 0), kind.section(QLatin1Char('/'), 1),
                      level};
    if (!knows(wanted, &answer.error)) {
        return answer;
    }
    QVariantMap setting = settingOf(wanted, false);
    setting.insert(BusiMsgCenter::RemindSwitch, how != QLatin1String("off"));
    setting.insert(BusiMsgCenter::PopSwitch, how == QLatin1String("on"));
    const bool isTaken = m_facade
                             .ask(QStringLiteral("SetBusiMsgRemindSettingInfo"),
                                  {wanted.type, wanted.subType, wanted.level, compact(setting)})
                             .toBool();
    // A setting of a whole type applies to each sub-type.
    const QStringList subTypes = wanted.subType.isEmpty()
                                     ? QStringList(kWholeType) + m_words.subTypesOf(wanted.type)
                                     : QStringList(wanted.subType);
    bool isWritten = true;
    for (const QString& subType : subTypes) {
        const QVariantMap stored = settingOf({wanted.type, subType, wanted.level}, false);
        answer.isFault = answer.isFault || stored != setting;
        const QString key = QStringLiteral("%1/%2_%3").arg(wanted.type, subType, wanted.level);
        const QByteArray inFile = m_fileValue(key).toString().toUtf8();
        isWritten = isWritten && QJsonDocument::fromJson(inFile).object() ==
                                     QJsonDocument::fromJson(compact(setting).toUtf8()).object();
    }
    answer.interrupted = m_facade.interrupted();
    if (answer.interrupted) {
        return answer;
    }
    const bool isStored = isTaken && !answer.isFault;
    answer.isFault = !isStored || !isWritten;
    if (answer.isFault) {
        const QString text =
            isStored ? kNotWritten : QStringLiteral("the setting was not stored; see the log");
        answer.lines = QStringList(text);
        answer.json = QJsonObject{{QStringLiteral("error"), text}};
        return answer;
    }
    // Ended reminders would show the switch as false that was just set to true.
    return table(wanted.type, false, columns);
}

CommandAnswer RemindCommand::endToday() {
    CommandAnswer answer;
    m_facade.ask(QStringLiteral("SetNoMoreRemindInDay"), {});
    const bool ended = m_facade.ask(QStringLiteral("GetNoMoreRemindInDayFlag"), {}).toBool();
    answer.lines.append(ended ? QStringLiteral("reminders are ended for today")
                              : QStringLiteral("reminders could not be ended; see the log"));
    // The date of the file is the server's, which may be another one than this machine's.
    const bool isWritten = !m_fileValue(OwnKeys::ignoreDate).toString().isEmpty();
    if (ended && !isWritten) {
        answer.lines.append(kNotWritten);
    }
    answer.json =
        QJsonObject{{QStringLiteral("endedToday"), ended}, {QStringLiteral("written"), isWritten}};
    answer.isFault = !ended || !isWritten;
    answer.interrupted = m_facade.interrupted();
    return answer;
}

#include "busi_message.h"

#include <QJsonArray>
#include <QJsonObject>
#include <algorithm>

#include "text_table.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "zndatabase/c_data_base.h"

namespace {

QString fieldText(const QVariantMap& map, const QString& field) {
    return map.value(field).toString();
}

QDateTime timeOf(const QVariant& value) {
    // As data, a time is its text.
    return value.type() == QVariant::DateTime
               ? value.toDateTime().toLocalTime()
               : QDateTime::fromString(value.toString(), Qt::ISODateWithMs).toLocalTime();
}

QString named(const QString& code, const QMap<QString, QString>& names) {
    const QString name = names.value(code);
    return name.isEmpty() || name == code ? code : QStringLiteral("%1 %2").arg(code, name);
}

/// The fields that all forms but the table's have under the same names.
BusiMessage commonPart(const QVariantMap& record) {
    BusiMessage message;
    message.clientId = fieldText(record, System::clientMsgID);
    message.serverId = fieldText(record, BusiMsgCenter::ServerMsgId);
    message.level = fieldText(record, System::BusiMsgLevel);
    message.type = fieldText(record, System::BusiMsgType);
    message.subType = fieldText(record, System::BusiMsgSubType);
    message.tradingAccount = fieldText(record, UserAccount::tradingAccount);
    message.productAccount = fieldText(record, UserAccount::productAccount);
    message.isRead = record.value(BusiMsgCenter::ReadStatus).toBool();
    message.asksForStorage = record.value(BusiMsgCenter::SaveDB).toBool();
    message.text = fieldText(record, System::textDescription);
    message.position = fieldText(record, System::positionStr);
    return message;
}

}  // namespace

BusiMessage BusiMessage::ofRecord(const QVariantMap& record) {
    BusiMessage message = commonPart(record);
    message.time = timeOf(record.value(System::createTime));
    return message;
}

QList<BusiMessage> BusiMessage::ofAnswer(const QJsonValue& records) {
    QList<BusiMessage> messages;
    const QJsonArray list = records.toArray();
    for (const QJsonValue& record : list) {
        messages.append(ofRecord(record.toObject().toVariantMap()));
    }
    return messages;
}

BusiMessage BusiMessage::ofTableRow(const QVariantMap& row) {
    const auto column = [&row](const char* name) { return fieldText(row, QLatin1String(name)); };
    BusiMessage message;
    message.clientId = column("clientMsgId");
    message.serverId = column("serverMsgId");
    message.level = column("msgLevel");
    message.type = column("msgType");
    message.subType = column("msgSubType");
    message.tradingAccount = column("tradingAccount");
    message.productAccount = column("productAccount");
    message.time = QDateTime::fromString(column("time"), QStringLiteral("yyyyMMddhhmmss"));
    message.isRead = row.value(QStringLiteral("readStatus")).toBool();
    message.text = column("content");
    message.position = column("posStr");
    return message;
}

BusiMessage BusiMessage::ofServerRow(const QVariantMap& row) {
    BusiMessage message = commonPart(row);
    const QString time = fieldText(row, System::createTime);
    bool isNumber = false;
    const qlonglong ms = time.toLongLong(&isNumber);
    message.time = isNumber && ms != 0
                       ? QDateTime::fromMSecsSinceEpoch(ms)
                       : QDateTime::fromString(time, QStringLiteral("yyyyMMdd hhmmss"));
    return message;
}

MessageWords MessageWords::ofPlatform() {
    const CDataBase& dictionary = *CDataBase::GetInstance();
    MessageWords words;
    words.types = dictionary.GetStaticValuesBySection(System::BusiMsgType);
    words.subTypes = dictionary.GetStaticValuesBySection(System::BusiMsgSubType);
    words.levelNames = dictionary.GetStaticValuesBySection(System::BusiMsgLevel);
    words.levels = words.levelNames.keys();
    words.levels << BusiMsgLevel::Important << BusiMsgLevel::Emergency;
    // The level is the third part of both a default setting's key and a message kind's value.
    const auto takeLevel = [&words](const QString& joined, QLatin1Char separator) {
        const QStringList parts = joined.split(separator, Qt::SkipEmptyParts);
        if (parts.size() >= 3) {
            words.levels.append(parts.at(2));
        }
    };
    const QStringList defaults =
        dictionary.GetStaticValuesBySection(DictionaryKey::VelmarBusiMsgDefaultSetting).keys();
    for (const QString& key : defaults) {
        takeLevel(key, QLatin1Char('_'));
    }
    const QStringList kinds =
        dictionary.GetStaticValuesBySection(DictionaryKey::VelmarBusiMsgTypeDict).values();
    for (const QString& kind : kinds) {
        takeLevel(kind, QLatin1Char('|'));
    }
    words.levels.removeDuplicates();
    words.levels.sort();
    return words;
}

QString MessageWords::level(const QString& code) const {
    return named(code, levelNames);
}

QString MessageWords::kind(const QString& type, const QString& subType) const {
    QStringList parts{named(type, types), named(subType, subTypes)};
    parts.removeAll(QString());
    return parts.join(QStringLiteral(", "));
}

QStringList MessageWords::subTypesOf(const QString& type) const {
    QStringList found;
    for (auto it = subTypes.constBegin(); it != subTypes.constEnd(); ++it) {
        if (it.key().startsWith(type)) {
            found.append(it.key());
        }
    }
    return found;
}

QString messageTimeText(const QDateTime& time, const QDate& today) {
    return time.toString(time.date() == today ? QStringLiteral("hh:mm:ss")
                                              : QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}

QStringList messageTable(QList<BusiMessage> messages, const MessageWords& words, const QDate& today,
                         int columns) {
    std::stable_sort(
        messages.begin(), messages.end(),
        [](const BusiMessage& left, const BusiMessage& right) { return left.time < right.time; });
    TextTable table({QStringLiteral("Id"), QStringLiteral("Time"), QStringLiteral("Read"),
                     QStringLiteral("Level"), QStringLiteral("Kind"), QStringLiteral("Account"),
                     QStringLiteral("Text")});
    for (const BusiMessage& message : qAsConst(messages)) {
        table.addRow({message.clientId, messageTimeText(message.time, today),
                      message.isRead ? QStringLiteral("read") : QString(),
                      words.level(message.level), words.kind(message.type, message.subType),
                      message.tradingAccount, message.line()});
    }
    return table.lines(columns);
}

QString messageTailLine(const BusiMessage& message, const MessageWords& words, const QDate& today,
                        int columns) {
    QStringList parts{messageTimeText(message.time, today),
                      message.isRead ? QStringLiteral("read") : QStringLiteral("new "),
                      words.level(message.level),
                      words.kind(message.type, message.subType),
                      message.tradingAccount,
                      message.line(),
                      QStringLiteral("[%1]").arg(message.clientId)};
    parts.removeAll(QString());
    return cutToWidth(harmlessText(parts.join(QStringLiteral("  "))), columns);
}

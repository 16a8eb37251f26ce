#include "messages_check.h"

#include <QJsonArray>
#include <QMap>
#include <QSet>

#include "figures_text.h"
#include "text_table.h"
#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

/// The plug-in dates a message without a usable time, or with one after tomorrow, itself.
bool isEarlier(const BusiMessage& message, const QDate& today) {
    return message.time.isValid() && message.time.date() < today;
}

/// The messages of one place, by server id, and those without one by client id.
struct Place {
    QMap<QString, BusiMessage> ofServer;
    QMap<QString, BusiMessage> ofClient;
    QVector<MessageDifference> repeated;
    int compared = 0;
    int earlierHere = 0;

    Place(const QList<BusiMessage>& messages, const char* name, const QDate& today,
          QSet<QString>* earlier) {
        for (const BusiMessage& message : messages) {
            if (isEarlier(message, today)) {
                ++earlierHere;
                earlier->insert(message.serverId.isEmpty() ? message.clientId : message.serverId);
                continue;
            }
            if (earlier->contains(message.serverId)) {
                continue;
            }
            ++compared;
            if (message.serverId.isEmpty()) {
                ofClient.insert(message.clientId, message);
            } else if (ofServer.contains(message.serverId)) {
                repeated.append({message.serverId, message.clientId,
                                 QStringLiteral("more than once in the %1").arg(name), QString(),
                                 message.line()});
            } else {
                ofServer.insert(message.serverId, message);
            }
        }
    }
};

MessageDifference differenceOf(const BusiMessage& message, const QString& what,
                               const QString& reason = {}) {
    return {message.serverId, message.clientId, what, reason, message.line()};
}

/// The first part of a message that two places say differently; empty when they agree.
QString contentsChanged(const BusiMessage& one, const char* inOne, const BusiMessage& other,
                        const char* inOther) {
    const auto differ = [&](const char* what, const QString& left, const QString& right) {
        return left == right ? QString()
                             : QStringLiteral("%1 '%2' %3, '%4' %5")
                                   .arg(QLatin1String(what), left, QLatin1String(inOne), right,
                                        QLatin1String(inOther));
    };
    const QStringList all{differ("type", one.type, other.type),
                          differ("sub-type", one.subType, other.subType),
                          differ("level", one.level, other.level),
                          differ("account", one.tradingAccount, other.tradingAccount),
                          differ("text", one.line(), other.line())};
    for (const QString& difference : all) {
        if (!difference.isEmpty()) {
            return difference;
        }
    }
    return {};
}

bool hasQuote(const BusiMessage& message) {
    return message.text.contains(QLatin1Char('\''));
}

/// Why the table lacks a row. Statements have up to 100 rows, and all of them are lost with one.
QString lossReason(const BusiMessage& message, bool isQuoteLost) {
    return hasQuote(message)
               ? QStringLiteral("its text has a single quote, which ends the SQL text")
           : isQuoteLost ? QStringLiteral(
                               "perhaps in one SQL statement with a row that has a "
                               "single quote")
                         : QString();
}

/// What the table and the memory say differently about one message.
QString changed(const BusiMessage& inTable, const BusiMessage& inMemory) {
    if (inTable.clientId != inMemory.clientId) {
        return QStringLiteral("client id %1 in the table, %2 in memory")
            .arg(inTable.clientId, inMemory.clientId);
    }
    if (inTable.isRead != inMemory.isRead) {
        return inMemory.isRead ? QStringLiteral("read in memory, not in the table")
                               : QStringLiteral("read in the table, not in memory");
    }
    return inTable.position == inMemory.position
               ? contentsChanged(inTable, "in the table", inMemory, "in memory")
               : QStringLiteral("position %1 in the table, %2 in memory")
                     .arg(inTable.position, inMemory.position);
}

void addChanges(const QMap<QString, BusiMessage>& table, const QMap<QString, BusiMessage>& memory,
                MessageCheck* check) {
    for (auto it = table.constBegin(); it != table.constEnd(); ++it) {
        const auto other = memory.constFind(it.key());
        const QString what = other == memory.constEnd() ? QString() : changed(*it, *other);
        if (!what.isEmpty()) {
            check->differences.append(differenceOf(*other, what));
        }
    }
}

}  // namespace

MessageCheck checkMessages(const MessagePlaces& places, const QDate& today,
                           const std::function<bool(const QString& account)>& lacksAccount) {
    MessageCheck check;
    QList<BusiMessage> onServer;
    QMap<QString, QVariantMap> rows;
    for (const QVariantMap& row : places.server) {
        onServer.append(BusiMessage::ofServerRow(row));
        rows.insert(onServer.last().serverId, row);
    }
    QSet<QString> earlier;
    const Place server(onServer, "server's list", today, &earlier);
    const Place table(places.table, "table", today, &earlier);
    const Place memory(places.memory, "memory", today, &earlier);
    check.server = server.compared;
    check.table = table.compared;
    check.memory = memory.compared;
    check.earlier = earlier.size();
    check.earlierInMemory = memory.earlierHere;
    bool isQuoteLost = false;
    for (const BusiMessage& message : server.ofServer) {
        isQuoteLost =
            isQuoteLost || (hasQuote(message) && !table.ofServer.contains(message.serverId));
    }
    for (const BusiMessage& message : memory.ofClient) {
        isQuoteLost = isQuoteLost || (hasQuote(message) && message.asksForStorage &&
                                      !table.ofClient.contains(message.clientId));
    }
    for (const BusiMessage& message : server.ofServer) {
        const bool isInTable = table.ofServer.contains(message.serverId);
        const bool isInMemory = memory.ofServer.contains(message.serverId);
        if (isInTable && isInMemory) {
            const QString what = contentsChanged(
                message, "at the server", memory.ofServer.value(message.serverId), "in memory");
            if (!what.isEmpty()) {
                check.differences.append(differenceOf(message, what));
            }
            continue;
        }
        QString reason;
        if (!isInMemory) {
            check.missing.append(rows.value(message.serverId));
            const bool isOfAccount =
                !message.tradingAccount.isEmpty() && message.productAccount.isEmpty();
            if (isOfAccount && lacksAccount(message.tradingAccount)) {
                reason = QStringLiteral("the plug-in has no record of account %1")
                             .arg(message.tradingAccount);
            } else {
                ++check.lacking;
            }
        }
        if (reason.isEmpty() && !isInTable) {
            reason = lossReason(message, isQuoteLost);
        }
        check.differences.append(
            differenceOf(message,
                         isInMemory  ? QStringLiteral("not in the table")
                         : isInTable ? QStringLiteral("not in memory")
                                     : QStringLiteral("neither in the table nor in memory"),
                         reason));
    }
    for (const BusiMessage& message : server.ofClient) {
        check.differences.append(
            differenceOf(message, QStringLiteral("the server's row has no server id")));
    }
    QMap<QString, BusiMessage> held = table.ofServer;
    for (const BusiMessage& message : memory.ofServer) {
        held.insert(message.serverId, message);
    }
    for (const BusiMessage& message : qAsConst(held)) {
        if (!server.ofServer.contains(message.serverId)) {
            check.differences.append(
                differenceOf(message, QStringLiteral("not in the server's list")));
        }
    }
    for (const BusiMessage& message : table.ofClient) {
        if (!memory.ofClient.contains(message.clientId)) {
            check.differences.append(
                differenceOf(message, QStringLiteral("in the table, not in memory")));
        }
    }
    for (const BusiMessage& message : memory.ofClient) {
        if (table.ofClient.contains(message.clientId)) {
            continue;
        }
        if (message.asksForStorage) {
            check.differences.append(differenceOf(message, QStringLiteral("not in the table"),
                                                  lossReason(message, isQuoteLost)));
        } else {
            ++check.memoryOnly;
        }
    }
    addChanges(table.ofServer, memory.ofServer, &check);
    addChanges(table.ofClient, memory.ofClient, &check);
    check.differences += server.repeated + table.repeated + memory.repeated;
    return check;
}

QJsonObject MessageCheck::asJson() const {
    QJsonArray list;
    for (const MessageDifference& one : differences) {
        list.append(QJsonObject{{QStringLiteral("serverId"), one.serverId},
                                {QStringLiteral("clientId"), one.clientId},
                                {QStringLiteral("what"), one.what},
                                {QStringLiteral("reason"), one.reason},
                                {QStringLiteral("text"), one.text}});
    }
    return {{QStringLiteral("agrees"), agrees()},
            {QStringLiteral("server"), server},
            {QStringLiteral("table"), table},
            {QStringLiteral("memory"), memory},
            {QStringLiteral("earlier"), earlier},
            {QStringLiteral("earlierInMemory"), earlierInMemory},
            {QStringLiteral("memoryOnly"), memoryOnly},
            {QStringLiteral("differences"), list}};
}

CommandAnswer messageCheckAnswer(const MessageCheck& check, int pushedAgain, int columns) {
    CommandAnswer answer;
    QJsonObject json = check.asJson();
    if (!check.agrees()) {
        TextTable table({QStringLiteral("Server id"), QStringLiteral("Client id"),
                         QStringLiteral("Difference"), QStringLiteral("Reason"),
                         QStringLiteral("Text")});
        for (const MessageDifference& one : check.differences) {
            table.addRow({one.serverId, one.clientId, one.what, one.reason, one.text});
        }
        answer.lines = table.lines(columns);
    }
    if (pushedAgain >= 0) {
        answer.lines.append(
            QStringLiteral("pushed again: %1").arg(countText(pushedAgain, "message")));
        json.insert(QStringLiteral("pushedAgain"), pushedAgain);
    }
    answer.lines.append(QStringLiteral("today's messages: server %1, table %2, memory %3; %4")
                            .arg(check.server)
                            .arg(check.table)
                            .arg(check.memory)
                            .arg(check.agrees()
                                     ? QStringLiteral("no differences")
                                     : countText(check.differences.size(), "difference")));
    if (check.memoryOnly > 0) {
        answer.lines.append(QStringLiteral("in memory only, raised without being stored: %1")
                                .arg(countText(check.memoryOnly, "notice")));
    }
    if (check.earlier > 0) {
        answer.lines.append(
            QStringLiteral("of earlier days, not compared: %1, of these in memory: %2")
                .arg(check.earlier)
                .arg(check.earlierInMemory));
    }
    answer.json = json;
    answer.isFault = !check.agrees();
    return answer;
}

QVariantMap pushedRow(const QVariantMap& serverRow) {
    QVariantMap row{{System::msgType, Velmar_MsgType::MessageCenterPushMsg}};
    for (auto it = serverRow.constBegin(); it != serverRow.constEnd(); ++it) {
        // An empty trading account would make the plug-in look for an account without a name.
        if (!it.value().toString().isEmpty()) {
            row.insert(it.key(), it.value());
        }
    }
    // The plug-in gives each message an id of its own.
    row.remove(System::clientMsgID);
    return row;
}

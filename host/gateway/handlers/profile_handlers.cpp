#include <QPair>
#include <QStringList>

#include "handler_families.h"
#include "server_users.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

// Texts by key that a user's clients store; the server does not interpret them.
inline const QString kTable = QStringLiteral("profile");
inline const QString kFuzzy = QStringLiteral("1");

/// User ids do not contain a slash, so no user's keys are a prefix of another user's.
QString recordKey(const QString& userId, const QString& profileKey) {
    return userId + QLatin1Char('/') + profileKey;
}

/// The record of the requested key; for a fuzzy request all records whose key begins with it,
/// sorted by key. Finding none is a success.
HandlerAnswer readProfile(const ServerCall& call) {
    const QString userId = call.text(UserAccount::userID);
    if (!findUser(call.store, userId)) {
        return HandlerAnswer::refused(QStringLiteral("用户%1不存在").arg(userId));
    }
    const QString key = recordKey(userId, call.text(System::profileKey));
    HandlerAnswer answer;
    if (call.text(System::fuzzy) != kFuzzy) {
        if (const auto record = call.state.record(kTable, key)) {
            answer.rows.append(*record);
        }
        return answer;
    }
    const auto records = call.state.records(kTable, key);
    for (const auto& record : records) {
        answer.rows.append(record.second);
    }
    return answer;
}

/// Why a row cannot be written; empty when it can.
QString refusalOf(const ServerCall& call, const QVariantMap& row) {
    static const QStringList writing{AlterType::create, AlterType::Add, AlterType::Update};
    const QString userId = row.value(UserAccount::userID).toString();
    const QString key = row.value(System::profileKey).toString();
    const QString type = row.value(Security::alterType).toString();
    if (!findUser(call.store, userId)) {
        return QStringLiteral("用户%1不存在").arg(userId);
    }
    if (key.isEmpty()) {
        return QStringLiteral("用户配置缺少键");
    }
    if (!writing.contains(type)) {
        return QStringLiteral("用户配置%1的操作类型不支持：\"%2\"").arg(key, type);
    }
    return {};
}

/// Either all rows are written or none. The answer has a row for each, with its key and status.
HandlerAnswer writeProfile(const ServerCall& call) {
    if (call.rows.isEmpty()) {
        return HandlerAnswer::refused(QStringLiteral("没有需要保存的用户配置"));
    }
    HandlerAnswer answer;
    QList<QPair<QString, QVariantMap>> records;
    for (const QVariantMap& row : call.rows) {
        const QString refusal = refusalOf(call, row);
        if (!refusal.isEmpty()) {
            return HandlerAnswer::refused(refusal);
        }
        QVariantMap record;
        for (const QString& field :
             {UserAccount::userID, System::profileKey, System::profileData, System::accessLevel}) {
            record.insert(field, row.value(field));
        }
        const QString key = row.value(System::profileKey).toString();
        records.append({recordKey(row.value(UserAccount::userID).toString(), key), record});
        answer.rows.append(
            {{System::profileKey, key}, {System::requestExeStatus, RequestExeStatus::success}});
    }
    QString error;
    if (!call.state.writeAll(kTable, records, &error)) {
        return HandlerAnswer::refused(QStringLiteral("用户配置保存失败"));
    }
    return answer;
}

}  // namespace

void addProfileHandlers(ServerHandlers& handlers) {
    handlers.insert(Quindar_MsgType::getUserProfileDataRequest, readProfile);
    handlers.insert(Velmar_MsgType::alterAllUserProfileDataAndSendKafkaRequest, writeProfile);
}

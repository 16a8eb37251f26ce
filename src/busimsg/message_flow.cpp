#include "message_flow.h"

#include "busi_msg_sink.h"
#include "log.h"
#include "message_record.h"
#include "message_store.h"
#include "product_account_reader.h"
#include "remind_settings.h"
#include "vocabulary/fields.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

constexpr const char* kAddTag = "ZnBusinessDataManager::AddBusiMsg";
constexpr const char* kRecvTag = "ZnBusinessDataManager::slotRecvBusiMsgPush";
constexpr const char* kMergeTag = "ZnBusinessDataManager::mergeQueriedBusiMsg";
constexpr int kKindParts = 3;  // type, sub-type, level

bool isRead(const QVariantMap& record) {
    return record.value(BusiMsgCenter::ReadStatus).toBool();
}

QString serverIdOf(const QVariantMap& record) {
    return record.value(BusiMsgCenter::ServerMsgId).toString();
}

using PopUpTree = QMap<QString, QMap<QString, QMap<QString, bool>>>;

/// Whether a message of this kind pops up. A type without settings always does, and a sub-type
/// without settings of its own has those of the type.
bool popsUp(const PopUpTree& tree, const QVariantMap& record) {
    static const QString wholeType = QStringLiteral("BASE");
    const auto type = tree.constFind(record.value(System::BusiMsgType).toString());
    if (type == tree.cend()) {
        return true;
    }
    const QString subType = record.value(System::BusiMsgSubType).toString();
    const bool hasOwn = !subType.isEmpty() && type->contains(subType);
    const auto levels = type->constFind(hasOwn ? subType : wholeType);
    return levels == type->cend() ||
           levels->value(record.value(System::BusiMsgLevel).toString(), true);
}

}  // namespace

void MessageFlow::AddBusiMsg(const QString& level, const QString& text, const QString& type,
                             const QString& subType, const QString& itemName,
                             const QString& itemValue, bool bSaveDb,
                             const QString& tradingAccount) {
    QVariantMap record{{System::BusiMsgLevel, level},     {System::BusiMsgType, type},
                       {System::BusiMsgSubType, subType}, {System::textDescription, text},
                       {System::itemName, itemName},      {System::itemValue, itemValue},
                       {BusiMsgCenter::SaveDB, bSaveDb}};
    if (!tradingAccount.isEmpty()) {
        record.insert(UserAccount::tradingAccount, tradingAccount);
    }
    if (!m_sink.busiMsgAdded(record)) {
        qCWarning(lcBusiMsg) << kAddTag << "there is no open presenter; the notice is lost";
    }
}

void MessageFlow::AddBusiMsg(const QString& key, const QString& text, const QString& itemName,
                             const QString& itemValue, bool bSaveDb,
                             const QString& tradingAccount) {
    QStringList kind = m_remindSettings.typeDictEntry(key);
    if (kind.size() < kKindParts) {
        kind = QStringList{QString(), QString(), QString()};
    }
    const QString& type = kind.at(0);
    const QString& subType = kind.at(1);
    const QString& level = kind.at(2);
    if (type.isEmpty() || level.isEmpty()) {
        qCWarning(lcBusiMsg).noquote() << kAddTag
                                       << QStringLiteral(
                                              "消息类型转换失败，消息枚举类型：%"
                                              "1，转换后消息类型：%2，消息子类：%3，消息等级：%4")
                                              .arg(key, type, subType, level);
    }
    AddBusiMsg(level, text, type, subType, itemName, itemValue, bSaveDb, tradingAccount);
}

void MessageFlow::slotRecvBusiMsgPush(const QVariantMap& dataMap, bool bInDb) {
    const QString clientId = dataMap.value(System::clientMsgID).toString();
    if (clientId.isEmpty()) {
        qCInfo(lcBusiMsg) << kRecvTag << "a message without a client id is dropped";
        return;
    }
    QVariantMap record = dataMap;
    if (record.contains(UserAccount::tradingAccount) &&
        !record.contains(UserAccount::productAccount)) {
        const std::optional<QString> product =
            m_accounts.productAccountOf(record.value(UserAccount::tradingAccount).toString());
        if (!product) {
            return;
        }
        record.insert(UserAccount::productAccount, *product);
    }
    const auto tables = m_store.m_busiMsgLock.write();
    // Only what is kept in the table is the server's; see clientIdOf().
    const QString serverId = bInDb ? serverIdOf(record) : QString();
    if (!serverId.isEmpty()) {
        const QString known = tables->m_serverMsgIdMap.value(serverId, clientId);
        if (known != clientId) {
            takePosition(*tables, known, record);
            return;
        }
    }
    forgetServerIdOf(*tables, clientId);
    if (!serverId.isEmpty()) {
        tables->m_serverMsgIdMap.insert(serverId, clientId);
    }
    tables->m_busiMsgMap.insert(clientId, record);
    if (bInDb) {
        m_store.appendBusiMsg(record, true);
    }
}

void MessageFlow::forgetServerIdOf(BusiMsgTables& tables, const QString& clientId) {
    const QString serverId = serverIdOf(tables.m_busiMsgMap.value(clientId));
    if (tables.m_serverMsgIdMap.value(serverId) == clientId) {
        tables.m_serverMsgIdMap.remove(serverId);
    }
}

void MessageFlow::takePosition(BusiMsgTables& tables, const QString& clientId,
                               const QVariantMap& record) {
    const auto stored = tables.m_busiMsgMap.find(clientId);
    if (stored == tables.m_busiMsgMap.end() ||
        record.value(System::positionStr).toString().isEmpty()) {
        return;
    }
    stored->insert(System::positionStr, record.value(System::positionStr));
    m_store.appendBusiMsg(*stored, false);
}

void MessageFlow::mergeQueriedBusiMsg(const QList<QVariantMap>& rows) {
    CBusinessDataBase* const platform = CBusinessDataBase::GetInstance();
    const QDateTime now = platform->getCurrentBusinessDateTime();
    QList<QVariantMap> added;
    int empty = 0;
    int unknown = 0;
    auto tables = m_store.m_busiMsgLock.write();
    for (const QVariantMap& row : rows) {
        if (!hasMessageFields(row)) {
            ++empty;
            continue;
        }
        const QString serverId = serverIdOf(row);
        if (serverId.isEmpty() && tables->m_hasMerged) {
            ++unknown;
            continue;
        }
        const auto known = tables->m_serverMsgIdMap.constFind(serverId);
        if (!serverId.isEmpty() && known != tables->m_serverMsgIdMap.cend()) {
            takePosition(*tables, known.value(), row);
            continue;
        }
        QVariantMap record = row;
        const QString clientId = platform->getClientOrderID();
        record.insert(System::clientMsgID, clientId);
        record.insert(System::createTime, timeOfQueriedMessage(row.value(System::createTime), now));
        record.insert(BusiMsgCenter::ReadStatus, isRead(row));
        if (!serverId.isEmpty()) {
            tables->m_serverMsgIdMap.insert(serverId, clientId);
        }
        tables->m_busiMsgMap.insert(clientId, record);
        m_store.appendBusiMsg(record, true);
        added.append(record);
    }
    tables->m_hasMerged = tables->m_hasMerged || !rows.isEmpty();
    tables.unlock();
    if (empty > 0) {
        qCInfo(lcBusiMsg) << kMergeTag << empty << "rows without a message are dropped";
    }
    if (unknown > 0) {
        qCInfo(lcBusiMsg) << kMergeTag << unknown
                          << "rows without a server id are skipped, an earlier query brought them";
    }
    for (const QVariantMap& record : qAsConst(added)) {
        logMissingFields(record);
    }
}

QString MessageFlow::clientIdOf(const QString& serverMsgId) const {
    const auto tables = m_store.m_busiMsgLock.read();
    return tables->m_serverMsgIdMap.value(serverMsgId);
}

QList<QVariantMap> MessageFlow::GetAllBusiMsgList() const {
    const auto tables = m_store.m_busiMsgLock.read();
    return tables->m_busiMsgMap.values();
}

QList<QVariantMap> MessageFlow::GetUnreadBusiMsgList() const {
    QList<QVariantMap> unread;
    const auto tables = m_store.m_busiMsgLock.read();
    for (const QVariantMap& record : tables->m_busiMsgMap) {
        if (!isRead(record)) {
            unread.append(record);
        }
    }
    return unread;
}

QList<QVariantMap> MessageFlow::GetRemindBusiMsgList() const {
    QList<QVariantMap> reminders;
    if (m_remindSettings.GetNoMoreRemindInDayFlag()) {
        return reminders;
    }
    const PopUpTree tree = m_remindSettings.popUpTree();
    const auto tables = m_store.m_busiMsgLock.read();
    for (const QVariantMap& record : tables->m_busiMsgMap) {
        if (!isRead(record) && popsUp(tree, record)) {
            reminders.append(record);
        }
    }
    return reminders;
}

bool MessageFlow::IsBusiMsgRead(const QString& clientMsgId) const {
    const auto tables = m_store.m_busiMsgLock.read();
    return isRead(tables->m_busiMsgMap.value(clientMsgId));
}

bool MessageFlow::SetBusiMsgRead(const QString& clientMsgId) {
    const auto tables = m_store.m_busiMsgLock.write();
    const auto stored = tables->m_busiMsgMap.find(clientMsgId);
    if (stored == tables->m_busiMsgMap.end()) {
        return false;
    }
    if (!isRead(*stored)) {
        stored->insert(BusiMsgCenter::ReadStatus, true);
        // Under the lock, so that the update is queued behind the row that it changes and in the
        // order of the changes. The receivers take the writer's mutex at most.
        const QVariantMap record = *stored;
        m_sink.busiMsgRead(record);
    }
    return true;
}

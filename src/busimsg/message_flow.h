#pragma once

#include <QList>
#include <QString>
#include <QVariantMap>

class BusiMsgSink;
struct BusiMsgTables;
class MessageStore;
class ProductAccountReader;
class RemindSettings;

/// Takes business messages in and answers the questions about them. Any thread; no operation waits
/// for the server or for SQL.
class MessageFlow {
public:
    MessageFlow(MessageStore& store, RemindSettings& remindSettings,
                const ProductAccountReader& accounts, BusiMsgSink& sink)
        : m_store(store), m_remindSettings(remindSettings), m_accounts(accounts), m_sink(sink) {}

    void AddBusiMsg(const QString& level, const QString& text, const QString& type,
                    const QString& subType, const QString& itemName, const QString& itemValue,
                    bool bSaveDb, const QString& tradingAccount);
    void AddBusiMsg(const QString& key, const QString& text, const QString& itemName,
                    const QString& itemValue, bool bSaveDb, const QString& tradingAccount);

    /// Stores a message that has its client id; `bInDb` also queues it for the table. Of a message
    /// of the server that is already there only the position is taken. Without a record of its
    /// trading account a message is dropped.
    void slotRecvBusiMsgPush(const QVariantMap& dataMap, bool bInDb);
    /// Stores the rows of the catch-up query; of those that are already there only the position is
    /// taken. Rows without a server id are skipped when an earlier catch-up has brought rows, as
    /// they cannot be recognised.
    void mergeQueriedBusiMsg(const QList<QVariantMap>& rows);
    /// The client id under which a message of the server is kept; empty for an unknown one.
    QString clientIdOf(const QString& serverMsgId) const;

    QList<QVariantMap> GetAllBusiMsgList() const;
    QList<QVariantMap> GetUnreadBusiMsgList() const;
    QList<QVariantMap> GetRemindBusiMsgList() const;
    bool IsBusiMsgRead(const QString& clientMsgId) const;
    bool SetBusiMsgRead(const QString& clientMsgId);

private:
    /// Removes the server id of a message that another one is about to replace. With m_busiMsgLock
    /// held for writing.
    static void forgetServerIdOf(BusiMsgTables& tables, const QString& clientId);
    /// Gives the message `clientId` the position of `record`. With m_busiMsgLock held for writing.
    void takePosition(BusiMsgTables& tables, const QString& clientId, const QVariantMap& record);

    MessageStore& m_store;
    RemindSettings& m_remindSettings;
    const ProductAccountReader& m_accounts;
    BusiMsgSink& m_sink;
};

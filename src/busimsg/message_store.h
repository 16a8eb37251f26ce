#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QVariantMap>
#include <memory>

#include "guarded.h"
#include "message_writer_sink.h"

class Clock;
class VelmarBusiMsgDataBase;

/// The messages in memory.
struct BusiMsgTables {
    QMap<QString, QVariantMap> m_busiMsgMap;  ///< every message since the start by client id
    QMap<QString, QString> m_serverMsgIdMap;  ///< server id to client id
    bool m_busiMsgCenterReady = false;        ///< the load at the start has ended
    QString m_busiMsgMaxPos;                  ///< largest position of the rows that were loaded
    bool m_hasMerged = false;                 ///< a catch-up query has brought rows
};

/// The day's business messages: in memory for readers, and in the table "BUSI_MSG_CENTER" of the
/// work database, so that a restart on the same day brings them back. Locks: m_busiMsgLock, then
/// the writer's mutex.
class MessageStore final : public MessageWriterSink {
public:
    explicit MessageStore(const Clock& clock);
    /// Ends the writer after a last write, and waits for it.
    ~MessageStore() override;

    /// Starts the writer thread. One caller at a time; does not wait.
    void startWriter();
    /// Creates the table if it is missing, deletes the rows of earlier days and loads the rest.
    /// Blocks for the disk. Whatever fails is logged; the load has ended all the same.
    void initBusiMsgCenterData();

    /// The largest position of the rows that were loaded. Returns false before the load has ended.
    /// Any thread.
    bool getBusiMsgPos(QString& pos) const;
    /// Queues a message for the table: as a new row, or as an update of the read state and the
    /// position. Any thread, m_busiMsgLock may be held; does not wait for SQL. The writer ends with
    /// the host: after LocalPlatform::close(), also when the host starts again, messages are queued
    /// and not written until startWriter(); the first one logs a warning.
    void appendBusiMsg(const QVariantMap& record, bool bInsert);
    /// Queues the update of a message that was marked read. As appendBusiMsg().
    void saveBusiMsgRead(const QVariantMap& record);

    /// Writes messages as new rows, 100 in a statement. Those that fail are not in the table; a log
    /// line contains their number. Called by the writer.
    void insertToDataBase(const QList<QVariantMap>& rows) override;
    /// Writes the read state and the position of messages. Called by the writer.
    void updateToDataBase(const QList<QVariantMap>& rows) override;

    Guarded<BusiMsgTables> m_busiMsgLock{"m_busiMsgLock", LockRank::BusiMsg};

private:
    QString valuesOf(const QVariantMap& record) const;

    const Clock& m_clock;
    const std::unique_ptr<VelmarBusiMsgDataBase> m_writer;
};

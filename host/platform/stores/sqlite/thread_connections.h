#pragma once

#include <QString>
#include <QStringList>
#include <QVariantList>
#include <functional>
#include <memory>

#include "platform_export.h"
#include "sqlite_connection.h"

/// Connections to one SQLite database, one for each thread that uses it, since no connection may
/// cross threads. Each is closed when its thread or this object ends, whichever is first. Any
/// thread; the owner destroys it only when no other thread is inside run().
class PLATFORM_API ThreadConnections {
public:
    /// `options` are those of QSqlDatabase::setConnectOptions(). `setUp` are statements that every
    /// new connection runs first.
    ThreadConnections(const QString& database, const QString& options,
                      const QStringList& setUp = {});
    ~ThreadConnections();
    Q_DISABLE_COPY(ThreadConnections)

    /// The calling thread's connection, opened at its first use; null with the fault on failure.
    std::shared_ptr<const SqliteConnection> forThisThread(DatabaseFault* fault);
    /// Runs one statement on the calling thread's connection, see SqliteConnection::run().
    DatabaseFault run(const QString& sql, const QVariantList& values,
                      const std::function<void(const QSqlQuery&)>& onRow);
    /// Opens one more connection, which stays open until this object ends.
    DatabaseFault openForGood();
    /// The number of open connections.
    int count() const;

private:
    class Pool;
    class OfThread;

    const std::shared_ptr<Pool> m_pool;
};

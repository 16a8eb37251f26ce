#pragma once

#include <QString>
#include <QVariantList>
#include <functional>
#include <memory>

class QSqlQuery;

/// Connections to one SQLite database, one per thread that asks, since none may cross threads. Each
/// goes with its thread or with this object, whichever ends first. Any thread; whoever destroys it
/// sees to it that no other thread uses a connection then.
class ThreadConnections {
public:
    /// `options` are those of QSqlDatabase::setConnectOptions().
    ThreadConnections(const QString& database, const QString& options);
    ~ThreadConnections();
    Q_DISABLE_COPY(ThreadConnections)

    /// The name of the calling thread's connection, opened at its first use; empty with a text on
    /// failure.
    QString forThisThread(QString* reason);
    /// Runs one statement on the calling thread's connection and hands each row over, if anybody
    /// wants them. False with a text on failure; rows that came before it have been handed over.
    bool run(const QString& sql, const QVariantList& values,
             const std::function<void(const QSqlQuery&)>& onRow, QString* reason);
    /// Opens one more, which stays open until this object ends. Its name; empty with a text.
    QString openForGood(QString* reason);
    /// Connections that stand open.
    int count() const;

private:
    class Pool;
    class OfThread;

    const std::shared_ptr<Pool> m_pool;
};

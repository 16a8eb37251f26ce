#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

#include "platform_export.h"

class ThreadConnections;
struct DatabaseFault;

/// The SQL work database: one SQLite file for each login, which the first use decides. Any thread;
/// each thread gets a connection of its own, which is closed when the thread or the database ends.
/// The operations block for the disk, and while another thread writes. Outside of open() and
/// close() they fail with a log line.
class PLATFORM_API WorkDatabase {
public:
    WorkDatabase();
    ~WorkDatabase();
    Q_DISABLE_COPY(WorkDatabase)

    struct Options {
        QString folder;  ///< of the files; made at the first use
        /// Called on any thread at the first use, by each of the threads that come first.
        std::function<QString()> login;
        /// How long a statement waits while another process or thread holds the file.
        std::chrono::milliseconds busyLimit = std::chrono::seconds(5);
    };

    /// Opens no file yet. Closes what was open before.
    void open(const Options& options);
    /// Waits for the operations under way, at most 10 s, and closes every connection.
    void close();

    /// Executes the statements in one transaction, each on its own: one that fails is logged and
    /// the others stay. Returns the number of rows changed, those of triggers included.
    int updateAll(const QStringList& statements);
    /// Executes one statement. Returns the number of rows changed, -1 on failure.
    int update(const QString& statement);
    /// The rows of a query, each a QVariantMap by column name; empty on failure.
    QList<QVariant> rows(const QString& statement);

    /// The file that the first use decided on; empty before.
    QString file() const;
    /// The number of open connections.
    int connectionCount() const;

private:
    class Use;

    bool enter(Use& use, QString* why);
    void leave();
    void chooseFile(std::unique_lock<std::mutex>& lock);
    DatabaseFault openFileLocked();

    mutable std::mutex m_lock;  // guards everything below; held while the file is checked
    std::condition_variable m_idle;
    Options m_options;
    bool m_isOpen = false;
    int m_users = 0;  // operations under way
    QString m_file;
    std::shared_ptr<ThreadConnections> m_connections;
};

#include "thread_connections.h"

#include <QPair>
#include <QVector>
#include <algorithm>
#include <mutex>
#include <set>

/// The open connections. It outlives its owner while a thread that uses it lives, so that either
/// end can close them.
class ThreadConnections::Pool {
public:
    using Connection = std::shared_ptr<const SqliteConnection>;

    Pool(const QString& database, const QString& options, const QStringList& setUp)
        : m_database(database), m_options(options), m_setUp(setUp) {}

    Connection open(DatabaseFault* fault) {
        auto connection = std::make_shared<const SqliteConnection>(m_database, m_options);
        *fault = connection->openFault();
        for (auto statement = m_setUp.cbegin(); !*fault && statement != m_setUp.cend();
             ++statement) {
            *fault = connection->run(*statement, {}, {});
        }
        if (*fault) {
            return nullptr;
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_connections.insert(connection);
        return connection;
    }

    /// Closes the connection within the lock, so that closeAll() has either closed it itself or
    /// waits until it is closed. Does nothing for one that is closed already.
    void close(const std::weak_ptr<const SqliteConnection>& closing) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const Connection connection = closing.lock();  // the last one to hold it after the erase
        m_connections.erase(connection);
    }

    void closeAll() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_connections.clear();
    }

    int count() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return static_cast<int>(m_connections.size());
    }

private:
    const QString m_database;
    const QString m_options;
    const QStringList m_setUp;
    mutable std::mutex m_mutex;  // guards m_connections
    std::set<Connection> m_connections;
};

namespace {

// Set by the destructor of a thread's connections; the thread may still use a connection in the
// destructors of static objects, after its own objects are gone.
thread_local bool t_threadEnded = false;

}  // namespace

/// The connections of the thread that owns this; closes those that are still open at its end.
class ThreadConnections::OfThread {
public:
    ~OfThread() {
        t_threadEnded = true;
        for (const Entry& entry : m_entries) {
            if (const auto pool = entry.first.lock()) {
                pool->close(entry.second);
            }
        }
    }

    Pool::Connection of(const std::shared_ptr<Pool>& pool, DatabaseFault* fault) {
        dropClosedPools();
        for (const Entry& entry : m_entries) {
            if (entry.first.lock() == pool) {
                return entry.second.lock();
            }
        }
        Pool::Connection connection = pool->open(fault);
        if (connection) {
            m_entries.append({pool, connection});
        }
        return connection;
    }

private:
    // Weak on both sides: the pool closes the connections when its owner ends.
    using Entry = QPair<std::weak_ptr<Pool>, std::weak_ptr<const SqliteConnection>>;

    void dropClosedPools() {
        const auto closed = [](const Entry& entry) { return entry.first.expired(); };
        m_entries.erase(std::remove_if(m_entries.begin(), m_entries.end(), closed),
                        m_entries.end());
    }

    QVector<Entry> m_entries;
};

ThreadConnections::ThreadConnections(const QString& database, const QString& options,
                                     const QStringList& setUp)
    : m_pool(std::make_shared<Pool>(database, options, setUp)) {}

ThreadConnections::~ThreadConnections() {
    m_pool->closeAll();
}

std::shared_ptr<const SqliteConnection> ThreadConnections::forThisThread(DatabaseFault* fault) {
    if (t_threadEnded) {
        return m_pool->open(fault);
    }
    static thread_local OfThread ofThread;
    return ofThread.of(m_pool, fault);
}

DatabaseFault ThreadConnections::run(const QString& sql, const QVariantList& values,
                                     const std::function<void(const QSqlQuery&)>& onRow) {
    DatabaseFault fault;
    const auto connection = forThisThread(&fault);
    return connection ? connection->run(sql, values, onRow) : fault;
}

DatabaseFault ThreadConnections::openForGood() {
    DatabaseFault fault;
    m_pool->open(&fault);
    return fault;
}

int ThreadConnections::count() const {
    return m_pool->count();
}

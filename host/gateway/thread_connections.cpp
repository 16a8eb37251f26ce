#include "thread_connections.h"

#include <QPair>
#include <QSet>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVector>
#include <algorithm>
#include <atomic>
#include <mutex>

/// The names of the open connections. It outlives its owner while a thread that has one lives, so
/// that either end can close them.
class ThreadConnections::Pool {
public:
    Pool(const QString& database, const QString& options)
        : m_database(database), m_options(options) {}

    QString open(QString* reason) {
        static std::atomic<quint64> serial{0};
        QString name = QStringLiteral("sqlite-%1").arg(++serial);
        const std::lock_guard<std::mutex> lock(m_mutex);
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        db.setConnectOptions(m_options);
        db.setDatabaseName(m_database);
        if (db.open()) {
            m_names.insert(name);
            return name;
        }
        *reason = db.lastError().text();
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(name);
        return {};
    }

    void close(const QString& name) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_names.remove(name)) {
            QSqlDatabase::removeDatabase(name);
        }
    }

    void closeAll() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (const QString& name : qAsConst(m_names)) {
            QSqlDatabase::removeDatabase(name);
        }
        m_names.clear();
    }

    int count() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_names.size();
    }

private:
    const QString m_database;
    const QString m_options;
    mutable std::mutex m_mutex;  // guards m_names
    QSet<QString> m_names;
};

/// What the thread that owns it has open; closes the rest when the thread ends.
class ThreadConnections::OfThread {
public:
    ~OfThread() {
        for (const Entry& entry : m_entries) {
            if (const auto pool = entry.first.lock()) {
                pool->close(entry.second);
            }
        }
    }

    QString nameFor(const std::shared_ptr<Pool>& pool, QString* reason) {
        dropClosedPools();
        for (const Entry& entry : m_entries) {
            if (entry.first.lock() == pool) {
                return entry.second;
            }
        }
        QString name = pool->open(reason);
        if (!name.isEmpty()) {
            m_entries.append({pool, name});
        }
        return name;
    }

private:
    using Entry = QPair<std::weak_ptr<Pool>, QString>;

    void dropClosedPools() {
        const auto closed = [](const Entry& entry) { return entry.first.expired(); };
        m_entries.erase(std::remove_if(m_entries.begin(), m_entries.end(), closed),
                        m_entries.end());
    }

    QVector<Entry> m_entries;
};

ThreadConnections::ThreadConnections(const QString& database, const QString& options)
    : m_pool(std::make_shared<Pool>(database, options)) {}

ThreadConnections::~ThreadConnections() {
    m_pool->closeAll();
}

QString ThreadConnections::forThisThread(QString* reason) {
    static thread_local OfThread ofThread;
    return ofThread.nameFor(m_pool, reason);
}

bool ThreadConnections::run(const QString& sql, const QVariantList& values,
                            const std::function<void(const QSqlQuery&)>& onRow, QString* reason) {
    const QString name = forThisThread(reason);
    if (name.isEmpty()) {
        return false;
    }
    QSqlQuery query(QSqlDatabase::database(name, false));
    query.setForwardOnly(true);
    bool done = query.prepare(sql);
    for (const QVariant& value : values) {
        query.addBindValue(value);
    }
    done = done && query.exec();
    while (done && query.next()) {
        if (onRow) {
            onRow(query);
        }
    }
    if (!done || query.lastError().isValid()) {
        *reason = query.lastError().text();
        return false;
    }
    return true;
}

QString ThreadConnections::openForGood(QString* reason) {
    return m_pool->open(reason);
}

int ThreadConnections::count() const {
    return m_pool->count();
}

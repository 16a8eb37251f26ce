#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QVariantList>
#include <QVariantMap>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

#include "thread_connections.h"

class QSqlQuery;

/// What clients have written: named tables of records by key, each value kept with its type. It has
/// a SQLite file of its own, so that making a market anew does not lose it. Any thread; each call
/// reads or writes the file and is done when it returns.
class ServerState {
public:
    /// Opens the file and makes it when there is none; with an empty name it lives in memory, as
    /// long as this object. Null with a text that names the file when it cannot be opened, is
    /// damaged or is no such file.
    static std::shared_ptr<ServerState> open(const QString& file, QString* error);
    /// The same as open() with an empty name, which has no reason to fail.
    static std::shared_ptr<ServerState> inMemory();
    Q_DISABLE_COPY(ServerState)

    /// The table's records whose key begins with the prefix, sorted by key. Empty, with a log line,
    /// when the file cannot be read.
    QList<QPair<QString, QVariantMap>> records(const QString& table,
                                               const QString& keyPrefix = {}) const;
    /// Nothing when there is none.
    std::optional<QVariantMap> record(const QString& table, const QString& key) const;
    /// Makes or replaces a record. False with a log line and a text on failure, which changes
    /// nothing.
    bool write(const QString& table, const QString& key, const QVariantMap& record, QString* error);
    /// The same for several records of a table: all of them are written or, on failure, none is.
    bool writeAll(const QString& table, const QList<QPair<QString, QVariantMap>>& records,
                  QString* error);
    /// Removes a record; one that is not there is none the worse. False as with write().
    bool remove(const QString& table, const QString& key, QString* error);

private:
    ServerState(const QString& file, const QString& database, const QString& options);
    bool prepare(QString* reason);
    bool checkFormat(QString* reason);
    bool makeTables(QString* reason);
    bool run(const QString& sql, const QVariantList& values, QString* reason,
             const std::function<void(const QSqlQuery&)>& onRow = {}) const;
    bool changed(bool done, const QString& reason, QString* error) const;

    const QString m_file;
    mutable ThreadConnections m_connections;
    mutable std::mutex m_mutex;  // one statement or transaction at a time, to its last row
};

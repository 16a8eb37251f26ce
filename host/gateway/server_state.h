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

/// What clients have written: named tables of records by key, each value kept with its type. It is
/// kept in a SQLite file of its own, so that rebuilding a market does not lose it. Any thread; each
/// call reads or writes the file before it returns.
class ServerState {
public:
    /// Opens the file, which is created when it is missing; with an empty name the state lives in
    /// memory, as long as this object. Null with a log line and a text that names the file, the
    /// reason and the remedy on failure.
    static std::shared_ptr<ServerState> open(const QString& file, QString* error);
    /// Why open() would fail on the file, in the same words; empty for a sound file and for a
    /// missing one. Neither creates nor changes it.
    static QString problemOf(const QString& file);
    /// The same as open() with an empty name; aborts the process on failure.
    static std::shared_ptr<ServerState> inMemory();
    Q_DISABLE_COPY(ServerState)

    /// The table's records whose key begins with the prefix, sorted by key. Empty, with a log line,
    /// when the file cannot be read.
    QList<QPair<QString, QVariantMap>> records(const QString& table,
                                               const QString& keyPrefix = {}) const;
    /// Those whose key is greater than one text and less than another, sorted by key: at most
    /// `limit` of them (negative for all), without the first `offset`. Keys compare by code points.
    /// False with a log line when the file cannot be read.
    bool between(const QString& table, const QString& after, const QString& before, int limit,
                 qint64 offset, QList<QPair<QString, QVariantMap>>* found) const;
    /// The number of the records between two keys; negative, with a log line, when the file cannot
    /// be read.
    int countBetween(const QString& table, const QString& after, const QString& before) const;
    /// Empty when there is no such record or, with a log line, when the file cannot be read.
    std::optional<QVariantMap> record(const QString& table, const QString& key) const;
    /// Creates or replaces a record. False with a log line and a text on failure; nothing is
    /// changed then.
    bool write(const QString& table, const QString& key, const QVariantMap& record, QString* error);
    /// The same for several records of a table: either all of them are written or none.
    bool writeAll(const QString& table, const QList<QPair<QString, QVariantMap>>& records,
                  QString* error);
    /// Removes a record, if it exists. False as with write().
    bool remove(const QString& table, const QString& key, QString* error);
    /// Removes the records between two keys, see between(). False as with write().
    bool removeBetween(const QString& table, const QString& after, const QString& before,
                       QString* error);

private:
    ServerState(const QString& file, const QString& database, const QString& options);
    /// Makes the tables of an empty database.
    DatabaseFault prepare();
    /// `isEmpty` is whether the database has no tables yet.
    DatabaseFault check(bool* isEmpty) const;
    DatabaseFault checkFormat(bool* isEmpty) const;
    DatabaseFault makeTables();
    /// Runs a query for keys and records and adds the readable ones to the list.
    bool collect(const QString& table, const QString& sql, const QVariantList& values,
                 QList<QPair<QString, QVariantMap>>* found) const;
    DatabaseFault run(const QString& sql, const QVariantList& values = {},
                      const std::function<void(const QSqlQuery&)>& onRow = {}) const;
    /// Whether a write succeeded; logs and sets the text when it did not.
    bool reportWrite(const DatabaseFault& fault, QString* error) const;

    const QString m_file;
    mutable ThreadConnections m_connections;
    mutable std::mutex m_mutex;  // one statement or transaction at a time, to its last row
};

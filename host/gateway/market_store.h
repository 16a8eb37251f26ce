#pragma once

#include <QMap>
#include <QPair>
#include <QString>
#include <QVariantList>
#include <QVariantMap>
#include <QVector>
#include <functional>
#include <memory>

#include "thread_connections.h"

class QSqlQuery;

/// Read access to one of the SQLite files of a market. Any thread, each through a connection of its
/// own, which is closed when the thread or the store ends. The owner closes the store only when no
/// other thread is inside select().
class MarketStore {
public:
    /// Opens a file for reading and checks it, see SealedDatabase::check(). Null with a log line
    /// and a text that names the file, the reason and the remedy on failure; `fault`, where given,
    /// gets the reason alone.
    static std::shared_ptr<const MarketStore> open(const QString& file, QString* error,
                                                   DatabaseFault* fault = nullptr);

    const QString& file() const { return m_file; }
    /// A value of the table `meta` as it was at opening; empty when absent.
    QString meta(const QString& key) const { return m_meta.value(key); }

    /// Runs one statement and hands over each row. False with a log line and a text on failure;
    /// rows that came before the failure have been handed over.
    bool select(const QString& sql, const QVariantList& values,
                const std::function<void(const QSqlQuery&)>& onRow, QString* error = nullptr) const;

    /// The number of open connections.
    int connectionCount() const;

private:
    explicit MarketStore(const QString& file);

    const QString m_file;
    QMap<QString, QString> m_meta;
    mutable ThreadConnections m_connections;
};

/// Columns of a table and the fields that they become.
using StoreColumns = QVector<QPair<QString, QString>>;

/// The columns' names, joined for a SELECT.
QString columnList(const StoreColumns& columns);
/// The current row as a record; its first columns are those of columnList().
QVariantMap recordOf(const QSqlQuery& query, const StoreColumns& columns);
/// "?,?,?", a "?" for each value.
QString placeholders(int count);

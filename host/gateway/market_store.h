#pragma once

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
/// own, which goes with the thread or with the store, whichever ends first. Whoever closes the
/// store sees to it that no other thread is inside select().
class MarketStore {
public:
    /// The layout of the files; a file of another one is refused.
    static QString format();

    /// Opens a file for reading, checks that it is whole, that its making came to its end and that
    /// it is of this layout. Null with a text that names the file otherwise. A small file is
    /// checked page by page; of a large one its size and its seal are, which do not cover every
    /// page of its large tables (see database_seal.h). Blocks for some ten milliseconds, whatever
    /// the size.
    static std::shared_ptr<const MarketStore> open(const QString& file, QString* error);

    const QString& file() const { return m_file; }
    /// A value of the table `meta` as it was at opening; empty when absent.
    QString meta(const QString& key) const { return m_meta.value(key).toString(); }

    /// Runs one statement and hands each row over. False with a log line and a text on failure;
    /// rows that came before the failure have been handed over.
    bool select(const QString& sql, const QVariantList& values,
                const std::function<void(const QSqlQuery&)>& onRow, QString* error = nullptr) const;

    /// Connections that stand open.
    int connectionCount() const;

private:
    explicit MarketStore(const QString& file);
    bool checkPages(QString* reason) const;
    bool checkSeal(QString* reason) const;
    QString pageFault() const;
    bool loadMeta(QString* reason);

    QString m_file;
    QVariantMap m_meta;
    mutable ThreadConnections m_connections;
};

/// Columns of a table and the fields that they become.
using StoreColumns = QVector<QPair<QString, QString>>;

/// The columns' names, joined for a SELECT.
QString columnList(const StoreColumns& columns);
/// The current row as a record; its first columns are those of columnList().
QVariantMap recordOf(const QSqlQuery& query, const StoreColumns& columns);
/// "?,?,?", so many of them.
QString placeholders(int count);

#pragma once

#include <QHash>
#include <QSqlQuery>
#include <QString>
#include <QVariantList>
#include <memory>

#include "sqlite_connection.h"

/// Writes one SQLite file, the same bytes for the same calls. One thread. After a failure every
/// further call fails, with the first error kept.
class MarketFile {
public:
    explicit MarketFile(const QString& path);
    /// Closes the file. Without finish() it lacks the mark that it is complete.
    ~MarketFile();
    Q_DISABLE_COPY(MarketFile)

    /// Creates the file, in place of an older one, and runs the statements of a schema's resource.
    bool create(const QString& schema);
    /// Runs the statements of another resource.
    bool runSchema(const QString& schema);
    /// One row, its values in the order of the table's columns. A null text becomes an empty one.
    bool insert(const QString& table, const QVariantList& values);
    /// Any other statement, kept prepared for the next call with the same text; `rows`, where
    /// given, gets the number of rows that it wrote.
    bool execute(const QString& statement, const QVariantList& values = {}, int* rows = nullptr);
    /// Writes the marks, the one that the file is complete last, and commits.
    bool finish(const QList<QPair<QString, QString>>& marks);

    const QString& error() const { return m_error; }

private:
    bool run(const QString& statement);
    QSqlQuery* prepared(QHash<QString, QSqlQuery>& cache, const QString& key,
                        const QString& statement);
    bool fail(const DatabaseFault& fault);
    bool fail(const QSqlQuery& query);
    QSqlQuery newQuery() const;
    bool commit();
    /// Commits the rows and begins the transaction of the last marks, the seal among them.
    bool seal();
    void close();

    const QString m_path;
    std::unique_ptr<SqliteConnection> m_connection;
    QString m_error;
    QHash<QString, QSqlQuery> m_inserts;     // by table
    QHash<QString, QSqlQuery> m_statements;  // by text
};

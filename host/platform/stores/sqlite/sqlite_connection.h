#pragma once

#include <QString>
#include <QVariantList>
#include <functional>

#include "database_fault.h"
#include "platform_export.h"

class QSqlQuery;

/// One connection to a SQLite file, open for the life of this object. SQLite binds a connection to
/// the thread that opened it: only that thread may run statements, any may destroy the object.
class PLATFORM_API SqliteConnection {
public:
    /// Opens the database; `options` are those of QSqlDatabase::setConnectOptions().
    explicit SqliteConnection(const QString& database, const QString& options = QString());
    ~SqliteConnection();
    Q_DISABLE_COPY(SqliteConnection)

    /// Opens for reading only.
    static QString readOnly() { return QStringLiteral("QSQLITE_OPEN_READONLY"); }

    /// What kept it from being opened; none when it stands open.
    const DatabaseFault& openFault() const { return m_openFault; }
    /// For QSqlDatabase::database().
    const QString& name() const { return m_name; }

    /// Runs one statement and hands over each row, where `onRow` is not empty. Rows that came
    /// before a failure have been handed over.
    DatabaseFault run(const QString& sql, const QVariantList& values,
                      const std::function<void(const QSqlQuery&)>& onRow) const;

    /// What SQLite finds wrong with any page. Reads the whole file.
    DatabaseFault checkPages() const;
    /// The same, and whether each index has the rows of its table: with a wrong one SQLite would
    /// write a row with the same key twice. Takes longer.
    DatabaseFault checkPagesAndIndexes() const;

private:
    DatabaseFault checkBy(const QString& sql) const;

    const QString m_database;
    const QString m_name;
    DatabaseFault m_openFault;
};

#pragma once

#include <QList>
#include <QSqlQuery>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

#include "database_fault.h"

class SqliteConnection;

/// Executes the statements of one call on a connection of the calling thread. What fails is logged.
class WorkStatements {
public:
    /// `file` is the name for log lines.
    WorkStatements(const SqliteConnection& connection, const QString& file);

    /// Executes the statements in one transaction; a statement that fails loses only itself. Where
    /// SQLite takes the whole transaction back, as it may on a full disk, the other statements
    /// are executed one by one. Returns the rows changed.
    int updateAll(const QStringList& statements);
    /// Returns the rows changed, -1 on failure.
    int update(const QString& statement);
    /// The rows, each a QVariantMap by column name; empty on failure.
    QList<QVariant> rows(const QString& statement);

private:
    bool command(const QString& sql);
    bool execute(const QStringList& statements, int index);
    bool executeOne(const QString& statement);
    int executeOneByOne(const QStringList& statements, const QVector<int>& indexes);
    bool hasBeenRolledBack();
    int totalChanges();
    void logLost(const QStringList& statements, int index, const QString& why);
    void logLeftOut(int total) const;
    void logFault(const QString& consequence) const;

    const QString m_file;
    QSqlQuery m_query;
    DatabaseFault m_fault;  // of the statement executed last
    QString m_reason;       // the same, for a log line
    int m_lost = 0;
};

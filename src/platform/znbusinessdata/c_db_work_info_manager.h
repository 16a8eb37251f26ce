#pragma once

#include <QList>
#include <QStringList>
#include <QVariant>

#include "platform_export.h"

class ZnSqlQuery;

/// The SQL work database of the user who is logged in: a SQLite file below the user's folder. The
/// login at the first use decides on the file, until the host closes. Any thread, each with a
/// connection of its own. The operations block for the disk, and up to 5 s while another thread or
/// process writes. They fail with a log line before the host has started and after it has closed.
class PLATFORM_API CDBWorkInfoManager {
public:
    static CDBWorkInfoManager* getInstance();

    /// Executes the statements in order, in one transaction; a statement that fails is logged and
    /// the others stay, also where the database takes the whole transaction back: then the others
    /// are executed one by one. A text of more than one statement fails. Returns the number of rows
    /// changed, those of triggers included; 0 when the database cannot be used.
    int executeUpdate(QStringList statements);
    /// Executes one statement. Returns the number of rows changed, -1 with a log line on failure.
    int executeUpdate(ZnSqlQuery& query);
    /// The rows of a query, each a QVariantMap by column name; empty, with a log line, on failure.
    QList<QVariant> executeQuery(ZnSqlQuery& query);

private:
    CDBWorkInfoManager() = default;
};

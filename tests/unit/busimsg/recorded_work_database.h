#pragma once

#include <QList>
#include <QStringList>
#include <QVariant>
#include <functional>

#include "znbusinessdata/c_db_work_info_manager.h"
#include "zndatabase/zn_sql_query.h"

/// What the store asked the work database to do. The functions below take the place of the
/// platform's in a test program that includes this header, so that calls are seen one by one.
struct RecordedWorkDatabase {
    QStringList single;        ///< texts of executeUpdate(ZnSqlQuery&)
    QStringList queries;       ///< texts of executeQuery()
    QList<QStringList> lists;  ///< statements of each executeUpdate(QStringList)
    QList<QVariant> rows;      ///< what a query returns
    /// Returns the rows that a list has changed.
    std::function<int(const QStringList&)> changed = [](const QStringList&) { return 0; };
    std::function<void()> beforeQueryReturns = [] {};

    static RecordedWorkDatabase& instance() {
        static RecordedWorkDatabase database;
        return database;
    }
};

// In place of the platform's own; not inline, or the compiler would leave them out. Each test is
// one source, so they are defined once. NOLINTBEGIN(misc-definitions-in-headers)
CDBWorkInfoManager* CDBWorkInfoManager::getInstance() {
    static CDBWorkInfoManager manager;
    return &manager;
}

int CDBWorkInfoManager::executeUpdate(QStringList statements) {
    RecordedWorkDatabase::instance().lists.append(statements);
    return RecordedWorkDatabase::instance().changed(statements);
}

int CDBWorkInfoManager::executeUpdate(ZnSqlQuery& query) {
    RecordedWorkDatabase::instance().single.append(query.text());
    return 0;
}

QList<QVariant> CDBWorkInfoManager::executeQuery(ZnSqlQuery& query) {
    RecordedWorkDatabase::instance().queries.append(query.text());
    RecordedWorkDatabase::instance().beforeQueryReturns();
    return RecordedWorkDatabase::instance().rows;
}
// NOLINTEND(misc-definitions-in-headers)

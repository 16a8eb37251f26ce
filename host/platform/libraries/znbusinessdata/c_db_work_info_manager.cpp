#include "znbusinessdata/c_db_work_info_manager.h"

#include "data_stores.h"
#include "never_destroyed.h"
#include "zndatabase/zn_sql_query.h"

CDBWorkInfoManager* CDBWorkInfoManager::getInstance() {
    return &neverDestroyed([] { return new CDBWorkInfoManager; });
}

int CDBWorkInfoManager::executeUpdate(QStringList statements) {
    return DataStores::workDatabase().updateAll(statements);
}

int CDBWorkInfoManager::executeUpdate(ZnSqlQuery& query) {
    return DataStores::workDatabase().update(query.text());
}

QList<QVariant> CDBWorkInfoManager::executeQuery(ZnSqlQuery& query) {
    return DataStores::workDatabase().rows(query.text());
}

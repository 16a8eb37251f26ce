#include "zndatabase/zn_sql_query.h"

#include "data_log.h"
#include "sql_text.h"

ZnSqlQuery::ZnSqlQuery() = default;

ZnSqlQuery::~ZnSqlQuery() = default;

bool ZnSqlQuery::prepare(const QString& sql) {
    const SqlText read = SqlText::read(sql);
    m_text = read.statement;
    if (read.refusal.isEmpty()) {
        return true;
    }
    qCWarning(lcPlatformData).noquote()
        << "an SQL text is refused:" << read.refusal << "-" << SqlText::head(sql);
    return false;
}

#include "message_store.h"

#include <QElapsedTimer>

#include "busi_msg_table.h"
#include "clock.h"
#include "log.h"
#include "message_record.h"
#include "velmar_busi_msg_data_base.h"
#include "vocabulary/fields.h"
#include "znbusinessdata/c_db_work_info_manager.h"
#include "zndatabase/zn_sql_query.h"

namespace {

constexpr const char* kLoadTag = "ZnBusinessDataManager::initBusiMsgCenterData";
constexpr const char* kInsertTag = "ZnBusinessDataManager::insertToDataBase";
constexpr const char* kUpdateTag = "ZnBusinessDataManager::updateToDataBase";
constexpr int kUpdatesPerCall = 10000;
constexpr int kMostAlteredLogged = 20;  // of one pass

// The work database logs a failure; the store goes on without the rows.
void executeUpdate(const QString& statement) {
    ZnSqlQuery query;
    query.prepare(statement);
    CDBWorkInfoManager::getInstance()->executeUpdate(query);
}

QList<QVariant> executeQuery(const QString& statement) {
    ZnSqlQuery query;
    query.prepare(statement);
    return CDBWorkInfoManager::getInstance()->executeQuery(query);
}

/// Warns of the messages in which a "%" before a digit is replaced.
void logAltered(const QList<QVariantMap>& rows) {
    int altered = 0;
    for (const QVariantMap& record : rows) {
        const QStringList marked = BusiMsgTable::fieldsWithPlaceMarker(record);
        if (!marked.isEmpty() && ++altered <= kMostAlteredLogged) {
            qCWarning(lcBusiMsg) << kInsertTag << "message"
                                 << logged(record.value(System::clientMsgID))
                                 << "contains % before a digit and is written altered; fields"
                                 << marked;
        }
    }
    if (altered > kMostAlteredLogged) {
        qCWarning(lcBusiMsg) << kInsertTag << altered << "of" << rows.size()
                             << "messages contain % before a digit and are written altered";
    }
}

/// Adds a row of the table.
void addRow(BusiMsgTables& tables, const QVariantMap& row) {
    const QVariantMap record = BusiMsgTable::recordOf(row);
    const QString clientMsgId = record.value(System::clientMsgID).toString();
    if (clientMsgId.isEmpty() || !record.value(System::createTime).toDateTime().isValid()) {
        qCWarning(lcBusiMsg) << kLoadTag << "a row lacks its id or its time:" << logged(clientMsgId)
                             << logged(row.value(QStringLiteral("time")));
    }
    tables.m_busiMsgMap.insert(clientMsgId, record);
    const QString serverMsgId = record.value(BusiMsgCenter::ServerMsgId).toString();
    if (!serverMsgId.isEmpty()) {
        tables.m_serverMsgIdMap.insert(serverMsgId, clientMsgId);
    }
    const QString position = record.value(System::positionStr).toString();
    QString& maximum = tables.m_busiMsgMaxPos;
    qCDebug(lcBusiMsg) << kLoadTag << position << maximum << position.size() << maximum.size();
    if (!position.isEmpty() && maximum < position) {
        maximum = position;
    }
}

}  // namespace

MessageStore::MessageStore(const Clock& clock)
    : m_clock(clock), m_writer(std::make_unique<VelmarBusiMsgDataBase>(*this)) {}

MessageStore::~MessageStore() {
    // The writer calls this object.
    m_writer->endAndJoin();
}

void MessageStore::startWriter() {
    m_writer->startWriting();
}

void MessageStore::initBusiMsgCenterData() {
    const QString create = BusiMsgTable::createStatement();
    qCDebug(lcBusiMsg).noquote() << kLoadTag << create;
    executeUpdate(create);

    const QString today = BusiMsgTable::dayText(m_clock.now().toLocalTime().date());
    executeUpdate(BusiMsgTable::deleteStatement(today));
    const QList<QVariant> rows = executeQuery(BusiMsgTable::selectStatement(today));

    const auto tables = m_busiMsgLock.write();
    for (const QVariant& row : rows) {
        const QVariantMap columns = row.toMap();
        if (columns.isEmpty()) {
            qCWarning(lcBusiMsg) << kLoadTag << "not a row:" << logged(row);
            continue;
        }
        addRow(*tables, columns);
    }
    tables->m_busiMsgCenterReady = true;
}

bool MessageStore::getBusiMsgPos(QString& pos) const {
    const auto tables = m_busiMsgLock.read();
    pos = tables->m_busiMsgMaxPos;
    return tables->m_busiMsgCenterReady;
}

void MessageStore::appendBusiMsg(const QVariantMap& record, bool bInsert) {
    m_writer->appendBusiMsg(record, bInsert);
}

void MessageStore::saveBusiMsgRead(const QVariantMap& record) {
    appendBusiMsg(record, false);
}

QString MessageStore::valuesOf(const QVariantMap& record) const {
    const QDateTime time = record.value(System::createTime).toDateTime();
    if (BusiMsgTable::isStorable(time)) {
        return BusiMsgTable::valuesOf(record);
    }
    // A column without a time of today's form would never be deleted.
    qCWarning(lcBusiMsg) << kInsertTag << "message" << logged(record.value(System::clientMsgID))
                         << "has no usable time and gets the present one:"
                         << logged(record.value(System::createTime));
    QVariantMap dated = record;
    dated.insert(System::createTime, m_clock.now());
    return BusiMsgTable::valuesOf(dated);
}

void MessageStore::insertToDataBase(const QList<QVariantMap>& rows) {
    if (rows.isEmpty()) {
        return;
    }
    QStringList values;
    values.reserve(rows.size());
    for (const QVariantMap& record : rows) {
        values.append(valuesOf(record));
    }
    logAltered(rows);
    QElapsedTimer timer;
    timer.start();
    const int changed =
        CDBWorkInfoManager::getInstance()->executeUpdate(BusiMsgTable::insertStatements(values));
    qCDebug(lcBusiMsg) << kInsertTag << rows.size() << timer.elapsed();
    const int lost = rows.size() - qMax(0, changed);
    if (lost > 0) {
        qCWarning(lcBusiMsg) << kInsertTag << lost << "of" << rows.size()
                             << "messages are not in the table";
    }
}

void MessageStore::updateToDataBase(const QList<QVariantMap>& rows) {
    if (rows.isEmpty()) {
        return;
    }
    QStringList statements;
    statements.reserve(rows.size());
    for (const QVariantMap& record : rows) {
        statements.append(BusiMsgTable::updateStatement(record));
    }
    QElapsedTimer timer;
    timer.start();
    for (int first = 0; first < statements.size(); first += kUpdatesPerCall) {
        CDBWorkInfoManager::getInstance()->executeUpdate(statements.mid(first, kUpdatesPerCall));
    }
    qCDebug(lcBusiMsg) << kUpdateTag << statements.size() << timer.elapsed();
}

#include "sqlite_connection.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <atomic>

namespace {

QString newName() {
    static std::atomic<quint64> serial{0};
    return QStringLiteral("velmar-sqlite-%1").arg(++serial);
}

}  // namespace

SqliteConnection::SqliteConnection(const QString& database, const QString& options)
    : m_database(database), m_name(newName()) {
    QSqlDatabase opened = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
    opened.setConnectOptions(options);
    opened.setDatabaseName(database);
    if (!opened.open()) {
        m_openFault = DatabaseFault::of(opened.lastError(), database);
    }
}

SqliteConnection::~SqliteConnection() {
    QSqlDatabase::removeDatabase(m_name);
}

DatabaseFault SqliteConnection::run(const QString& sql, const QVariantList& values,
                                    const std::function<void(const QSqlQuery&)>& onRow) const {
    if (m_openFault) {
        return m_openFault;
    }
    QSqlQuery query(QSqlDatabase::database(m_name, false));
    query.setForwardOnly(true);
    bool done = query.prepare(sql);
    for (const QVariant& value : values) {
        query.addBindValue(value);
    }
    done = done && query.exec();
    while (done && query.next()) {
        if (onRow) {
            onRow(query);
        }
    }
    // The end of the rows and a failure among them differ in the error alone.
    return done && !query.lastError().isValid() ? DatabaseFault()
                                                : DatabaseFault::of(query.lastError(), m_database);
}

DatabaseFault SqliteConnection::checkPages() const {
    return checkBy(QStringLiteral("PRAGMA quick_check(1)"));
}

DatabaseFault SqliteConnection::checkPagesAndIndexes() const {
    return checkBy(QStringLiteral("PRAGMA integrity_check(1)"));
}

DatabaseFault SqliteConnection::checkBy(const QString& sql) const {
    QString verdict;
    DatabaseFault fault =
        run(sql, {}, [&verdict](const QSqlQuery& row) { verdict = row.value(0).toString(); });
    return fault || verdict == QLatin1String("ok") ? fault : DatabaseFault::damaged(verdict);
}

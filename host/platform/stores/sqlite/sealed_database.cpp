#include "sealed_database.h"

#include <QFile>
#include <QFileInfo>
#include <QSqlQuery>

#include "database_seal.h"
#include "sqlite_connection.h"

namespace {

using Kind = DatabaseFault::Kind;

/// What the file system says before SQLite is asked.
DatabaseFault accessFault(const QString& file) {
    const QFileInfo info(file);
    if (!info.exists()) {
        return {Kind::Missing, QStringLiteral("is missing")};
    }
    if (!info.isFile()) {
        return {Kind::Unreadable, QStringLiteral("is not a file")};
    }
    QFile content(file);
    return content.open(QIODevice::ReadOnly)
               ? DatabaseFault()
               : DatabaseFault{Kind::Unreadable,
                               QStringLiteral("cannot be opened (%1)").arg(content.errorString())};
}

DatabaseFault metaFault(const SqliteConnection& connection, QMap<QString, QString>* meta) {
    DatabaseFault fault = connection.run(
        QStringLiteral("SELECT key, value FROM meta"), {}, [meta](const QSqlQuery& row) {
            meta->insert(row.value(0).toString(), row.value(1).toString());
        });
    if (fault.kind == Kind::Other) {
        return DatabaseFault::foreign(QStringLiteral("has no meta table: it %1").arg(fault.text));
    }
    if (fault) {
        return fault;
    }
    const QString format = meta->value(SealedDatabase::formatKey);
    if (format != SealedDatabase::format) {
        return {Kind::OtherFormat, QStringLiteral("has the unknown format \"%1\", not \"%2\"")
                                       .arg(format, SealedDatabase::format)};
    }
    return meta->value(SealedDatabase::completeKey) == SealedDatabase::completeValue
               ? DatabaseFault()
               : DatabaseFault{Kind::Damaged, QStringLiteral("was not written to its end")};
}

DatabaseFault sealFault(const QString& file, const SqliteConnection& connection,
                        const QMap<QString, QString>& meta) {
    if (!DatabaseSeal::covers(file, meta)) {
        return connection.checkPages();
    }
    const QString fault = DatabaseSeal::fault(file, meta);
    return fault.isEmpty() ? DatabaseFault() : DatabaseFault::damaged(fault);
}

}  // namespace

DatabaseFault SealedDatabase::check(const QString& file, QMap<QString, QString>* meta) {
    DatabaseFault fault = accessFault(file);
    if (fault) {
        return fault;
    }
    const QString header = DatabaseSeal::headerFault(file);
    if (!header.isEmpty()) {
        return DatabaseFault::damaged(header);
    }
    const SqliteConnection connection(file, SqliteConnection::readOnly());
    const bool isSmall = DatabaseSeal::isSmall(file);
    fault = isSmall ? connection.checkPages() : DatabaseFault();
    if (!fault) {
        fault = metaFault(connection, meta);
    }
    return fault || isSmall ? fault : sealFault(file, connection, *meta);
}

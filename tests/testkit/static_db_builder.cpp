#include "static_db_builder.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>

#include "velmarutils/velmar_utils.h"

namespace {

void must(QSqlDatabase& database, const QString& sql, const QVariantList& values = {}) {
    QSqlQuery query(database);
    bool done = query.prepare(sql);
    for (const QVariant& value : values) {
        query.addBindValue(value);
    }
    done = done && query.exec();
    if (!done) {
        qFatal("static database: %s: %s", qPrintable(sql), qPrintable(query.lastError().text()));
    }
}

}  // namespace

StaticDbBuilder& StaticDbBuilder::section(const QString& name,
                                          const QMap<QString, QString>& values) {
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        m_sections[name].insert(it.key(), it.value());
    }
    return *this;
}

StaticDbBuilder& StaticDbBuilder::sections(const QMap<QString, QMap<QString, QString>>& sections) {
    for (auto it = sections.cbegin(); it != sections.cend(); ++it) {
        section(it.key(), it.value());
    }
    return *this;
}

StaticDbBuilder& StaticDbBuilder::reference(const QString& kind, const QString& symbol,
                                            const QVariantMap& record) {
    QString error;
    const QString text = VelmarUtils::TransMap2Str(record, error);
    if (!error.isEmpty()) {
        qFatal("reference row %s: %s", qPrintable(symbol), qPrintable(error));
    }
    return referenceText(kind, symbol, text);
}

StaticDbBuilder& StaticDbBuilder::referenceText(const QString& kind, const QString& symbol,
                                                const QString& text) {
    m_references.append({kind, symbol, text});
    return *this;
}

StaticDbBuilder& StaticDbBuilder::withFormat(const QString& format) {
    m_format = format;
    return *this;
}

StaticDbBuilder& StaticDbBuilder::incomplete() {
    m_complete = false;
    return *this;
}

StaticDbBuilder& StaticDbBuilder::withoutMeta() {
    m_meta = false;
    return *this;
}

void StaticDbBuilder::write(const QString& file) const {
    QFile::remove(file);
    const QString connection = QStringLiteral("static_db_builder");
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
        database.setDatabaseName(file);
        if (!database.open()) {
            qFatal("static database %s: %s", qPrintable(file),
                   qPrintable(database.lastError().text()));
        }
        database.transaction();
        must(database,
             "CREATE TABLE static_cfg(section TEXT, key TEXT, value TEXT,"
             " PRIMARY KEY(section, key))");
        must(database,
             "CREATE TABLE reference(kind TEXT, symbol TEXT, record TEXT,"
             " PRIMARY KEY(kind, symbol))");
        for (auto part = m_sections.cbegin(); part != m_sections.cend(); ++part) {
            for (auto it = part->cbegin(); it != part->cend(); ++it) {
                must(database, "INSERT INTO static_cfg VALUES(?, ?, ?)",
                     {part.key(), it.key(), it.value()});
            }
        }
        for (const ReferenceRow& row : m_references) {
            must(database, "INSERT INTO reference VALUES(?, ?, ?)",
                 {row.kind, row.symbol, row.text});
        }
        if (m_meta) {
            must(database, "CREATE TABLE meta(key TEXT PRIMARY KEY, value TEXT)");
            must(database, "INSERT INTO meta VALUES('format', ?)", {m_format});
        }
        if (m_meta && m_complete) {
            must(database, "INSERT INTO meta VALUES('complete', '1')");
        }
        if (!database.commit()) {
            qFatal("static database %s: %s", qPrintable(file),
                   qPrintable(database.lastError().text()));
        }
    }
    QSqlDatabase::removeDatabase(connection);
}

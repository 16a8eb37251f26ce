#include "market_file.h"

#include <QFile>
#include <QSqlError>
#include <atomic>

#include "database_seal.h"
#include "market_log.h"
#include "market_store.h"

// A static library drops the object file unless something refers to it.
static void initMarketSql() {
    Q_INIT_RESOURCE(market_sql);
}

namespace {

QString newConnectionName() {
    static std::atomic<quint64> serial{0};
    return QStringLiteral("market-file-%1").arg(++serial);
}

/// The statements of a file of SQL, without its comment lines; none of them holds a ";" of its own.
QStringList statementsOf(const QString& text) {
    QStringList kept;
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        if (!line.startsWith(QLatin1String("--"))) {
            kept.append(line);
        }
    }
    QStringList statements;
    for (const QString& part : kept.join(QLatin1Char('\n')).split(QLatin1Char(';'))) {
        if (!part.trimmed().isEmpty()) {
            statements.append(part.trimmed());
        }
    }
    return statements;
}

}  // namespace

MarketFile::MarketFile(const QString& path) : m_path(path), m_connection(newConnectionName()) {}

MarketFile::~MarketFile() {
    close();
}

void MarketFile::close() {
    m_inserts.clear();
    m_statements.clear();
    if (QSqlDatabase::contains(m_connection)) {
        QSqlDatabase::removeDatabase(m_connection);
    }
}

bool MarketFile::fail(const QString& reason) {
    if (m_error.isEmpty()) {
        m_error = QStringLiteral("%1: %2").arg(m_path, reason);
        qCWarning(lcMarket).noquote() << m_error;
    }
    return false;
}

bool MarketFile::run(const QString& statement) {
    QSqlQuery query(QSqlDatabase::database(m_connection, false));
    return query.exec(statement) || fail(query.lastError().text());
}

bool MarketFile::create(const QString& schema) {
    QFile::remove(m_path);
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_connection);
        db.setDatabaseName(m_path);
        if (!db.open()) {
            return fail(db.lastError().text());
        }
    }
    // The file bears a name of its own until it is whole, so it needs no journal; what decides its
    // layout is set, not left to how the library was built.
    for (const char* pragma :
         {"PRAGMA page_size = 4096", "PRAGMA encoding = 'UTF-8'", "PRAGMA auto_vacuum = NONE",
          "PRAGMA journal_mode = OFF", "PRAGMA synchronous = NORMAL", "PRAGMA temp_store = MEMORY",
          "PRAGMA cache_size = -65536", "BEGIN"}) {
        if (!run(QString::fromLatin1(pragma))) {
            return false;
        }
    }
    return runSchema(schema);
}

bool MarketFile::runSchema(const QString& schema) {
    initMarketSql();
    QFile file(QStringLiteral(":/market/sql/") + schema);
    if (!file.open(QIODevice::ReadOnly)) {
        return fail(QStringLiteral("schema %1 is missing").arg(schema));
    }
    for (const QString& statement : statementsOf(QString::fromUtf8(file.readAll()))) {
        if (!run(statement)) {
            return false;
        }
    }
    return true;
}

QSqlQuery* MarketFile::prepared(QHash<QString, QSqlQuery>& cache, const QString& key,
                                const QString& statement) {
    auto it = cache.find(key);
    if (it == cache.end()) {
        it = cache.insert(key, QSqlQuery(QSqlDatabase::database(m_connection, false)));
        if (!it->prepare(statement)) {
            fail(it->lastError().text());
            return nullptr;
        }
    }
    return &*it;
}

bool MarketFile::insert(const QString& table, const QVariantList& values) {
    if (!m_error.isEmpty()) {
        return false;
    }
    QSqlQuery* const query = prepared(
        m_inserts, table,
        QStringLiteral("INSERT INTO %1 VALUES(%2)").arg(table, placeholders(values.size())));
    if (!query) {
        return false;
    }
    for (int i = 0; i < values.size(); ++i) {
        const QVariant& value = values.at(i);
        const bool nullText = value.userType() == QMetaType::QString && value.isNull();
        query->bindValue(i, nullText ? QVariant(QStringLiteral("")) : value);
    }
    return query->exec() || fail(query->lastError().text());
}

bool MarketFile::execute(const QString& statement, const QVariantList& values, int* rows) {
    QSqlQuery* const query =
        m_error.isEmpty() ? prepared(m_statements, statement, statement) : nullptr;
    if (!query) {
        return false;
    }
    for (int i = 0; i < values.size(); ++i) {
        query->bindValue(i, values.at(i));
    }
    if (!query->exec()) {
        return fail(query->lastError().text());
    }
    if (rows) {
        *rows = query->numRowsAffected();
    }
    query->finish();
    return true;
}

bool MarketFile::finish(const QList<QPair<QString, QString>>& marks) {
    const QString table = QStringLiteral("meta");
    for (const auto& mark : marks) {
        insert(table, {mark.first, mark.second});
    }
    const bool done = m_error.isEmpty() && seal() &&
                      insert(table, {QStringLiteral("complete"), QStringLiteral("1")}) && commit();
    close();
    return done;
}

bool MarketFile::commit() {
    m_inserts.clear();
    m_statements.clear();
    return run(QStringLiteral("COMMIT"));
}

bool MarketFile::seal() {
    if (!commit() || !run(QStringLiteral("BEGIN"))) {
        return false;
    }
    if (!DatabaseSeal::isSmall(m_path)) {
        const QMap<QString, QString> values = DatabaseSeal::make(m_path);
        if (values.isEmpty()) {
            return fail(QStringLiteral("the file cannot be read again"));
        }
        for (auto it = values.cbegin(); it != values.cend(); ++it) {
            if (!insert(QStringLiteral("meta"), {it.key(), it.value()})) {
                return false;
            }
        }
    }
    return true;
}

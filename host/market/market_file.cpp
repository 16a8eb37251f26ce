#include "market_file.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>

#include "database_seal.h"
#include "market_log.h"
#include "market_store.h"
#include "sealed_database.h"

// A static library drops the object file unless something refers to it.
static void initMarketSql() {
    Q_INIT_RESOURCE(market_sql);
}

namespace {

inline const QString kMetaTable = QStringLiteral("meta");
inline const QString kRepair = QStringLiteral("remove it and try again");

/// The statements of a file of SQL, without its comment lines. No statement contains a ";".
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

MarketFile::MarketFile(const QString& path) : m_path(path) {}

MarketFile::~MarketFile() {
    close();
}

void MarketFile::close() {
    m_inserts.clear();
    m_statements.clear();
    m_connection.reset();
}

bool MarketFile::fail(const DatabaseFault& fault) {
    if (m_error.isEmpty()) {
        m_error = fault.sentence(m_path, kRepair);
        qCWarning(lcMarket).noquote() << m_error;
    }
    return false;
}

bool MarketFile::fail(const QSqlQuery& query) {
    return fail(DatabaseFault::of(query.lastError(), m_path));
}

QSqlQuery MarketFile::newQuery() const {
    return QSqlQuery(QSqlDatabase::database(m_connection->name(), false));
}

bool MarketFile::run(const QString& statement) {
    const DatabaseFault fault = m_connection->run(statement, {}, {});
    return !fault || fail(fault);
}

bool MarketFile::create(const QString& schema) {
    QFile::remove(m_path);
    m_connection = std::make_unique<SqliteConnection>(m_path);
    if (m_connection->openFault()) {
        return fail(m_connection->openFault());
    }
    // The file has a temporary name until it is complete, so it needs no journal. Settings that
    // decide its bytes are not left to how the library was built.
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
        return fail({DatabaseFault::Kind::Other,
                     QStringLiteral("cannot be created: the schema %1 is missing").arg(schema)});
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
        it = cache.insert(key, newQuery());
        if (!it->prepare(statement)) {
            fail(*it);
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
    return query->exec() || fail(*query);
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
        return fail(*query);
    }
    if (rows) {
        *rows = query->numRowsAffected();
    }
    query->finish();
    return true;
}

bool MarketFile::finish(const QList<QPair<QString, QString>>& marks) {
    for (const auto& mark : marks) {
        insert(kMetaTable, {mark.first, mark.second});
    }
    const bool done =
        m_error.isEmpty() && seal() &&
        insert(kMetaTable, {SealedDatabase::completeKey, SealedDatabase::completeValue}) &&
        commit();
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
            return fail({DatabaseFault::Kind::Unreadable,
                         QStringLiteral("cannot be read after it was written")});
        }
        for (auto it = values.cbegin(); it != values.cend(); ++it) {
            if (!insert(kMetaTable, {it.key(), it.value()})) {
                return false;
            }
        }
    }
    return true;
}

#include "server_state.h"

#include <QDataStream>
#include <QFileInfo>
#include <QIODevice>
#include <QSqlQuery>
#include <QStringList>
#include <QUrl>
#include <QVector>
#include <atomic>

#include "gateway_log.h"

namespace {

inline const QString kFormat = QStringLiteral("velmar-server-state-1");
inline const QString kRepair = QStringLiteral("move it away to begin with nothing written");
constexpr auto kStreamVersion = QDataStream::Qt_5_12;

QByteArray toBytes(const QVariantMap& record, bool* ok) {
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(kStreamVersion);
    stream << record;
    *ok = stream.status() == QDataStream::Ok;
    return bytes;
}

/// Empty when the bytes are not a record.
std::optional<QVariantMap> toRecord(const QByteArray& bytes) {
    QDataStream stream(bytes);
    stream.setVersion(kStreamVersion);
    QVariantMap record;
    stream >> record;
    if (stream.status() != QDataStream::Ok || !stream.atEnd()) {
        return std::nullopt;
    }
    return record;
}

/// The smallest text that sorts after every text with the prefix, in the order of code points, in
/// which the keys are sorted; empty when no text does.
QString behindPrefix(const QString& prefix) {
    constexpr uint kBeforeSurrogates = 0xD7FF;
    constexpr uint kBehindSurrogates = 0xE000;
    QVector<uint> points = prefix.toUcs4();
    while (!points.isEmpty() && points.last() >= QChar::LastValidCodePoint) {
        points.removeLast();
    }
    if (points.isEmpty()) {
        return {};
    }
    uint& last = points.last();
    last = last == kBeforeSurrogates ? kBehindSurrogates : last + 1;
    return QString::fromUcs4(points.constData(), points.size());
}

/// The name by which SQLite opens a file for reading only. Reading a file in WAL mode creates the
/// files of its log; where no log exists, SQLite is made to read without one.
QString readOnlyUrl(const QString& file) {
    const bool hasLog = QFileInfo::exists(file + QStringLiteral("-wal"));
    QUrl url = QUrl::fromLocalFile(QFileInfo(file).absoluteFilePath());
    url.setQuery(hasLog ? QStringLiteral("mode=ro") : QStringLiteral("mode=ro&immutable=1"));
    return QString::fromLatin1(url.toEncoded());
}

/// A null text would be bound as NULL, which never compares equal.
QVariant bound(const QString& text) {
    return text.isNull() ? QString(QLatin1String("")) : text;
}

}  // namespace

ServerState::ServerState(const QString& file, const QString& database, const QString& options)
    : m_file(file), m_connections(database, options) {}

std::shared_ptr<ServerState> ServerState::open(const QString& file, QString* error) {
    static std::atomic<quint64> serial{0};
    std::shared_ptr<ServerState> state;
    DatabaseFault fault;
    if (file.isEmpty()) {
        // All threads share one database, which lives while a connection to it is open.
        const QString name =
            QStringLiteral("file:server-state-%1?mode=memory&cache=shared").arg(++serial);
        state.reset(
            new ServerState(QStringLiteral(":memory:"), name, QStringLiteral("QSQLITE_OPEN_URI")));
        fault = state->m_connections.openForGood();
    } else {
        state.reset(new ServerState(file, file, {}));
    }
    if (!fault) {
        fault = state->prepare();
    }
    if (!fault) {
        return state;
    }
    *error = fault.sentence(state->m_file, kRepair);
    qCWarning(lcGateway).noquote() << *error;
    return nullptr;
}

std::shared_ptr<ServerState> ServerState::inMemory() {
    QString error;
    auto state = open({}, &error);
    if (!state) {
        qFatal("ServerState without a database: %s", qPrintable(error));
    }
    return state;
}

QString ServerState::problemOf(const QString& file) {
    const QFileInfo info(file);
    if (!info.exists()) {
        return {};
    }
    // What is not a file cannot be opened for writing either, and fails with the words of open().
    const ServerState state(file, info.isFile() ? readOnlyUrl(file) : file,
                            QStringLiteral("QSQLITE_OPEN_URI"));
    bool isEmpty = false;
    const DatabaseFault fault = state.check(&isEmpty);
    return fault ? fault.sentence(file, kRepair) : QString();
}

DatabaseFault ServerState::prepare() {
    bool isEmpty = false;
    const DatabaseFault fault = check(&isEmpty);
    return !fault && isEmpty ? makeTables() : fault;
}

DatabaseFault ServerState::check(bool* isEmpty) const {
    QString verdict;
    DatabaseFault fault =
        run(QStringLiteral("PRAGMA quick_check(1)"), {},
            [&verdict](const QSqlQuery& query) { verdict = query.value(0).toString(); });
    if (fault) {
        return fault;
    }
    return verdict == QLatin1String("ok") ? checkFormat(isEmpty) : DatabaseFault::damaged(verdict);
}

DatabaseFault ServerState::checkFormat(bool* isEmpty) const {
    int tables = 0;
    QString format;
    DatabaseFault fault =
        run(QStringLiteral("SELECT count(*) FROM sqlite_master"), {},
            [&tables](const QSqlQuery& query) { tables = query.value(0).toInt(); });
    *isEmpty = tables == 0;
    if (fault || *isEmpty) {
        return fault;
    }
    fault = run(QStringLiteral("SELECT value FROM meta WHERE key = 'format'"), {},
                [&format](const QSqlQuery& query) { format = query.value(0).toString(); });
    if (fault.kind == DatabaseFault::Kind::Other) {
        return DatabaseFault::foreign(
            QStringLiteral("holds something else: it %1").arg(fault.text));
    }
    return fault || format == kFormat
               ? fault
               : DatabaseFault::foreign(
                     QStringLiteral("holds something else (format \"%1\")").arg(format));
}

DatabaseFault ServerState::makeTables() {
    // In one transaction, so that no other process and no crash sees half of it.
    static const QStringList layout{
        QStringLiteral("PRAGMA journal_mode = WAL"),
        QStringLiteral("BEGIN IMMEDIATE"),
        QStringLiteral("CREATE TABLE IF NOT EXISTS document(tab TEXT NOT NULL, key TEXT NOT NULL,"
                       " record BLOB NOT NULL, PRIMARY KEY(tab, key)) WITHOUT ROWID"),
        QStringLiteral("CREATE TABLE IF NOT EXISTS meta(key TEXT PRIMARY KEY, value TEXT)"
                       " WITHOUT ROWID"),
        QStringLiteral("INSERT OR REPLACE INTO meta VALUES('format', '%1')").arg(kFormat),
        QStringLiteral("COMMIT"),
    };
    DatabaseFault fault;
    for (auto sql = layout.cbegin(); !fault && sql != layout.cend(); ++sql) {
        fault = run(*sql);
    }
    return fault;
}

DatabaseFault ServerState::run(const QString& sql, const QVariantList& values,
                               const std::function<void(const QSqlQuery&)>& onRow) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_connections.run(sql, values, onRow);
}

QList<QPair<QString, QVariantMap>> ServerState::records(const QString& table,
                                                        const QString& keyPrefix) const {
    // A range, which the primary key finds. LIKE would ignore case and treat some characters as
    // wildcards.
    QString sql = QStringLiteral(
        "SELECT key, record FROM document WHERE tab = ? AND key >= ?%1 ORDER BY key");
    QVariantList values{bound(table), bound(keyPrefix)};
    const QString end = behindPrefix(keyPrefix);
    sql = sql.arg(end.isEmpty() ? QString() : QStringLiteral(" AND key < ?"));
    if (!end.isEmpty()) {
        values.append(end);
    }
    QList<QPair<QString, QVariantMap>> found;
    return collect(table, sql, values, &found) ? found : QList<QPair<QString, QVariantMap>>();
}

bool ServerState::collect(const QString& table, const QString& sql, const QVariantList& values,
                          QList<QPair<QString, QVariantMap>>* found) const {
    const DatabaseFault fault = run(sql, values, [&](const QSqlQuery& query) {
        const QString key = query.value(0).toString();
        if (const auto record = toRecord(query.value(1).toByteArray())) {
            found->append({key, *record});
        } else {
            qCWarning(lcGateway) << "server state" << m_file << "has an unreadable record" << table
                                 << key;
        }
    });
    if (fault) {
        qCWarning(lcGateway).noquote() << "server state not read:" << m_file << fault.text;
    }
    return !fault;
}

bool ServerState::between(const QString& table, const QString& after, const QString& before,
                          int limit, qint64 offset,
                          QList<QPair<QString, QVariantMap>>* found) const {
    return collect(table,
                   QStringLiteral("SELECT key, record FROM document WHERE tab = ? AND key > ? AND"
                                  " key < ? ORDER BY key LIMIT ? OFFSET ?"),
                   {bound(table), bound(after), bound(before), limit, offset}, found);
}

int ServerState::countBetween(const QString& table, const QString& after,
                              const QString& before) const {
    int count = 0;
    const DatabaseFault fault =
        run(QStringLiteral("SELECT count(*) FROM document WHERE tab = ? AND key > ? AND key < ?"),
            {bound(table), bound(after), bound(before)},
            [&count](const QSqlQuery& query) { count = query.value(0).toInt(); });
    if (fault) {
        qCWarning(lcGateway).noquote() << "server state not read:" << m_file << fault.text;
    }
    return fault ? -1 : count;
}

std::optional<QVariantMap> ServerState::record(const QString& table, const QString& key) const {
    std::optional<QVariantMap> found;
    const DatabaseFault fault =
        run(QStringLiteral("SELECT record FROM document WHERE tab = ? AND key = ?"),
            {bound(table), bound(key)},
            [&](const QSqlQuery& query) { found = toRecord(query.value(0).toByteArray()); });
    if (fault) {
        qCWarning(lcGateway).noquote() << "server state not read:" << m_file << fault.text;
        return std::nullopt;
    }
    return found;
}

bool ServerState::reportWrite(const DatabaseFault& fault, QString* error) const {
    if (fault) {
        // A record that cannot be stored is not the file's fault.
        *error = fault.kind == DatabaseFault::Kind::Other
                     ? QStringLiteral("%1 %2").arg(m_file, fault.text)
                     : fault.sentence(m_file, kRepair);
        qCWarning(lcGateway).noquote() << "server state not written:" << *error;
    }
    return !fault;
}

bool ServerState::write(const QString& table, const QString& key, const QVariantMap& record,
                        QString* error) {
    return writeAll(table, {{key, record}}, error);
}

bool ServerState::writeAll(const QString& table, const QList<QPair<QString, QVariantMap>>& records,
                           QString* error) {
    static const QString sql = QStringLiteral("INSERT OR REPLACE INTO document VALUES(?, ?, ?)");
    const std::lock_guard<std::mutex> lock(m_mutex);
    DatabaseFault fault = m_connections.run(QStringLiteral("BEGIN IMMEDIATE"), {}, {});
    if (fault) {
        return reportWrite(fault, error);
    }
    for (auto it = records.cbegin(); !fault && it != records.cend(); ++it) {
        bool isStorable = false;
        const QByteArray bytes = toBytes(it->second, &isStorable);
        fault = isStorable
                    ? m_connections.run(sql, {bound(table), bound(it->first), bytes}, {})
                    : DatabaseFault{
                          DatabaseFault::Kind::Other,
                          QStringLiteral("cannot store the record %1 of %2").arg(it->first, table)};
    }
    if (!fault) {
        fault = m_connections.run(QStringLiteral("COMMIT"), {}, {});
    }
    if (fault) {
        m_connections.run(QStringLiteral("ROLLBACK"), {}, {});
    }
    return reportWrite(fault, error);
}

bool ServerState::remove(const QString& table, const QString& key, QString* error) {
    return reportWrite(run(QStringLiteral("DELETE FROM document WHERE tab = ? AND key = ?"),
                           {bound(table), bound(key)}),
                       error);
}

bool ServerState::removeBetween(const QString& table, const QString& after, const QString& before,
                                QString* error) {
    return reportWrite(
        run(QStringLiteral("DELETE FROM document WHERE tab = ? AND key > ? AND key < ?"),
            {bound(table), bound(after), bound(before)}),
        error);
}

#include "server_state.h"

#include <QDataStream>
#include <QIODevice>
#include <QSqlQuery>
#include <QStringList>
#include <QVector>
#include <algorithm>
#include <atomic>

#include "gateway_log.h"

namespace {

inline const QString kFormat = QStringLiteral("velmar-server-state-1");
constexpr auto kStreamVersion = QDataStream::Qt_5_12;

QByteArray toBytes(const QVariantMap& record, bool* ok) {
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(kStreamVersion);
    stream << record;
    *ok = stream.status() == QDataStream::Ok;
    return bytes;
}

/// Nothing for bytes that are no record.
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

/// The least text that is behind all that begin with the prefix, in the order of code points, which
/// is that of the keys; empty when there is none.
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

/// A null text would be bound as NULL, which equals nothing.
QVariant bound(const QString& text) {
    return text.isNull() ? QString(QLatin1String("")) : text;
}

}  // namespace

ServerState::ServerState(const QString& file, const QString& database, const QString& options)
    : m_file(file), m_connections(database, options) {}

std::shared_ptr<ServerState> ServerState::open(const QString& file, QString* error) {
    static std::atomic<quint64> serial{0};
    std::shared_ptr<ServerState> state;
    QString reason;
    bool opened = true;
    if (file.isEmpty()) {
        // All its threads see one database, which lives while a connection to it stands open.
        const QString name =
            QStringLiteral("file:server-state-%1?mode=memory&cache=shared").arg(++serial);
        state.reset(
            new ServerState(QStringLiteral(":memory:"), name, QStringLiteral("QSQLITE_OPEN_URI")));
        opened = !state->m_connections.openForGood(&reason).isEmpty();
    } else {
        state.reset(new ServerState(file, file, {}));
    }
    if (opened && state->prepare(&reason)) {
        return state;
    }
    *error = QStringLiteral("%1: %2; move it away to begin with nothing written")
                 .arg(state->m_file, reason);
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

bool ServerState::prepare(QString* reason) {
    if (m_connections.forThisThread(reason).isEmpty()) {
        *reason = QStringLiteral("the file cannot be opened (%1)").arg(reason->simplified());
        return false;
    }
    QString verdict;
    const bool read =
        run(QStringLiteral("PRAGMA quick_check(1)"), {}, reason,
            [&verdict](const QSqlQuery& query) { verdict = query.value(0).toString(); });
    if (!read || verdict != QLatin1String("ok")) {
        *reason =
            QStringLiteral("the file is damaged (%1)").arg((read ? verdict : *reason).simplified());
        return false;
    }
    return checkFormat(reason);
}

bool ServerState::checkFormat(QString* reason) {
    int tables = 0;
    QString format;
    const bool counted =
        run(QStringLiteral("SELECT count(*) FROM sqlite_master"), {}, reason,
            [&tables](const QSqlQuery& query) { tables = query.value(0).toInt(); });
    if (!counted) {
        return false;
    }
    if (tables == 0) {
        return makeTables(reason);
    }
    const bool read =
        run(QStringLiteral("SELECT value FROM meta WHERE key = 'format'"), {}, reason,
            [&format](const QSqlQuery& query) { format = query.value(0).toString(); });
    if (!read || format != kFormat) {
        *reason = QStringLiteral("the file holds something else (%1)")
                      .arg(read ? QStringLiteral("format \"%1\"").arg(format) : *reason);
        return false;
    }
    return true;
}

bool ServerState::makeTables(QString* reason) {
    // As one, so that no other process and no crash sees half of it.
    static const QStringList layout{
        QStringLiteral("BEGIN IMMEDIATE"),
        QStringLiteral("CREATE TABLE IF NOT EXISTS document(tab TEXT NOT NULL, key TEXT NOT NULL,"
                       " record BLOB NOT NULL, PRIMARY KEY(tab, key)) WITHOUT ROWID"),
        QStringLiteral("CREATE TABLE IF NOT EXISTS meta(key TEXT PRIMARY KEY, value TEXT)"
                       " WITHOUT ROWID"),
        QStringLiteral("INSERT OR REPLACE INTO meta VALUES('format', '%1')").arg(kFormat),
        QStringLiteral("COMMIT"),
    };
    return run(QStringLiteral("PRAGMA journal_mode = WAL"), {}, reason) &&
           std::all_of(layout.cbegin(), layout.cend(),
                       [&](const QString& sql) { return run(sql, {}, reason); });
}

bool ServerState::run(const QString& sql, const QVariantList& values, QString* reason,
                      const std::function<void(const QSqlQuery&)>& onRow) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_connections.run(sql, values, onRow, reason);
}

QList<QPair<QString, QVariantMap>> ServerState::records(const QString& table,
                                                        const QString& keyPrefix) const {
    // A range, which the table's own order finds. Not LIKE, to which letters of either case are the
    // same and some characters are special.
    QString sql = QStringLiteral(
        "SELECT key, record FROM document WHERE tab = ? AND key >= ?%1 ORDER BY key");
    QVariantList values{bound(table), bound(keyPrefix)};
    const QString end = behindPrefix(keyPrefix);
    sql = sql.arg(end.isEmpty() ? QString() : QStringLiteral(" AND key < ?"));
    if (!end.isEmpty()) {
        values.append(end);
    }
    QList<QPair<QString, QVariantMap>> found;
    QString reason;
    const bool read = run(sql, values, &reason, [&](const QSqlQuery& query) {
        const QString key = query.value(0).toString();
        if (const auto record = toRecord(query.value(1).toByteArray())) {
            found.append({key, *record});
        } else {
            qCWarning(lcGateway) << "ServerState" << m_file << "holds no record under" << table
                                 << key;
        }
    });
    if (!read) {
        qCWarning(lcGateway).noquote() << "ServerState" << m_file << "not read:" << reason;
        return {};
    }
    return found;
}

std::optional<QVariantMap> ServerState::record(const QString& table, const QString& key) const {
    std::optional<QVariantMap> found;
    QString reason;
    if (!run(QStringLiteral("SELECT record FROM document WHERE tab = ? AND key = ?"),
             {bound(table), bound(key)}, &reason,
             [&](const QSqlQuery& query) { found = toRecord(query.value(0).toByteArray()); })) {
        qCWarning(lcGateway).noquote() << "ServerState" << m_file << "not read:" << reason;
        return std::nullopt;
    }
    return found;
}

bool ServerState::changed(bool done, const QString& reason, QString* error) const {
    if (!done) {
        *error = QStringLiteral("%1: %2").arg(m_file, reason);
        qCWarning(lcGateway).noquote() << "ServerState not written:" << *error;
    }
    return done;
}

bool ServerState::write(const QString& table, const QString& key, const QVariantMap& record,
                        QString* error) {
    return writeAll(table, {{key, record}}, error);
}

bool ServerState::writeAll(const QString& table, const QList<QPair<QString, QVariantMap>>& records,
                           QString* error) {
    static const QString sql = QStringLiteral("INSERT OR REPLACE INTO document VALUES(?, ?, ?)");
    QString reason;
    const std::lock_guard<std::mutex> lock(m_mutex);
    bool done = m_connections.run(QStringLiteral("BEGIN IMMEDIATE"), {}, {}, &reason);
    if (!done) {
        return changed(false, reason, error);
    }
    for (auto it = records.cbegin(); done && it != records.cend(); ++it) {
        const QByteArray bytes = toBytes(it->second, &done);
        if (!done) {
            reason = QStringLiteral("the record %1 of %2 holds what cannot be kept")
                         .arg(it->first, table);
            break;
        }
        done = m_connections.run(sql, {bound(table), bound(it->first), bytes}, {}, &reason);
    }
    done = done && m_connections.run(QStringLiteral("COMMIT"), {}, {}, &reason);
    if (!done) {
        QString rollback;
        m_connections.run(QStringLiteral("ROLLBACK"), {}, {}, &rollback);
    }
    return changed(done, reason, error);
}

bool ServerState::remove(const QString& table, const QString& key, QString* error) {
    QString reason;
    const bool done = run(QStringLiteral("DELETE FROM document WHERE tab = ? AND key = ?"),
                          {bound(table), bound(key)}, &reason);
    return changed(done, reason, error);
}

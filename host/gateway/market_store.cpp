#include "market_store.h"

#include <QSqlQuery>
#include <QStringList>

#include "gateway_log.h"
#include "sealed_database.h"

MarketStore::MarketStore(const QString& file)
    : m_file(file), m_connections(file, SqliteConnection::readOnly()) {}

std::shared_ptr<const MarketStore> MarketStore::open(const QString& file, QString* error,
                                                     DatabaseFault* fault) {
    const std::shared_ptr<MarketStore> store(new MarketStore(file));
    DatabaseFault found = SealedDatabase::check(file, &store->m_meta);
    if (!found) {
        // Opened now, so that the first request does not wait for it.
        store->m_connections.forThisThread(&found);
    }
    if (fault) {
        *fault = found;
    }
    if (!found) {
        return store;
    }
    *error = found.sentence(file, SealedDatabase::repair);
    qCWarning(lcGateway).noquote() << *error;
    return nullptr;
}

bool MarketStore::select(const QString& sql, const QVariantList& values,
                         const std::function<void(const QSqlQuery&)>& onRow, QString* error) const {
    qCDebug(lcGatewaySql).noquote() << sql;
    const DatabaseFault fault = m_connections.run(sql, values, onRow);
    if (fault) {
        qCWarning(lcGateway).noquote() << "select failed:" << m_file << fault.text;
    }
    if (fault && error) {
        *error = fault.text;
    }
    return !fault;
}

int MarketStore::connectionCount() const {
    return m_connections.count();
}

QString columnList(const StoreColumns& columns) {
    QStringList names;
    for (const auto& column : columns) {
        names.append(column.first);
    }
    return names.join(QStringLiteral(", "));
}

QVariantMap recordOf(const QSqlQuery& query, const StoreColumns& columns) {
    QVariantMap record;
    for (int i = 0; i < columns.size(); ++i) {
        record.insert(columns.at(i).second, query.value(i));
    }
    return record;
}

QString placeholders(int count) {
    QStringList marks;
    for (int i = 0; i < count; ++i) {
        marks.append(QStringLiteral("?"));
    }
    return marks.join(QLatin1Char(','));
}

#include "market_store.h"

#include <QFileInfo>
#include <QSqlQuery>
#include <QStringList>

#include "database_seal.h"
#include "gateway_log.h"

namespace {

QString damageText(const QString& damage) {
    return QStringLiteral("the file is damaged (%1)").arg(damage.simplified());
}

}  // namespace

QString MarketStore::format() {
    return QStringLiteral("2");
}

MarketStore::MarketStore(const QString& file)
    : m_file(file), m_connections(file, QStringLiteral("QSQLITE_OPEN_READONLY")) {}

std::shared_ptr<const MarketStore> MarketStore::open(const QString& file, QString* error) {
    const std::shared_ptr<MarketStore> store(new MarketStore(file));
    QString reason;
    if (!QFileInfo::exists(file)) {
        reason = QStringLiteral("the file does not exist");
    } else if (store->checkPages(&reason) && store->loadMeta(&reason) &&
               store->checkSeal(&reason)) {
        return store;
    }
    *error = QStringLiteral("%1: %2; rebuild it with ./run --rebuild").arg(file, reason);
    qCWarning(lcGateway).noquote() << *error;
    return nullptr;
}

QString MarketStore::pageFault() const {
    QString verdict;
    QString failure;
    const bool read = select(
        QStringLiteral("PRAGMA quick_check(1)"), {},
        [&verdict](const QSqlQuery& query) { verdict = query.value(0).toString(); }, &failure);
    if (!read) {
        return failure;
    }
    return verdict == QLatin1String("ok") ? QString() : verdict;
}

bool MarketStore::checkPages(QString* reason) const {
    QString damage = DatabaseSeal::headerFault(m_file);
    if (damage.isEmpty() && DatabaseSeal::isSmall(m_file)) {
        damage = pageFault();
    }
    *reason = damageText(damage);
    return damage.isEmpty();
}

bool MarketStore::checkSeal(QString* reason) const {
    if (DatabaseSeal::isSmall(m_file)) {
        return true;
    }
    QMap<QString, QString> seal;
    for (auto it = m_meta.cbegin(); it != m_meta.cend(); ++it) {
        seal.insert(it.key(), it.value().toString());
    }
    const QString damage =
        DatabaseSeal::covers(m_file, seal) ? DatabaseSeal::fault(m_file, seal) : pageFault();
    *reason = damageText(damage);
    return damage.isEmpty();
}

bool MarketStore::loadMeta(QString* reason) {
    const bool read = select(
        QStringLiteral("SELECT key, value FROM meta"), {},
        [this](const QSqlQuery& query) {
            m_meta.insert(query.value(0).toString(), query.value(1));
        },
        reason);
    if (!read) {
        *reason = QStringLiteral("the file is no market (%1)").arg(*reason);
        return false;
    }
    if (meta(QStringLiteral("format")) != format()) {
        *reason = QStringLiteral("the file is of format \"%1\", not %2")
                      .arg(meta(QStringLiteral("format")), format());
        return false;
    }
    if (meta(QStringLiteral("complete")) != QLatin1String("1")) {
        *reason = QStringLiteral("the making of the file did not come to its end");
        return false;
    }
    return true;
}

bool MarketStore::select(const QString& sql, const QVariantList& values,
                         const std::function<void(const QSqlQuery&)>& onRow, QString* error) const {
    qCDebug(lcGatewaySql).noquote() << sql;
    QString reason;
    if (m_connections.run(sql, values, onRow, &reason)) {
        return true;
    }
    qCWarning(lcGateway).noquote() << "MarketStore" << m_file << "select failed:" << reason;
    if (error) {
        *error = reason;
    }
    return false;
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

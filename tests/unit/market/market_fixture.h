#pragma once

#include <QByteArray>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QMap>
#include <QSqlQuery>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariantMap>
#include <memory>

#include "market_store.h"
#include "sample_market.h"
#include "small_market.h"

/// A small sample market in a temporary folder.
class MarketFixture {
public:
    /// Makes and opens the market; false with a text on failure.
    bool make(QString* error) {
        if (!makeSampleMarket(m_dir.path(), smallMarket(), {}, error)) {
            return false;
        }
        m_store = MarketStore::open(marketStoreFile(path()), error);
        m_static = m_store ? MarketStore::open(staticDatabaseFile(path()), error) : nullptr;
        return m_static != nullptr;
    }

    QString path() const { return m_dir.path(); }
    const MarketStore& store() const { return *m_store; }
    /// The client's static database, read in the same way.
    const MarketStore& staticDatabase() const { return *m_static; }

private:
    QTemporaryDir m_dir;
    std::shared_ptr<const MarketStore> m_store;
    std::shared_ptr<const MarketStore> m_static;
};

/// The first column of the rows as a list of texts.
inline QStringList column(const MarketStore& store, const QString& sql) {
    QStringList values;
    store.select(sql, {},
                 [&values](const QSqlQuery& query) { values.append(query.value(0).toString()); });
    return values;
}

inline int number(const MarketStore& store, const QString& sql) {
    return column(store, sql).value(0, QStringLiteral("-1")).toInt();
}

/// The reference rows of a kind by symbol.
inline QMap<QString, QVariantMap> reference(const MarketStore& store, const QString& kind) {
    QMap<QString, QVariantMap> rows;
    store.select(QStringLiteral("SELECT symbol, record FROM reference WHERE kind = ?"), {kind},
                 [&rows](const QSqlQuery& query) {
                     const auto document = QJsonDocument::fromJson(query.value(1).toByteArray());
                     rows.insert(query.value(0).toString(), document.toVariant().toMap());
                 });
    return rows;
}

/// Empty when the file cannot be read.
inline QByteArray hashOf(const QString& path) {
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    return file.open(QIODevice::ReadOnly) && hash.addData(&file) ? hash.result().toHex()
                                                                 : QByteArray();
}

inline QStringList filesIn(const QString& dir) {
    return QDir(dir).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

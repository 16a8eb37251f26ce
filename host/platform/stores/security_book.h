#pragma once

#include <QHash>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <memory>
#include <mutex>

/// The securities of the static database by symbol and by id. Read at the first use after the
/// platform started. Any thread.
class SecurityBook {
public:
    static SecurityBook& instance();

    /// Forgets the securities; the next use reads them again.
    void clear();

    /// An empty record for an unknown symbol.
    QVariantMap record(const QString& symbol) const;
    /// The exchanges of a record in its order: it holds one code, or several joined with ",".
    static QStringList exchangesOf(const QVariantMap& record);
    /// The symbol of the security with this id on this exchange, or on any exchange when `exchange`
    /// is empty. Empty when no security matches.
    QString symbolOf(const QString& securityID, const QString& exchange) const;
    /// Every record by symbol.
    QHash<QString, QVariantMap> records() const;

private:
    struct Rows {
        QHash<QString, QVariantMap> bySymbol;
        QHash<QPair<QString, QString>, QString> byId;  // id and exchange, "" for any, to symbol
    };
    SecurityBook() = default;
    std::shared_ptr<const Rows> rows() const;
    static std::shared_ptr<const Rows> readRows();

    mutable std::mutex m_lock;  // guards m_rows; held while one thread reads them
    mutable std::shared_ptr<const Rows> m_rows;
};

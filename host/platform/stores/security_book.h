#pragma once

#include <QHash>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <memory>
#include <mutex>

/// The securities of the static database, with the ways to find one. Read at the first question
/// after the platform opened. Any thread.
class SecurityBook {
public:
    static SecurityBook& instance();

    /// Forgets the securities; the next question reads them anew.
    void clear();

    /// An empty record for an unknown symbol.
    QVariantMap record(const QString& symbol) const;
    /// The exchanges that a record names, in its order: one code, or several joined with ",".
    static QStringList exchangesOf(const QVariantMap& record);
    /// Empty when no security has the id on the exchange (on any, when that is empty).
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

    mutable std::mutex m_lock;  // guards m_rows; held while they are read, so that one thread does
    mutable std::shared_ptr<const Rows> m_rows;
};

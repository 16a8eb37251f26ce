#pragma once

#include <QHash>
#include <QSet>
#include <QString>
#include <QVariantMap>
#include <shared_mutex>

#include "platform_export.h"

/// The kinds of reference rows in the static database.
enum class ReferenceKind { Etf, Bond, Gold, NewStock, Quota, Rqt, Setting, Security };

/// The reference rows of one kind by symbol. Empty until loaded. Any thread.
class PLATFORM_API ReferenceTable {
public:
    /// The one table of a kind in the process, never destroyed.
    static ReferenceTable& of(ReferenceKind kind);
    static void clearAll();

    /// Reads the rows again. A row that is not a record is skipped with a warning. False with a
    /// warning when the database cannot be read; the table is empty then.
    bool load();
    /// The same for the rows of these trading accounts only.
    bool loadOfAccounts(const QSet<QString>& tradingAccounts);
    void clear();

    int count() const;
    bool contains(const QString& symbol) const;
    /// An empty record for an unknown symbol.
    QVariantMap record(const QString& symbol) const;
    /// The record whose field has this text, the one with the smallest symbol if several have it.
    /// Looks at every row. Empty when no record has it.
    QVariantMap recordWith(const QString& field, const QString& text) const;
    QHash<QString, QVariantMap> records() const;

private:
    explicit ReferenceTable(const QString& kind);
    bool loadRows(const QSet<QString>* tradingAccounts);

    const QString m_kind;
    mutable std::shared_mutex m_lock;  // guards m_rows
    QHash<QString, QVariantMap> m_rows;
};

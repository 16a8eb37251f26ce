#pragma once

#include <QHash>
#include <QMap>
#include <QString>
#include <shared_mutex>

#include "platform_export.h"

/// The static database: a SQLite file that is only read. The configuration is read into memory when
/// it is opened; reference rows are read from the file on demand. Any thread.
class PLATFORM_API StaticDatabase {
public:
    /// Checks the file and reads its configuration, which replaces the previous one; without a name
    /// there is no static data. Never creates a file. False with a text that names the file, the
    /// reason and the remedy; nothing is open then.
    bool open(const QString& file, QString* error);
    void close();

    QString value(const QString& section, const QString& key) const;
    QMap<QString, QString> section(const QString& section) const;

    /// The texts of one kind of reference rows by symbol; empty without static data. False with a
    /// text when the file cannot be read any more.
    bool readReference(const QString& kind, QMap<QString, QString>* rows, QString* error) const;

    /// Counts errors met while reading the database.
    void noteError(const QString& text, int count = 1);
    /// The errors since the last call: how often each text came up.
    QMap<QString, int> takeErrors();
    /// Notes how many rows of a kind were loaded, in place of the former number.
    void noteReferenceRows(const QString& kind, int count);
    /// The records of the configuration, and the reference rows that were noted.
    int recordCount() const;

private:
    using Sections = QHash<QString, QMap<QString, QString>>;

    mutable std::shared_mutex m_lock;  // guards the members below
    QString m_file;
    Sections m_sections;
    QHash<QString, int> m_referenceRows;  // by kind
    QMap<QString, int> m_errors;
};

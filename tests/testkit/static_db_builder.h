#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QVariantMap>

/// Writes a static database file with the contents that a test needs.
class StaticDbBuilder {
public:
    StaticDbBuilder& section(const QString& name, const QMap<QString, QString>& values);
    StaticDbBuilder& sections(const QMap<QString, QMap<QString, QString>>& sections);
    /// Adds a reference row with the text form of the record.
    StaticDbBuilder& reference(const QString& kind, const QString& symbol,
                               const QVariantMap& record);
    /// The same with any text in place of the record.
    StaticDbBuilder& referenceText(const QString& kind, const QString& symbol, const QString& text);

    // Damage.
    StaticDbBuilder& withFormat(const QString& format);
    StaticDbBuilder& incomplete();
    StaticDbBuilder& withoutMeta();

    /// Replaces the file. Ends the process when it cannot be written.
    void write(const QString& file) const;

private:
    struct ReferenceRow {
        QString kind;
        QString symbol;
        QString text;
    };

    QMap<QString, QMap<QString, QString>> m_sections;
    QList<ReferenceRow> m_references;
    QString m_format = QStringLiteral("2");
    bool m_complete = true;
    bool m_meta = true;
};

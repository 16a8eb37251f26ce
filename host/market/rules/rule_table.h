#pragma once

#include <QByteArray>
#include <QDate>
#include <QString>
#include <QStringList>
#include <QVector>

/// A table of the folder data: cells separated by ";", no quoting. The first line is
/// "# DATE; SOURCE", the date as yyyy-MM-dd; other lines that begin with "#" are comments; the
/// first line after them names the columns. Any thread, nothing is shared.
class RuleTable {
public:
    struct Row {
        int line;  ///< in the file, from 1 on
        QStringList cells;
    };

    /// Reads a built-in table. False with a text that names file and line on failure.
    static bool load(const QString& file, const QStringList& columns, RuleTable* table,
                     QString* error);
    /// The same for any text; `file` is the name in the error.
    static bool parse(const QString& file, const QByteArray& text, const QStringList& columns,
                      RuleTable* table, QString* error);

    QDate date() const { return m_date; }
    QString source() const { return m_source; }
    const QVector<Row>& rows() const { return m_rows; }

    /// Empty for an unknown column.
    QString cell(const Row& row, const QString& column) const;
    /// A whole number that is not negative. False with a text for any other cell.
    bool number(const Row& row, const QString& column, int* value, QString* error) const;
    /// A date as yyyy-MM-dd. False with a text for any other cell.
    bool day(const Row& row, const QString& column, QDate* value, QString* error) const;
    /// "FILE:LINE: what".
    QString fault(int line, const QString& what) const;

private:
    bool takeHeader(const QString& line, QString* error);
    bool takeRow(int line, const QString& text, QString* error);

    QString m_file;
    QStringList m_columns;
    QDate m_date;
    QString m_source;
    QVector<Row> m_rows;
};

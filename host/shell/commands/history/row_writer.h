#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVector>
#include <functional>

/// How rows are written.
enum class RowFormat { Table, Csv, Json };

/// A field of a row that tables and CSV have.
struct RowColumn {
    const char* key;    ///< in the row
    const char* title;  ///< of tables; CSV has the key, without what is before a slash
    bool isDate = false;
};

/// One cell of CSV as text: numbers exactly and without an exponent, dates of eight digits as
/// yyyy-MM-dd, lists and objects as JSON, nothing for a missing value.
QString cellText(const QJsonValue& value, bool isDate = false);
/// The same for a table, with numbers rounded to six decimals.
QString tableText(const QJsonValue& value, bool isDate = false);

/// A cell of CSV: quoted when it contains a comma, a quote or a line end.
QString csvCell(const QString& text);

/// Writes rows one after the other, in one of the formats. CSV has a line of field names first and
/// the columns in their order; JSON is a list with the whole rows, one a line, that end() closes. A
/// table is kept and written by end(). For one thread.
class RowWriter {
public:
    /// Puts bytes where the rows go; false when that fails.
    using Put = std::function<bool(const QByteArray& bytes)>;

    /// Tables are cut to `width` columns.
    RowWriter(RowFormat format, const QVector<RowColumn>& columns, int width, Put put);

    /// Each returns false once a write has failed; the rest is dropped then.
    bool begin();
    bool add(const QJsonObject& row);
    /// Makes the output whole; begin() must have been called.
    bool end();
    /// The rows so far.
    qint64 count() const { return m_count; }

private:
    bool put(const QString& text);
    bool putCsv(const QStringList& cells);
    QStringList cellsOf(const QJsonObject& row) const;

    const RowFormat m_format;
    const QVector<RowColumn> m_columns;
    const int m_width;
    const Put m_put;
    bool m_isGood = true;
    qint64 m_count = 0;
    QList<QStringList> m_kept;  // of a table
};

#include "row_writer.h"

#include <QDate>
#include <QJsonArray>
#include <QJsonDocument>
#include <QLocale>
#include <cmath>
#include <utility>

#include "output.h"
#include "text_table.h"

namespace {

QString numberCell(double number) {
    QLocale plain = QLocale::c();
    plain.setNumberOptions(QLocale::OmitGroupSeparator);
    return plain.toString(number, 'f', QLocale::FloatingPointShortest);
}

QString nameOf(const RowColumn& column) {
    return QString::fromLatin1(column.key).section(QLatin1Char('/'), -1);
}

}  // namespace

QString cellText(const QJsonValue& value, bool isDate) {
    switch (value.type()) {
        case QJsonValue::Bool:
            return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
        case QJsonValue::Double:
            if (!isDate) {
                return numberCell(value.toDouble());
            }
            break;
        case QJsonValue::String:
            if (!isDate) {
                return value.toString();
            }
            break;
        case QJsonValue::Array:
            return QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
        case QJsonValue::Object:
            return QString::fromUtf8(
                QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
        case QJsonValue::Null:
        case QJsonValue::Undefined:
            return QString();
    }
    const QString text = value.isDouble() ? numberCell(value.toDouble()) : value.toString();
    const QDate date = QDate::fromString(text, QStringLiteral("yyyyMMdd"));
    return date.isValid() ? date.toString(Qt::ISODate) : text;
}

QString tableText(const QJsonValue& value, bool isDate) {
    constexpr double kSteps = 1e6;
    // Beyond this a double has no six decimals.
    constexpr double kMost = 1e9;
    const double number = value.toDouble();
    return value.isDouble() && !isDate && std::abs(number) < kMost
               ? numberCell(std::round(number * kSteps) / kSteps)
               : cellText(value, isDate);
}

QString csvCell(const QString& text) {
    const bool isPlain = !text.contains(QLatin1Char(',')) && !text.contains(QLatin1Char('"')) &&
                         !text.contains(QLatin1Char('\n')) && !text.contains(QLatin1Char('\r'));
    return isPlain ? text
                   : QLatin1Char('"') +
                         QString(text).replace(QLatin1Char('"'), QStringLiteral("\"\"")) +
                         QLatin1Char('"');
}

RowWriter::RowWriter(RowFormat format, const QVector<RowColumn>& columns, int width, Put put)
    : m_format(format), m_columns(columns), m_width(width), m_put(std::move(put)) {}

bool RowWriter::put(const QString& text) {
    m_isGood = m_isGood && m_put(text.toUtf8());
    return m_isGood;
}

bool RowWriter::putCsv(const QStringList& cells) {
    QStringList quoted;
    for (const QString& cell : cells) {
        quoted.append(csvCell(cell));
    }
    return put(quoted.join(QLatin1Char(',')) + QStringLiteral("\r\n"));
}

QStringList RowWriter::cellsOf(const QJsonObject& row) const {
    QStringList cells;
    for (const RowColumn& column : m_columns) {
        const QJsonValue value = row.value(QLatin1String(column.key));
        cells.append(m_format == RowFormat::Table ? tableText(value, column.isDate)
                                                  : cellText(value, column.isDate));
    }
    return cells;
}

bool RowWriter::begin() {
    QStringList names;
    switch (m_format) {
        case RowFormat::Csv:
            for (const RowColumn& column : m_columns) {
                names.append(nameOf(column));
            }
            return putCsv(names);
        case RowFormat::Json:
            return put(QStringLiteral("["));
        case RowFormat::Table:
            break;
    }
    return true;
}

bool RowWriter::add(const QJsonObject& row) {
    ++m_count;
    switch (m_format) {
        case RowFormat::Csv:
            return putCsv(cellsOf(row));
        case RowFormat::Json:
            return put(
                (m_count > 1 ? QStringLiteral(",\n") : QStringLiteral("\n")) +
                escapedJson(QString::fromUtf8(QJsonDocument(row).toJson(QJsonDocument::Compact))));
        case RowFormat::Table:
            m_kept.append(cellsOf(row));
            break;
    }
    return m_isGood;
}

bool RowWriter::end() {
    switch (m_format) {
        case RowFormat::Csv:
            return m_isGood;
        case RowFormat::Json:
            return put(m_count > 0 ? QStringLiteral("\n]\n") : QStringLiteral("]\n"));
        case RowFormat::Table:
            break;
    }
    QStringList titles;
    for (const RowColumn& column : m_columns) {
        titles.append(QString::fromUtf8(column.title));
    }
    TextTable table(titles);
    for (const QStringList& cells : qAsConst(m_kept)) {
        table.addRow(cells);
    }
    m_kept.clear();
    return put(table.lines(m_width).join(QLatin1Char('\n')) + QLatin1Char('\n'));
}

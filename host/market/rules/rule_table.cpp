#include "rule_table.h"

#include <QFile>

// A static library drops the object file unless something refers to it.
static void initMarketData() {
    Q_INIT_RESOURCE(market_data);
}

namespace {

const QLatin1Char kSeparator(';');
const QLatin1Char kComment('#');

}  // namespace

bool RuleTable::load(const QString& file, const QStringList& columns, RuleTable* table,
                     QString* error) {
    initMarketData();
    QFile resource(QStringLiteral(":/market/data/") + file);
    if (!resource.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("%1: the table is missing").arg(file);
        return false;
    }
    return parse(file, resource.readAll(), columns, table, error);
}

bool RuleTable::parse(const QString& file, const QByteArray& text, const QStringList& columns,
                      RuleTable* table, QString* error) {
    *table = RuleTable();
    table->m_file = file;
    const QStringList lines = QString::fromUtf8(text).split(QLatin1Char('\n'));
    if (!table->takeHeader(lines.first(), error)) {
        return false;
    }
    for (int i = 1; i < lines.size(); ++i) {
        const QString& line = lines.at(i);
        if (line.trimmed().isEmpty() || line.startsWith(kComment)) {
            continue;
        }
        if (!table->m_columns.isEmpty()) {
            if (!table->takeRow(i + 1, line, error)) {
                return false;
            }
        } else if (line.split(kSeparator) == columns) {
            table->m_columns = columns;
        } else {
            *error = table->fault(i + 1,
                                  QStringLiteral("the columns are not %1").arg(columns.join(';')));
            return false;
        }
    }
    if (table->m_rows.isEmpty()) {
        *error = table->fault(lines.size(), QStringLiteral("the table has no rows"));
        return false;
    }
    return true;
}

bool RuleTable::takeHeader(const QString& line, QString* error) {
    const QString text = line.startsWith(kComment) ? line.mid(1) : QString();
    m_date = QDate::fromString(text.section(kSeparator, 0, 0).trimmed(), Qt::ISODate);
    m_source = text.section(kSeparator, 1).trimmed();
    if (m_date.isValid() && !m_source.isEmpty()) {
        return true;
    }
    *error = fault(1, QStringLiteral("the first line is not \"# DATE; SOURCE\""));
    return false;
}

bool RuleTable::takeRow(int line, const QString& text, QString* error) {
    const QStringList cells = text.split(kSeparator);
    if (cells.size() != m_columns.size()) {
        *error =
            fault(line, QStringLiteral("%1 cells, not %2").arg(cells.size()).arg(m_columns.size()));
        return false;
    }
    m_rows.append({line, cells});
    return true;
}

QString RuleTable::cell(const Row& row, const QString& column) const {
    return row.cells.value(m_columns.indexOf(column));
}

bool RuleTable::number(const Row& row, const QString& column, int* value, QString* error) const {
    bool ok = false;
    *value = cell(row, column).toInt(&ok);
    if (!ok || *value < 0) {
        *error = fault(row.line,
                       QStringLiteral("%1 is not a number: \"%2\"").arg(column, cell(row, column)));
        return false;
    }
    return true;
}

bool RuleTable::day(const Row& row, const QString& column, QDate* value, QString* error) const {
    *value = QDate::fromString(cell(row, column), Qt::ISODate);
    if (!value->isValid()) {
        *error = fault(row.line,
                       QStringLiteral("%1 is not a date: \"%2\"").arg(column, cell(row, column)));
        return false;
    }
    return true;
}

QString RuleTable::fault(int line, const QString& what) const {
    return QStringLiteral("%1:%2: %3").arg(m_file).arg(line).arg(what);
}

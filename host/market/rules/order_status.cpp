#include "order_status.h"

#include "rule_table.h"

bool OrderStatusTable::load(QString* error) {
    const QString code = QStringLiteral("code");
    const QString name = QStringLiteral("name");
    const QString next = QStringLiteral("next");
    RuleTable table;
    if (!RuleTable::load(QStringLiteral("order_status.csv"), {code, name, next}, &table, error)) {
        return false;
    }
    m_states.clear();
    for (const RuleTable::Row& row : table.rows()) {
        m_states.insert(table.cell(row, code),
                        {table.cell(row, name),
                         table.cell(row, next).split(QLatin1Char('|'), Qt::SkipEmptyParts)});
    }
    for (const RuleTable::Row& row : table.rows()) {
        for (const QString& successor : successorsOf(table.cell(row, code))) {
            if (!m_states.contains(successor)) {
                *error = table.fault(row.line,
                                     QStringLiteral("the state \"%1\" is missing").arg(successor));
                return false;
            }
        }
    }
    return true;
}

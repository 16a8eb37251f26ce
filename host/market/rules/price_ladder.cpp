#include "price_ladder.h"

#include <algorithm>

#include "rule_table.h"

bool PriceLadder::load(const QString& name, QString* error) {
    const QString upTo = QStringLiteral("up_to");
    RuleTable table;
    if (!RuleTable::load(QStringLiteral("hong_kong_spreads.csv"),
                         {QStringLiteral("ladder"), upTo, QStringLiteral("spread")}, &table,
                         error)) {
        return false;
    }
    m_bands.clear();
    for (const RuleTable::Row& row : table.rows()) {
        if (table.cell(row, QStringLiteral("ladder")) != name) {
            continue;
        }
        Band band{0, table.cell(row, QStringLiteral("spread"))};
        if (!table.number(row, upTo, &band.upTo, error)) {
            return false;
        }
        const int before = m_bands.isEmpty() ? 0 : m_bands.last().upTo;
        if (band.upTo <= before || !(band.spread.toDouble() > 0)) {
            *error = table.fault(row.line, QStringLiteral("the ladder does not rise"));
            return false;
        }
        m_bands.append(band);
    }
    if (m_bands.isEmpty()) {
        *error = table.fault(1, QStringLiteral("the ladder \"%1\" is missing").arg(name));
    }
    return !m_bands.isEmpty();
}

double PriceLadder::spreadAt(double price) const {
    const qint64 units = qRound64(price * 10000);
    const auto found = std::find_if(m_bands.cbegin(), m_bands.cend(), [units](const Band& band) {
        return units <= qint64(band.upTo) * 10;
    });
    const Band& band = found == m_bands.cend() ? m_bands.last() : *found;
    return band.spread.toDouble();
}

#include "security_book.h"

#include "data_log.h"
#include "data_stores.h"
#include "never_destroyed.h"
#include "quantity_rule_check.h"
#include "quantity_sections.h"
#include "reference_table.h"
#include "vocabulary/fields.h"

namespace {

void warnOfBadQuantities(const QHash<QString, QVariantMap>& securities) {
    const StaticDatabase& rules = DataStores::staticDatabase();
    const QStringList sentences = minimumsOffTheirStep(
        securities, rules.section(QuantitySection::step), rules.section(QuantitySection::min));
    for (const QString& sentence : sentences) {
        qCWarning(lcPlatformStaticData).noquote() << sentence;
    }
}

}  // namespace

SecurityBook& SecurityBook::instance() {
    return neverDestroyed([] { return new SecurityBook; });
}

void SecurityBook::clear() {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_rows.reset();
}

std::shared_ptr<const SecurityBook::Rows> SecurityBook::rows() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_rows) {
        m_rows = readRows();
    }
    return m_rows;
}

std::shared_ptr<const SecurityBook::Rows> SecurityBook::readRows() {
    ReferenceTable& table = ReferenceTable::of(ReferenceKind::Security);
    // The table logs a failure to read; the book is empty then and is not read again.
    table.load();
    auto rows = std::make_shared<Rows>();
    rows->bySymbol = table.records();
    warnOfBadQuantities(rows->bySymbol);
    QStringList symbols = rows->bySymbol.keys();
    // If two securities have the same id, it leads to the one with the smaller symbol.
    symbols.sort();
    for (const QString& symbol : symbols) {
        const QVariantMap record = rows->bySymbol.value(symbol);
        const QString id = record.value(Security::securityID).toString();
        if (id.isEmpty()) {
            continue;
        }
        QStringList exchanges = exchangesOf(record);
        exchanges.append(QString());
        for (const QString& exchange : qAsConst(exchanges)) {
            const QPair<QString, QString> key(id, exchange);
            if (!rows->byId.contains(key)) {
                rows->byId.insert(key, symbol);
            }
        }
    }
    return rows;
}

QVariantMap SecurityBook::record(const QString& symbol) const {
    return rows()->bySymbol.value(symbol);
}

QStringList SecurityBook::exchangesOf(const QVariantMap& record) {
    QStringList exchanges = record.value(UserAccount::securityExchange)
                                .toString()
                                .split(QLatin1Char(','), Qt::SkipEmptyParts);
    exchanges.removeDuplicates();
    return exchanges;
}

QString SecurityBook::symbolOf(const QString& securityID, const QString& exchange) const {
    return rows()->byId.value(qMakePair(securityID, exchange));
}

QHash<QString, QVariantMap> SecurityBook::records() const {
    return rows()->bySymbol;
}

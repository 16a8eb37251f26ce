#include "reference_table.h"

#include <QMap>
#include <array>
#include <mutex>

#include "data_log.h"
#include "data_stores.h"
#include "never_destroyed.h"
#include "record_text.h"
#include "vocabulary/fields.h"

namespace {

/// In the order of ReferenceKind.
const std::array<const char*, 8> kKindNames{"etf",   "bond", "gold",    "newstock",
                                            "quota", "rqt",  "setting", "security"};

}  // namespace

ReferenceTable::ReferenceTable(const QString& kind) : m_kind(kind) {}

ReferenceTable& ReferenceTable::of(ReferenceKind kind) {
    using Tables = std::array<ReferenceTable*, kKindNames.size()>;
    const Tables& tables = neverDestroyed([] {
        auto* const made = new Tables;
        for (size_t i = 0; i < made->size(); ++i) {
            made->at(i) = new ReferenceTable(QLatin1String(kKindNames.at(i)));
        }
        return made;
    });
    return *tables.at(size_t(kind));
}

void ReferenceTable::clearAll() {
    for (size_t i = 0; i < kKindNames.size(); ++i) {
        of(ReferenceKind(i)).clear();
    }
}

void DataStores::clearReferenceTables() {
    ReferenceTable::clearAll();
}

bool ReferenceTable::load() {
    return loadRows(nullptr);
}

bool ReferenceTable::loadOfAccounts(const QSet<QString>& tradingAccounts) {
    return loadRows(&tradingAccounts);
}

bool ReferenceTable::loadRows(const QSet<QString>* tradingAccounts) {
    QMap<QString, QString> texts;
    QString error;
    StaticDatabase& database = DataStores::staticDatabase();
    const bool read = database.readReference(m_kind, &texts, &error);
    if (!read) {
        qCWarning(lcPlatformStaticData).noquote()
            << "reference rows of kind" << m_kind << "are not loaded:" << error;
        database.noteError(QStringLiteral("reference rows of kind %1 are not loaded").arg(m_kind));
    }
    QHash<QString, QVariantMap> rows;
    int unusable = 0;
    for (auto it = texts.cbegin(); it != texts.cend(); ++it) {
        QVariantMap record;
        if (!RecordText::read(it.value(), &record, &error)) {
            qCWarning(lcPlatformStaticData).noquote()
                << "reference row" << it.key() << "of kind" << m_kind << "cannot be read:" << error;
            ++unusable;
        } else if (!tradingAccounts || tradingAccounts->contains(
                                           record.value(UserAccount::tradingAccount).toString())) {
            rows.insert(it.key(), record);
        }
    }
    database.noteError(QStringLiteral("a reference row of kind %1 cannot be used").arg(m_kind),
                       unusable);
    database.noteReferenceRows(m_kind, rows.size());
    const std::unique_lock<std::shared_mutex> guard(m_lock);
    m_rows.swap(rows);
    return read;
}

void ReferenceTable::clear() {
    const std::unique_lock<std::shared_mutex> guard(m_lock);
    m_rows.clear();
}

int ReferenceTable::count() const {
    const std::shared_lock<std::shared_mutex> guard(m_lock);
    return m_rows.size();
}

QVariantMap ReferenceTable::record(const QString& symbol) const {
    const std::shared_lock<std::shared_mutex> guard(m_lock);
    return m_rows.value(symbol);
}

bool ReferenceTable::contains(const QString& symbol) const {
    const std::shared_lock<std::shared_mutex> guard(m_lock);
    return m_rows.contains(symbol);
}

QVariantMap ReferenceTable::recordWith(const QString& field, const QString& text) const {
    const std::shared_lock<std::shared_mutex> guard(m_lock);
    auto best = m_rows.cend();
    for (auto it = m_rows.cbegin(); it != m_rows.cend(); ++it) {
        const QVariant value = it->value(field);
        if (value.isValid() && value.toString() == text &&
            (best == m_rows.cend() || it.key() < best.key())) {
            best = it;
        }
    }
    return best == m_rows.cend() ? QVariantMap() : *best;
}

QHash<QString, QVariantMap> ReferenceTable::records() const {
    const std::shared_lock<std::shared_mutex> guard(m_lock);
    return m_rows;
}

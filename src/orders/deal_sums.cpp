#include "deal_sums.h"

#include <QDebug>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "counted_deals.h"
#include "log.h"
#include "never_destroyed.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

/// A larger amount, quantity or commission of one deal is an error: sums that contain it would be
/// too inexact for the others.
constexpr double kMostOfADeal = 1e15;
constexpr size_t kFewestSlots = 256;

quint64 mixed(quint64 hash, quint64 word) {
    hash = (hash ^ word) * 0x9E3779B97F4A7C15ULL;
    return hash ^ (hash >> 32);
}

/// A hash of 64 bits. Those of Qt have 32, which is too few to identify a million deals.
quint64 hashOf(const QString& text, quint64 seed) {
    size_t left = static_cast<size_t>(text.size()) * sizeof(QChar);
    const char* bytes = reinterpret_cast<const char*>(text.constData());
    quint64 hash = mixed(seed, left);
    quint64 word = 0;
    for (; left >= sizeof word; left -= sizeof word, bytes += sizeof word) {
        std::memcpy(&word, bytes, sizeof word);
        hash = mixed(hash, word);
    }
    word = 0;
    std::memcpy(&word, bytes, left);
    return mixed(mixed(hash, word), seed);
}

QString text(const QVariantMap& record, const QString& field) {
    const auto found = record.constFind(field);
    return found != record.cend() ? found->toString() : QString();
}

/// Like `one == other`; texts of one origin share their memory.
bool isSame(const QString& one, const QString& other) {
    return one.constData() == other.constData() ||
           (one.size() == other.size() &&
            std::memcmp(one.constData(), other.constData(),
                        static_cast<size_t>(one.size()) * sizeof(QChar)) == 0);
}

enum DealField {
    TradingAccount,
    Symbol,
    SecurityAccount,
    Side,
    LastAmount,
    LastQty,
    Commission,
    ExecId,
    DealFieldCount
};

struct NamedField {
    QString name;
    DealField field;
};

/// The fields of a deal in the order in which a record holds them.
struct SortedFields {
    std::array<NamedField, DealFieldCount> fields{{{UserAccount::tradingAccount, TradingAccount},
                                                   {Security::symbol, Symbol},
                                                   {UserAccount::securityAccount, SecurityAccount},
                                                   {Security::side, Side},
                                                   {Security::lastAmount, LastAmount},
                                                   {Security::lastQty, LastQty},
                                                   {Margin::executionCommission, Commission},
                                                   {Security::execID, ExecId}}};
    SortedFields() {
        std::sort(fields.begin(), fields.end(), [](const NamedField& one, const NamedField& other) {
            return one.name < other.name;
        });
    }
};

/// Like `one < other`; most names differ in their first letter.
bool isBefore(const QString& one, const QString& other) {
    const QChar first = one.isEmpty() ? QChar() : *one.constData();
    const QChar otherFirst = *other.constData();
    return first != otherFirst ? first < otherFirst : one < other;
}

/// The values of a deal's fields, null where one is missing. One walk along the record takes a
/// fraction of the time of a look-up of every field.
class DealValues {
public:
    explicit DealValues(const QVariantMap& record) {
        const auto& fields = neverDestroyed<SortedFields>().fields;
        auto wanted = fields.begin();
        auto present = record.cbegin();
        while (wanted != fields.end() && present != record.cend()) {
            if (isBefore(present.key(), wanted->name)) {
                ++present;
            } else if (present.key() == wanted->name) {
                m_values[wanted->field] = &present.value();
                ++present;
                ++wanted;
            } else {
                ++wanted;
            }
        }
    }

    const QVariant* operator[](DealField field) const { return m_values[field]; }
    /// The value as a text, without a copy. A value of another type is converted into `converted`.
    const QString& text(DealField field, QString* converted) const {
        const QVariant* const value = m_values[field];
        if (value && value->userType() == QMetaType::QString) {
            return *static_cast<const QString*>(value->constData());
        }
        *converted = value ? value->toString() : QString();
        return *converted;
    }
    bool isBuy() const {
        static const QVariant buy(OrderSide::buy);
        return m_values[Side] && *m_values[Side] == buy;
    }

private:
    std::array<const QVariant*, DealFieldCount> m_values{};
};

}  // namespace

/// Refers to the record that it was read from.
struct DealSums::Deal {
    const QString* tradingAccount = nullptr;
    const QString* symbol = nullptr;
    const QString* securityAccount = nullptr;
    std::array<QString, 3> converted;  // where one of these is not a text in the record
    quint64 keyHash = 0;
    quint64 id = 0;
    bool hasId = false;
    RealizedProfitItem item;
};

/// An exchange's deal number is the same for both sides of a deal and may come back on another
/// exchange, so that a deal's id covers its keys and its side too.
void DealSums::read(const QVariantMap& record, Deal* read) {
    Deal& deal = *read;
    const DealValues values(record);
    deal.tradingAccount = &values.text(TradingAccount, &deal.converted[0]);
    deal.symbol = &values.text(Symbol, &deal.converted[1]);
    deal.securityAccount = &values.text(SecurityAccount, &deal.converted[2]);
    deal.keyHash =
        hashOf(*deal.securityAccount, hashOf(*deal.symbol, hashOf(*deal.tradingAccount, 1)));
    const bool buy = values.isBuy();
    (buy ? deal.item.buyAmount : deal.item.sellAmount) =
        number(record, Security::lastAmount, values[LastAmount]);
    (buy ? deal.item.buyQty : deal.item.sellQty) =
        number(record, Security::lastQty, values[LastQty]);
    deal.item.commission = number(record, Margin::executionCommission, values[Commission]);
    QString converted;
    const QString& execId = values.text(ExecId, &converted);
    deal.hasId = !execId.isEmpty();
    deal.id = mixed(hashOf(execId, deal.keyHash), buy ? 1 : 2);
}

double DealSums::number(const QVariantMap& deal, const QString& field, const QVariant* found) {
    if (!found) {
        return 0;
    }
    bool isNumber = false;
    const double value = found->toDouble(&isNumber);
    if (isNumber && std::abs(value) <= kMostOfADeal) {  // false for NaN
        return value;
    }
    const bool isEmpty = !found->isValid() || (found->type() == QVariant::String &&
                                               found->toString().trimmed().isEmpty());
    if (!isEmpty && m_leftOut++ == 0) {
        m_firstLeftOut =
            QStringLiteral("%1 = %2 of account %3, symbol %4")
                .arg(field, found->toString().left(40), text(deal, UserAccount::tradingAccount),
                     text(deal, Security::symbol));
    }
    return 0;
}

void DealSums::logLeftOut() const {
    if (m_leftOut > 0) {
        qCWarning(lcOrders).noquote()
            << "realized profit leaves out" << m_leftOut
            << "values that are not finite numbers or are above 1e15; the first is"
            << m_firstLeftOut;
    }
}

void DealSums::addListed(const QVariantMap& record, std::vector<quint64>* ids) {
    Deal deal;
    read(record, &deal);
    if (deal.hasId) {
        ids->push_back(deal.id);
    }
    itemOf(deal) += deal.item;
}

void DealSums::addStreamed(const QVariantMap& record, CountedDeals* counted) {
    Deal deal;
    read(record, &deal);
    if (deal.hasId && !counted->addStreamed(deal.id)) {
        ++m_repeated;
        return;
    }
    itemOf(deal) += deal.item;
}

RealizedProfitItem& DealSums::itemOf(const Deal& deal) {
    if ((m_entries.size() + 1) * 2 > m_slots.size()) {
        growSlots();
    }
    const size_t mask = m_slots.size() - 1;
    size_t slot = deal.keyHash & mask;
    while (m_slots[slot] != 0) {
        Entry& entry = m_entries[m_slots[slot] - 1];
        if (entry.hash == deal.keyHash && isSame(entry.symbol, *deal.symbol) &&
            isSame(entry.tradingAccount, *deal.tradingAccount) &&
            isSame(entry.securityAccount, *deal.securityAccount)) {
            return entry.item;
        }
        slot = (slot + 1) & mask;
    }
    m_entries.push_back(
        {deal.keyHash, *deal.tradingAccount, *deal.symbol, *deal.securityAccount, {}});
    m_slots[slot] = static_cast<quint32>(m_entries.size());
    return m_entries.back().item;
}

void DealSums::growSlots() {
    m_slots.assign(std::max(kFewestSlots, m_slots.size() * 2), 0);
    const size_t mask = m_slots.size() - 1;
    for (size_t i = 0; i < m_entries.size(); ++i) {
        size_t slot = m_entries[i].hash & mask;
        while (m_slots[slot] != 0) {
            slot = (slot + 1) & mask;
        }
        m_slots[slot] = static_cast<quint32>(i + 1);
    }
}

RealizedProfitTable DealSums::table() const {
    std::vector<const Entry*> sorted;
    sorted.reserve(m_entries.size());
    for (const Entry& entry : m_entries) {
        sorted.push_back(&entry);
    }
    std::sort(sorted.begin(), sorted.end(), [](const Entry* one, const Entry* other) {
        int order = one->tradingAccount.compare(other->tradingAccount);
        if (order == 0) {
            order = one->symbol.compare(other->symbol);
        }
        return order != 0 ? order < 0 : one->securityAccount < other->securityAccount;
    });
    RealizedProfitTable table;
    QMap<QString, QMap<QString, RealizedProfitItem>> bySymbol;
    QMap<QString, RealizedProfitItem> bySecurityAccount;
    // Each map is complete before the one around it takes it, and grows at its end.
    for (size_t i = 0; i < sorted.size(); ++i) {
        const Entry& entry = *sorted[i];
        const Entry* const next = i + 1 < sorted.size() ? sorted[i + 1] : nullptr;
        bySecurityAccount.insert(bySecurityAccount.cend(), entry.securityAccount, entry.item);
        const bool isLastOfAccount = !next || next->tradingAccount != entry.tradingAccount;
        if (isLastOfAccount || next->symbol != entry.symbol) {
            bySymbol.insert(bySymbol.cend(), entry.symbol, std::exchange(bySecurityAccount, {}));
        }
        if (isLastOfAccount) {
            table.insert(table.cend(), entry.tradingAccount, std::exchange(bySymbol, {}));
        }
    }
    return table;
}

#include "deal_sums.h"

#include <QDebug>
#include <algorithm>
#include <cmath>
#include <cstring>

#include "counted_deals.h"
#include "log.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

/// A larger amount, quantity or commission of one deal is an error: sums that contain it would be
/// too inexact for the others.
constexpr double kMostOfADeal = 1e15;
constexpr size_t kFewestSlots = 256;

DealSums::Hash mixed(DealSums::Hash hash, quint64 word) {
    hash.one = (hash.one ^ word) * 0x9E3779B97F4A7C15ULL;
    hash.one ^= hash.one >> 32;
    hash.other = (hash.other + word) * 0xC2B2AE3D27D4EB4FULL;
    hash.other ^= hash.other >> 29;
    return hash;
}

/// Continues a hash with a text. Those of Qt have 32 bits, too few to identify a million deals.
DealSums::Hash hashOf(const QString& text, DealSums::Hash hash) {
    size_t left = static_cast<size_t>(text.size()) * sizeof(QChar);
    const char* bytes = reinterpret_cast<const char*>(text.constData());
    hash = mixed(hash, left);
    quint64 word = 0;
    for (; left >= sizeof word; left -= sizeof word, bytes += sizeof word) {
        std::memcpy(&word, bytes, sizeof word);
        hash = mixed(hash, word);
    }
    word = 0;
    std::memcpy(&word, bytes, left);
    return mixed(hash, word);
}

/// A field as text, without a copy where the record has it as text.
class FieldText {
public:
    explicit FieldText(const QVariant* value) {
        if (value && value->userType() == QMetaType::QString) {
            m_inRecord = static_cast<const QString*>(value->constData());
        } else if (value) {
            m_converted = value->toString();
        }
    }
    const QString& get() const { return m_inRecord ? *m_inRecord : m_converted; }

private:
    const QString* m_inRecord = nullptr;
    QString m_converted;
};

double numberOf(const QVariant& value, bool* isNumber) {
    if (value.userType() == QMetaType::Double) {
        *isNumber = true;
        return *static_cast<const double*>(value.constData());
    }
    return value.toDouble(isNumber);
}

bool isBuy(const QVariant* side) {
    static const QVariant buy(OrderSide::buy);
    return side && *side == buy;
}

}  // namespace

/// A deal's figures. Refers to the record, which must live as long.
struct DealSums::Deal {
    FieldText tradingAccount;
    FieldText symbol;
    FieldText securityAccount;
    Hash keyHash;
    quint64 id = 0;
    bool hasId = false;
    RealizedProfitItem item;

    Deal(const QVariant* account, const QVariant* ofSymbol, const QVariant* ofSecurityAccount)
        : tradingAccount(account),
          symbol(ofSymbol),
          securityAccount(ofSecurityAccount),
          keyHash(hashOf(securityAccount.get(),
                         hashOf(symbol.get(), hashOf(tradingAccount.get(), Hash())))) {}
};

/// An exchange's deal number is the same for both sides of a deal and may come back on another
/// exchange, so that a deal's id covers its keys and its side too.
DealSums::Deal DealSums::read(const QVariantMap& record) {
    Deal deal(m_tradingAccount.in(record), m_symbol.in(record), m_securityAccount.in(record));
    const bool buy = isBuy(m_side.in(record));
    (buy ? deal.item.buyAmount : deal.item.sellAmount) = number(record, &m_amount, deal);
    (buy ? deal.item.buyQty : deal.item.sellQty) = number(record, &m_quantity, deal);
    deal.item.commission = number(record, &m_commission, deal);
    const FieldText execId(m_execId.in(record));
    deal.hasId = !execId.get().isEmpty();
    deal.id = mixed(hashOf(execId.get(), deal.keyHash), buy ? 1 : 2).one;
    return deal;
}

double DealSums::number(const QVariantMap& record, RecordField* field, const Deal& deal) {
    const QVariant* const found = field->in(record);
    if (!found) {
        return 0;
    }
    bool isNumber = false;
    const double value = numberOf(*found, &isNumber);
    if (isNumber && std::abs(value) <= kMostOfADeal) {  // false for NaN
        return value;
    }
    const bool isEmpty = !found->isValid() || (found->type() == QVariant::String &&
                                               found->toString().trimmed().isEmpty());
    if (!isEmpty && m_leftOut++ == 0) {
        m_firstLeftOut = QStringLiteral("%1 = %2 of account %3, symbol %4")
                             .arg(field->key(), found->toString().left(40),
                                  deal.tradingAccount.get(), deal.symbol.get());
    }
    return 0;
}

void DealSums::fetchTexts(const QVariantMap& record) {
    for (RecordField* const field :
         {&m_tradingAccount, &m_symbol, &m_securityAccount, &m_side, &m_execId}) {
        field->fetchText(record);
    }
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
    const Deal deal = read(record);
    if (deal.hasId) {
        ids->push_back(deal.id);
    }
    itemOf(deal) += deal.item;
}

void DealSums::addStreamed(const QVariantMap& record, CountedDeals* counted) {
    const Deal deal = read(record);
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
    size_t slot = deal.keyHash.one & mask;
    while (m_slots[slot] != 0) {
        Entry& entry = m_entries[m_slots[slot] - 1];
        if (entry.hash == deal.keyHash) {
            return entry.item;
        }
        slot = (slot + 1) & mask;
    }
    m_entries.push_back({deal.keyHash,
                         deal.tradingAccount.get(),
                         deal.symbol.get(),
                         deal.securityAccount.get(),
                         {}});
    m_slots[slot] = static_cast<quint32>(m_entries.size());
    return m_entries.back().item;
}

void DealSums::growSlots() {
    m_slots.assign(std::max(kFewestSlots, m_slots.size() * 2), 0);
    const size_t mask = m_slots.size() - 1;
    for (size_t i = 0; i < m_entries.size(); ++i) {
        size_t slot = m_entries[i].hash.one & mask;
        while (m_slots[slot] != 0) {
            slot = (slot + 1) & mask;
        }
        m_slots[slot] = static_cast<quint32>(i + 1);
    }
}

DealSums::DealSums()
    : m_tradingAccount(UserAccount::tradingAccount),
      m_symbol(Security::symbol),
      m_securityAccount(UserAccount::securityAccount),
      m_side(Security::side),
      m_amount(Security::lastAmount),
      m_quantity(Security::lastQty),
      m_commission(Margin::executionCommission),
      m_execId(Security::execID) {}

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

#include "order_record.h"

#include <algorithm>

#include "never_destroyed.h"
#include "vocabulary/fields.h"

namespace {

struct WantedField {
    QString key;
    OrderRecord::Field field;
};

/// The wanted fields in the order of their keys, which is that of a record.
struct WantedFields {
    std::array<WantedField, OrderRecord::FieldCount> fields{
        {{Security::symbol, OrderRecord::Symbol},
         {Security::securityID, OrderRecord::SecurityID},
         {Security::securityIDSource, OrderRecord::SecurityIDSource},
         {Security::orderStation, OrderRecord::OrderStation},
         {Instruction::InstructionID, OrderRecord::InstructionID},
         {UserAccount::securityAccount, OrderRecord::SecurityAccount},
         {UserAccount::securityExchange, OrderRecord::SecurityExchange},
         {UserAccount::tradingAccount, OrderRecord::TradingAccount},
         {CustomField::priceType, OrderRecord::PriceType},
         {Security::orderType, OrderRecord::OrderType},
         {Security::orderQty, OrderRecord::OrderQty}}};

    WantedFields() {
        std::sort(
            fields.begin(), fields.end(),
            [](const WantedField& left, const WantedField& right) { return left.key < right.key; });
    }
};

/// Negative, 0 or positive, in the order of QString's own comparison. Keys differ within their
/// first characters, so a call of that costs more than the comparison.
int compared(const QString& left, const QString& right) {
    const QChar* const a = left.constData();
    const QChar* const b = right.constData();
    const int common = std::min(left.size(), right.size());
    for (int i = 0; i < common; ++i) {
        if (a[i] != b[i]) {
            return a[i].unicode() - b[i].unicode();
        }
    }
    return left.size() - right.size();
}

}  // namespace

OrderRecord::OrderRecord(const QVariantMap& record) {
    const auto& wanted = neverDestroyed<WantedFields>().fields;
    auto next = wanted.cbegin();
    auto it = record.cbegin();
    const auto end = record.cend();
    while (it != end && next != wanted.cend()) {
        const int order = compared(it.key(), next->key);
        if (order == 0) {
            m_values[next->field] = &*it;
        }
        if (order <= 0) {
            ++it;
        }
        if (order >= 0) {
            ++next;
        }
    }
}

bool OrderRecord::isEmpty(Field field) const {
    const QVariant* const value = m_values[field];
    if (!value) {
        return true;
    }
    return value->userType() == QMetaType::QString
               ? static_cast<const QString*>(value->constData())->isEmpty()
               : value->toString().isEmpty();
}

void RecordBlock::fetch(const QList<QVariantMap>& list, int first) {
    const int count = std::min(kTogether, list.size() - first);
    std::array<QVariantMap::const_iterator, kTogether> at;
    for (int i = 0; i < count; ++i) {
        at[i] = list.at(first + i).cbegin();
    }
    bool more = true;
    while (more) {
        more = false;
        for (int i = 0; i < count; ++i) {
            if (at[i] != list.at(first + i).cend()) {
                if (at[i]->userType() == QMetaType::QString) {
                    __builtin_prefetch(
                        static_cast<const QString*>(at[i]->constData())->constData());
                }
                ++at[i];
                more = true;
            }
        }
    }
}

#include "flat_row.h"

#include <array>

namespace {

int registerFlatRow() {
    const int type = qRegisterMetaType<FlatRow>("FlatRow");
    QMetaType::registerConverter<FlatRow, QVariantMap>(&FlatRow::toMap);
    return type;
}

}  // namespace

int flatRowType() {
    static const int type = registerFlatRow();
    return type;
}

void FlatRow::change(Change made) {
    if (!m_data) {
        m_data = new Data;
    }
    auto& changes = m_data->changes;
    const auto at = std::lower_bound(changes.begin(), changes.end(), made.key, isBefore);
    if (at != changes.end() && at->key == made.key) {
        *at = std::move(made);
    } else {
        changes.insert(at, std::move(made));
    }
}

const QVariant* FlatRow::find(const QString& key) const {
    if (!m_data) {
        return nullptr;
    }
    const auto& changes = m_data->changes;
    const auto at = std::lower_bound(changes.cbegin(), changes.cend(), key, isBefore);
    if (at != changes.cend() && at->key == key) {
        return at->isRemoved ? nullptr : &at->value;
    }
    const auto found = m_data->record.constFind(key);
    return found == m_data->record.cend() ? nullptr : &*found;
}

int FlatRow::size() const {
    int count = 0;
    forEach([&count](const QString&, const QVariant&) {
        ++count;
        return true;
    });
    return count;
}

QVariantMap FlatRow::toMap() const {
    if (m_data && m_data->changes.isEmpty()) {
        return m_data->record;
    }
    QVariantMap map;
    forEach([&map](const QString& key, const QVariant& value) {
        map.insert(map.cend(), key, value);
        return true;
    });
    return map;
}

void FlatRow::fetch(const QVariantList& rows, int first) {
    struct Fields {
        QVariantMap::const_iterator at;
        QVariantMap::const_iterator end;
    };
    std::array<const Data*, kTogether> fetched;
    std::array<Fields, kTogether> walks;
    int count = 0;
    const int type = flatRowType();
    for (int i = first; i < std::min(first + kTogether, rows.size()); ++i) {
        if (rows.at(i).userType() == type && flatRowIn(rows.at(i)).m_data) {
            fetched[count] = flatRowIn(rows.at(i)).m_data.constData();
            __builtin_prefetch(fetched[count++]);
        }
    }
    for (int i = 0; i < count; ++i) {
        for (const Change& change : fetched[i]->changes) {
            __builtin_prefetch(&change);
        }
        walks[i] = {fetched[i]->record.cbegin(), fetched[i]->record.cend()};
    }
    for (bool more = true; more;) {
        more = false;
        for (int i = 0; i < count; ++i) {
            auto& [at, end] = walks[i];
            if (at != end) {
                if (at->userType() == QMetaType::QString) {
                    __builtin_prefetch(static_cast<const QString*>(at->constData())->constData());
                }
                ++at;
                more = true;
            }
        }
    }
}

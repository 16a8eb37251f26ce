#pragma once

#include <QHash>
#include <QString>
#include <QVariantMap>

#include "tag_user_account_info.h"

/// Members of an account record by the row field that fills them.
template <class Value>
using RecordMembers = QHash<QString, Value tagUserAccountInfo::*>;

/// Fills the members whose fields the row contains; the others stay as they are. Iterates over the
/// row, since a look-up per member would slow down a load of thousands of accounts.
inline void fillRecord(const QVariantMap& row, const RecordMembers<QString>& texts,
                       const RecordMembers<int>& numbers, tagUserAccountInfo& record) {
    for (auto field = row.cbegin(); field != row.cend(); ++field) {
        const auto text = texts.constFind(field.key());
        if (text != texts.cend()) {
            record.** text = field->toString();
            continue;
        }
        const auto number = numbers.constFind(field.key());
        if (number != numbers.cend()) {
            record.** number = field->toInt();
        }
    }
}

#pragma once

#include <QHash>
#include <QString>
#include <QVariantMap>

#include "tag_user_account_info.h"

/// Members of an account's record by the field of a row that fills them.
template <class Value>
using RecordMembers = QHash<QString, Value tagUserAccountInfo::*>;

/// Fills the members whose fields the row holds; the others stay as they are. It walks the row,
/// since a load of thousands of accounts feels a look-up per member.
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

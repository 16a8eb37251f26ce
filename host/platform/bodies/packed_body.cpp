#include "packed_body.h"

#include <algorithm>

#include "flat_row.h"
#include "vocabulary/fields.h"

namespace {

inline const QString kFailedStatus = QStringLiteral("1");
inline const QString kOldTextTag = QStringLiteral("58");

bool isRow(const QVariant& value) {
    return value.userType() == QMetaType::QVariantMap || value.userType() == flatRowType();
}

}  // namespace

bool isPackedBody(const QVariant& value) {
    if (value.userType() != QMetaType::QVariantList) {
        return false;
    }
    const QVariantList rows = value.toList();
    return !rows.isEmpty() && std::all_of(rows.cbegin(), rows.cend(), isRow);
}

QList<QVariantMap> rowsOfPackedBody(const QVariant& value) {
    if (!isPackedBody(value)) {
        return {QVariantMap()};
    }
    QList<QVariantMap> rows;
    const QVariantList all = value.toList();
    rows.reserve(all.size());
    for (const QVariant& row : all) {
        rows.append(row.toMap());
    }
    return rows;
}

QVariant makeErrorBody(const QString& text) {
    const QVariantMap header{{System::requestExeStatus, kFailedStatus},
                             {System::textDescription, text},
                             {kOldTextTag, text}};
    return QVariantList{header};
}

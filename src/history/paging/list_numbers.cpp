#include "list_numbers.h"

#include <algorithm>
#include <cmath>

#include "vocabulary/fields.h"

namespace {

// Up to here a double holds each whole number, and products with a page size fit 64 bits.
constexpr qint64 kMostRows = 1000000000000000;

bool isNaN(const QVariant& value) {
    return (value.userType() == QMetaType::Double || value.userType() == QMetaType::Float) &&
           std::isnan(value.toDouble());
}

bool isSame(const QVariant& one, const QVariant& other) {
    if (one.userType() == QMetaType::QVariantMap && other.userType() == QMetaType::QVariantMap) {
        return isSameRow(one.toMap(), other.toMap());
    }
    if (one.userType() == QMetaType::QVariantList && other.userType() == QMetaType::QVariantList) {
        const QVariantList left = one.toList();
        const QVariantList right = other.toList();
        return std::equal(left.cbegin(), left.cend(), right.cbegin(), right.cend(), isSame);
    }
    return one == other || (isNaN(one) && isNaN(other));
}

}  // namespace

ListTotal listTotalOf(const QVariantMap& header) {
    const QVariant value = header.value(System::totalSize);
    ListTotal total;
    if (!value.isValid()) {
        return total;
    }
    total.text = value.toString();
    total.state = ListTotal::State::Unusable;
    bool isNumber = value.userType() != QMetaType::Bool;
    const double number = isNumber ? value.toDouble(&isNumber) : 0.0;
    // A NaN fails the comparisons.
    if (isNumber && number >= 0 && number <= static_cast<double>(kMostRows) &&
        number == std::trunc(number)) {
        total.state = ListTotal::State::Usable;
        total.rows = static_cast<qint64>(number);
    }
    return total;
}

bool isSameRow(const QVariantMap& one, const QVariantMap& other) {
    if (one.size() != other.size()) {
        return false;
    }
    for (auto left = one.cbegin(), right = other.cbegin(); left != one.cend(); ++left, ++right) {
        if (left.key() != right.key() || !isSame(*left, *right)) {
            return false;
        }
    }
    return true;
}

bool haveSameRows(const QList<QVariantMap>& one, const QList<QVariantMap>& other) {
    return std::equal(one.cbegin(), one.cend(), other.cbegin(), other.cend(), isSameRow);
}

#include "whole_number.h"

#include <QString>
#include <cmath>
#include <limits>

namespace {

/// Whether it fits an int; false for NaN.
bool fits(double number) {
    return number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max();
}

}  // namespace

std::optional<int> wholeNumberOf(const QVariant& value) {
    bool isNumber = false;
    switch (value.userType()) {
        case QMetaType::Short:
        case QMetaType::UShort:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::Long:
        case QMetaType::ULong:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
        case QMetaType::Float:
        case QMetaType::Double: {
            const double number = value.toDouble();
            isNumber = fits(number) && number == std::trunc(number);
            return isNumber ? std::optional<int>(static_cast<int>(number)) : std::nullopt;
        }
        case QMetaType::QString: {
            const int number = value.toString().toInt(&isNumber);
            return isNumber ? std::optional<int>(number) : std::nullopt;
        }
        default:
            return std::nullopt;
    }
}

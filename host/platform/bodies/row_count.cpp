#include "row_count.h"

#include "vocabulary/fields.h"
#include "whole_number.h"

RowCount readRowCount(const QVariantMap& header, int held, int* count) {
    const QVariant value = header.value(System::subGroupNumber);
    if (!value.isValid()) {
        return RowCount::Missing;
    }
    const std::optional<int> stated = wholeNumberOf(value);
    if (!stated || *stated < 0) {
        return RowCount::Invalid;
    }
    if (count) {
        *count = *stated;
    }
    return *stated > held ? RowCount::TooLarge : RowCount::Stated;
}

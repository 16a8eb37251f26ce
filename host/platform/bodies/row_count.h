#pragma once

#include <QVariantMap>

#include "platform_export.h"

/// How the number of data rows in a body's header compares with the rows that the body holds. A
/// header may state fewer rows than there are; the rest does not count then.
enum class RowCount {
    Stated,    ///< a number of rows that the body holds
    Missing,   ///< the header has no System::subGroupNumber
    Invalid,   ///< it is not a whole number, or it is below zero
    TooLarge,  ///< it is larger than the number of rows in the body
};

/// Reads System::subGroupNumber. `held` is the number of data rows in the body; `count`, which may
/// be null, gets the stated number unless it is missing or invalid.
PLATFORM_API RowCount readRowCount(const QVariantMap& header, int held, int* count);

#pragma once

#include <QVariant>
#include <optional>

/// A field of a request as a whole number: a number without a fraction, or its text. Empty for
/// anything else, such as true, 1.5, "x", a list or a number that does not fit an int.
std::optional<int> wholeNumberOf(const QVariant& value);

#pragma once

#include <QVariant>
#include <optional>

/// A field of a request as a whole number: a number without a fraction, or the text of one. Nothing
/// for everything else, such as true, 1.5, "x", a list or what an int does not hold.
std::optional<int> wholeNumberOf(const QVariant& value);

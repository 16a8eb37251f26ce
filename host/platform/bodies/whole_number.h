#pragma once

#include <QVariant>
#include <optional>

#include "platform_export.h"

/// A field of a body as a whole number: a number without a fraction, or the text of one. Nothing
/// for everything else, such as true, 1.5, "x", a list or what an int does not hold.
PLATFORM_API std::optional<int> wholeNumberOf(const QVariant& value);

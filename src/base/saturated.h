#pragma once

#include <QtGlobal>
#include <cmath>
#include <limits>

/// A double cut off to a whole number: what the type cannot hold becomes its nearest end, what is
/// no number 0.
template <class Whole>
Whole saturated(double value) {
    // A power of two, so a double, and the first that is too large.
    const double tooLarge = std::ldexp(1.0, std::numeric_limits<Whole>::digits);
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= tooLarge) {
        return std::numeric_limits<Whole>::max();
    }
    return value <= -tooLarge ? std::numeric_limits<Whole>::min() : static_cast<Whole>(value);
}

#pragma once

#include <QtGlobal>
#include <cmath>
#include <limits>

/// A double truncated to a whole number. A number that the type cannot hold gives the type's
/// smallest or largest value, and NaN gives 0.
template <class Whole>
Whole saturated(double value) {
    // A power of two, so exact as a double; the type's largest value may not be.
    const double tooLarge = std::ldexp(1.0, std::numeric_limits<Whole>::digits);
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= tooLarge) {
        return std::numeric_limits<Whole>::max();
    }
    return value <= -tooLarge ? std::numeric_limits<Whole>::min() : static_cast<Whole>(value);
}

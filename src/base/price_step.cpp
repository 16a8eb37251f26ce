#include "price_step.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr double kNothing = 1e-10;
constexpr double kTolerance = 1e-6;

/// Truncates to a 32-bit integer. A tiny step gives more steps than one holds, and casting such a
/// number is undefined, so it stays at the nearest integer that there is.
int wholeSteps(double steps) {
    constexpr double kLowest = std::numeric_limits<int>::min();
    constexpr double kHighest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(steps, kLowest, kHighest));
}

}  // namespace

double alignPriceToStep(double value, double step, bool roundDown) {
    if (!std::isfinite(value) || !std::isfinite(step) || step <= 0) {
        return value;
    }
    const double steps = value / step;
    const int whole = wholeSteps(steps < -kNothing ? steps - kTolerance : steps + kTolerance);
    const double lower = whole * step;
    const double rest = value - lower;
    if (-kNothing < rest && rest < kNothing) {
        return lower;
    }
    // In doubles: one more than the highest integer is none.
    return roundDown ? lower : (whole + 1.0) * step;
}

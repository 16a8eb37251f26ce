#include "price_step.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tolerance.h"

namespace {

constexpr double kTolerance = 1e-6;  // of a step
constexpr double kSameStep = 1e-9;

/// Truncates to a 32-bit integer. A tiny step gives more steps than an int can hold, and casting
/// such a number is undefined, so it is limited to the nearest int.
int wholeSteps(double steps) {
    constexpr double kLowest = std::numeric_limits<int>::min();
    constexpr double kHighest = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(steps, kLowest, kHighest));
}

/// The price of a number of steps. A decimal step is an inexact double, and a product multiplies
/// its error (102 * 0.1 is above 10.2); a quotient of whole numbers is rounded once.
double priceOf(double steps, double step) {
    const double stepsPerUnit = std::round(1.0 / step);
    return std::abs(stepsPerUnit * step - 1.0) < kSameStep ? steps / stepsPerUnit : steps * step;
}

}  // namespace

double alignPriceToStep(double value, double step, bool roundDown) {
    if (!std::isfinite(value) || !std::isfinite(step) || step <= 0) {
        return value;
    }
    const double steps = value / step;
    const int whole = wholeSteps(steps < -kNothing ? steps - kTolerance : steps + kTolerance);
    const double lower = priceOf(whole, step);
    const double rest = value - lower;
    if (-kNothing < rest && rest < kNothing) {
        return lower;
    }
    // Added as doubles, since an int that is already the largest one would overflow.
    return roundDown ? lower : priceOf(whole + 1.0, step);
}

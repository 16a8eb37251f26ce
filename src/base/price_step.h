#pragma once

/// Brings a price onto a price step: the step below it with `roundDown`, otherwise the step above.
/// The result is the double nearest to the decimal number where 1 / step is a whole number (0.01,
/// 0.002, 0.0001), so 102 steps of 0.1 are exactly 10.2; for other steps it is the product.
///
/// - On a step: a price within 1e-10 of a step gives that step, in both directions.
/// - Near a step: prices and steps are inexact, so a price that misses the next step by less than a
///   millionth of the step length counts as having reached it. Such a price, unless it is within
///   1e-10, is rounded down to that step and rounded up to the step after it.
/// - Below zero the steps are counted towards zero: rounding down gives the step towards zero, and
///   rounding up one step further, so -10.004 with a step of 0.01 gives -10.00 and -9.99.
/// - More than 2^31 steps are limited to that number of steps.
/// - A price that is not finite, or a step that is not finite or not above zero, gives the price
///   back unchanged.
///
/// Pure; any thread.
double alignPriceToStep(double value, double step, bool roundDown);

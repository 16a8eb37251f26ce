#pragma once

/// A price, a lot or a difference of two prices that is not above this counts as zero: these
/// figures are inexact doubles.
inline constexpr double kNothing = 1e-10;

#pragma once

/// A price or a lot that is not above this counts as zero: these figures are inexact doubles.
inline constexpr double kNothing = 1e-10;

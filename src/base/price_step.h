#pragma once

/// Brings a value onto a price step: the step below it with `roundDown`, else the one above it. A
/// value within 1e-10 of a step is on it. Values and steps are inexact doubles, so the step is
/// found by truncation with a tolerance of a millionth of a step instead of by floor and ceil.
/// More than 2^31 steps saturate there. A value or a step that is no finite number, and a step that
/// is not above zero, give the value as it came. Pure; any thread.
double alignPriceToStep(double value, double step, bool roundDown);

#pragma once

/// How a quantity is brought onto the step, held as an int. Any other value leaves it as it is.
enum class CustomOddLotType : int {
    Keep = 0,     ///< as it is
    Down = 1,     ///< down to the step
    Nearest = 2,  ///< to the nearest step
    Up = 3,       ///< up to the step
    ByFlag = 4    ///< down when the caller's flag is true, up when it is false
};

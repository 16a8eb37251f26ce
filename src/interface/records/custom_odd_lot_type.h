#pragma once

/// How a quantity is rounded to the step; an int in the interface. Other values do not round.
enum class CustomOddLotType : int {
    Keep = 0,     ///< not rounded
    Down = 1,     ///< down to the step
    Nearest = 2,  ///< to the nearest step
    Up = 3,       ///< up to the step
    ByFlag = 4    ///< down when the caller's flag is true, up when it is false
};

#pragma once

/// Selects one of the three figures of a Hong Kong exchange rate.
enum class RateSideType : int {
    Mid = 0,   ///< the mean of the other two
    Buy = 1,   ///< the rate at which Hong Kong dollars are bought
    Sell = 2,  ///< the rate at which they are sold
};

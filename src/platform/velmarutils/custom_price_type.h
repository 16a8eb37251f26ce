#pragma once

#include <QtGlobal>

/// Selects a price of a tick; an int in the interface. Quotes are counted from the best one.
enum class CustomPriceType : int {
    Bid1 = 1,  ///< the best bid; 2 to 5 are the bids behind it
    Bid5 = 5,
    Ask1 = 11,  ///< the best ask; 12 to 15 are the asks behind it
    Ask5 = 15,
    // The day's price limits, for boards whose orders are not limited by a ratio.
    UpperLimit = 22,
    LowerLimit = 23,
    // The same two as order types: where the day has no limit they fall back to Ask5 and Bid5.
    UpperLimitOrder = 26,
    LowerLimitOrder = 27,
    // The quote up to which the other side's quotes add up to a quantity.
    AskForQty = 28,
    BidForQty = 29,
    // A ratio above the last price, and below it.
    RatioAbove = 30,
    RatioBelow = 31
};

/// Where a price that was taken from the quotes comes from.
struct HandicapInfo {
    int level = 0;     ///< the quote that gave the price, from 1; 0 when no quote did
    double price = 0;  ///< its price
    qint64 qty = 0;    ///< the quantity of the quotes up to it, itself included
};

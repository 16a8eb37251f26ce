#pragma once

#include "sample_market.h"

/// A small market with securities of every kind, enough for most tests.
inline MarketOptions smallMarket() {
    MarketOptions options;
    options.symbols = 500;
    options.historyOrders = 400;
    return options;
}

#pragma once

#include "sample_market.h"

/// A market with something of everything, and small: most tests need no more.
inline MarketOptions smallMarket() {
    MarketOptions options;
    options.symbols = 500;
    options.historyOrders = 400;
    return options;
}

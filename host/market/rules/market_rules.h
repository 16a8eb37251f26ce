#pragma once

#include <QString>

#include "price_ladder.h"
#include "price_limits.h"

/// The exchanges' rules for prices.
struct MarketRules {
    PriceLadder hongKongShares;
    PriceLadder hongKongFunds;
    PriceLimitRules priceLimits;

    /// Reads the built-in tables. False with a text that names file and line on failure.
    bool load(QString* error) {
        return hongKongShares.load(QStringLiteral("share"), error) &&
               hongKongFunds.load(QStringLiteral("fund"), error) && priceLimits.load(error);
    }
};

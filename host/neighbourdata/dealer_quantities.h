#pragma once

#include <QVector>

#include "dealer_securities.h"
#include "market_random.h"

/// Random quantities of orders, in pieces, within the security's rules.

/// A quantity that this much cash in yuan pays, commission included; 0 when it pays none. An order
/// takes an eighth of the cash at most, unless that buys nothing.
qint64 quantityToBuy(double cash, const DealtSecurity& security, qint64 price,
                     MarketRandom& random);
/// A quantity of a holding that can be sold; 0 when no order can sell any of it.
qint64 quantityToSell(qint64 sellable, const DealtSecurity& security, MarketRandom& random);
/// The deals of an order that is filled bit by bit: two to four, or fewer when its quantity has
/// fewer steps. Their sum is the quantity.
QVector<qint64> dealParts(qint64 quantity, const DealtSecurity& security, MarketRandom& random);

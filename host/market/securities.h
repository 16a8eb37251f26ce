#pragma once

#include <QList>
#include <QVariantMap>

#include "market_rules.h"
#include "market_stop.h"

/// The securities of a market as records with fields of the Security, MDCFieldDefine, UserAccount
/// and QuoteField groups: the boards of Shanghai, Shenzhen and Beijing, bonds, treasury repos,
/// funds, Hong Kong connect, options, futures and gold, in fixed shares of the count.
QList<QVariantMap> makeSecurities(quint32 seed, int count, const MarketRules& rules,
                                  const MarketStop& stop = MarketStop());

#pragma once

#include <array>

#include "vocabulary/text_constant.h"

/// Keys of a tick. Prices are doubles in the security's currency, quantities qlonglong in shares or
/// contracts; a price or quantity of 0 means that it is missing.
namespace TickField {

VELMAR_TEXT(symbol, "Symbol");
/// The phase of the day as a text, see TickPhase.
VELMAR_TEXT(phase, "TradingPhaseCode");
/// Date and time of the tick, a QDateTime.
VELMAR_TEXT(time, "TickTime");

/// Price of the last deal; the previous close until the day's first deal.
VELMAR_TEXT(lastPrice, "LastPx");
VELMAR_TEXT(previousClose, "PreClosePx");
/// The day's limits; without limits `maxPrice` is kNoUpperLimit and `minPrice` one step.
VELMAR_TEXT(maxPrice, "MaxPx");
VELMAR_TEXT(minPrice, "MinPx");
/// 0 until the day's first deal, like the totals.
VELMAR_TEXT(openPrice, "OpenPx");
VELMAR_TEXT(highPrice, "HighPx");
VELMAR_TEXT(lowPrice, "LowPx");
VELMAR_TEXT(totalQty, "TotalQty");
VELMAR_TEXT(totalAmount, "TotalAmount");
VELMAR_TEXT(dealCount, "DealCount");

constexpr int kLevels = 5;
using LevelKeys = std::array<QString, kLevels>;
/// The five levels of either side, the best one first.
VELMAR_CONSTANT(LevelKeys, buyPrice, QStringLiteral("Buy1Price"), QStringLiteral("Buy2Price"),
                QStringLiteral("Buy3Price"), QStringLiteral("Buy4Price"),
                QStringLiteral("Buy5Price"));
VELMAR_CONSTANT(LevelKeys, sellPrice, QStringLiteral("Sell1Price"), QStringLiteral("Sell2Price"),
                QStringLiteral("Sell3Price"), QStringLiteral("Sell4Price"),
                QStringLiteral("Sell5Price"));
VELMAR_CONSTANT(LevelKeys, buyQty, QStringLiteral("Buy1OrderQty"), QStringLiteral("Buy2OrderQty"),
                QStringLiteral("Buy3OrderQty"), QStringLiteral("Buy4OrderQty"),
                QStringLiteral("Buy5OrderQty"));
VELMAR_CONSTANT(LevelKeys, sellQty, QStringLiteral("Sell1OrderQty"),
                QStringLiteral("Sell2OrderQty"), QStringLiteral("Sell3OrderQty"),
                QStringLiteral("Sell4OrderQty"), QStringLiteral("Sell5OrderQty"));

/// The `maxPrice` of a day without an upper limit. Readers take every `maxPrice` above
/// kHighestLimit for "no limit".
constexpr double kNoUpperLimit = 99999999.0;
constexpr double kHighestLimit = 1e7;

}  // namespace TickField

/// Values of "TradingPhaseCode", in the order of the day.
namespace TickPhase {
VELMAR_TEXT(beforeOpen, "0");
VELMAR_TEXT(openingAuction, "1");
VELMAR_TEXT(afterAuction, "2");  ///< matched; no orders are taken yet
VELMAR_TEXT(continuous, "3");
VELMAR_TEXT(midBreak, "4");
VELMAR_TEXT(closingAuction, "5");
VELMAR_TEXT(closed, "6");
}  // namespace TickPhase

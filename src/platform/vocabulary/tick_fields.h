#pragma once

#include <QString>
#include <array>

/// Keys of a tick. Prices are doubles in the security's currency, quantities qlonglong in shares or
/// contracts; a price or quantity of 0 means that it is missing.
namespace TickField {

inline const QString symbol = QStringLiteral("Symbol");
/// The phase of the day as a text, see TickPhase.
inline const QString phase = QStringLiteral("TradingPhaseCode");
/// Date and time of the tick, a QDateTime.
inline const QString time = QStringLiteral("TickTime");

/// Price of the last deal; the previous close until the day's first deal.
inline const QString lastPrice = QStringLiteral("LastPx");
inline const QString previousClose = QStringLiteral("PreClosePx");
/// The day's limits; without limits `maxPrice` is kNoUpperLimit and `minPrice` one step.
inline const QString maxPrice = QStringLiteral("MaxPx");
inline const QString minPrice = QStringLiteral("MinPx");
/// 0 until the day's first deal, like the totals.
inline const QString openPrice = QStringLiteral("OpenPx");
inline const QString highPrice = QStringLiteral("HighPx");
inline const QString lowPrice = QStringLiteral("LowPx");
inline const QString totalQty = QStringLiteral("TotalQty");
inline const QString totalAmount = QStringLiteral("TotalAmount");
inline const QString dealCount = QStringLiteral("DealCount");

constexpr int kLevels = 5;
/// The five levels of either side, the best one first.
inline const std::array<QString, kLevels> buyPrice{
    QStringLiteral("Buy1Price"), QStringLiteral("Buy2Price"), QStringLiteral("Buy3Price"),
    QStringLiteral("Buy4Price"), QStringLiteral("Buy5Price")};
inline const std::array<QString, kLevels> sellPrice{
    QStringLiteral("Sell1Price"), QStringLiteral("Sell2Price"), QStringLiteral("Sell3Price"),
    QStringLiteral("Sell4Price"), QStringLiteral("Sell5Price")};
inline const std::array<QString, kLevels> buyQty{
    QStringLiteral("Buy1OrderQty"), QStringLiteral("Buy2OrderQty"), QStringLiteral("Buy3OrderQty"),
    QStringLiteral("Buy4OrderQty"), QStringLiteral("Buy5OrderQty")};
inline const std::array<QString, kLevels> sellQty{
    QStringLiteral("Sell1OrderQty"), QStringLiteral("Sell2OrderQty"),
    QStringLiteral("Sell3OrderQty"), QStringLiteral("Sell4OrderQty"),
    QStringLiteral("Sell5OrderQty")};

/// The `maxPrice` of a day without an upper limit. Readers take every `maxPrice` above
/// kHighestLimit for "no limit".
constexpr double kNoUpperLimit = 99999999.0;
constexpr double kHighestLimit = 1e7;

}  // namespace TickField

/// Values of "TradingPhaseCode", in the order of the day.
namespace TickPhase {
inline const QString beforeOpen = QStringLiteral("0");
inline const QString openingAuction = QStringLiteral("1");
inline const QString afterAuction = QStringLiteral("2");  ///< matched; no orders are taken yet
inline const QString continuous = QStringLiteral("3");
inline const QString midBreak = QStringLiteral("4");
inline const QString closingAuction = QStringLiteral("5");
inline const QString closed = QStringLiteral("6");
}  // namespace TickPhase

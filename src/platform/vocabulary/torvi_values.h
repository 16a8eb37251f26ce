#pragma once

#include <QString>

/// Inner fund properties and the two exchanges of A shares.
namespace Torvi_Values {

/// Bits of the fund property mask.
namespace Torvi_InnerFundProp {
inline constexpr int futuresTrade = 8;
inline constexpr int marginTrade = 2;
inline constexpr int metalTrade = 16;
inline constexpr int normalTrade = 1;
inline constexpr int optionTrade = 4;
}  // namespace Torvi_InnerFundProp

/// Codes of the two exchanges, the same as in the common exchange codes.
namespace Torvi_SecurityExchange {
inline const QString SH = QStringLiteral("1");
inline const QString SZ = QStringLiteral("2");
}  // namespace Torvi_SecurityExchange

}  // namespace Torvi_Values

#pragma once

#include "vocabulary/text_constant.h"

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
VELMAR_TEXT(SH, "1");
VELMAR_TEXT(SZ, "2");
}  // namespace Torvi_SecurityExchange

}  // namespace Torvi_Values

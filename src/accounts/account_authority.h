#pragma once

#include <QString>
#include <array>

#include "vocabulary/values.h"

/// The bits of tagUserAccountInfo::authorityFlags, in the order in which they are queried.
constexpr std::array<int, 5> kAuthorityBits{1, 2, 4, 8, 16};
constexpr int kTradeBit = 16;

/// The inner fund properties of accounts that trade securities for cash or on margin.
constexpr int kCashAndMargin = Torvi_InnerFundProp::normalTrade | Torvi_InnerFundProp::marginTrade;

/// The AuthorityType of each of kAuthorityBits, in the same order.
inline const std::array<QString, 5>& authorityTypes() {
    static const std::array<QString, 5> types{
        AuthorityType::AccountQuery, AuthorityType::AccountEdit, AuthorityType::AccountAuthority,
        AuthorityType::AccountSubscribe, AuthorityType::AccountTrade};
    return types;
}

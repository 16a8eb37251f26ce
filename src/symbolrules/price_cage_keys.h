#pragma once

#include <QString>

/// The keys of the user's cage in the user's profile on the server. The keys of the local copies
/// are other names.
namespace CageProfile {

inline const QString kFuzzyKey = QStringLiteral("user_priceCage");
inline const QString kCages = QStringLiteral("user_priceCage:Self_AllPriceCageMap");
inline const QString kApply = QStringLiteral("user_priceCage:Self_PriceCageApply");

}  // namespace CageProfile

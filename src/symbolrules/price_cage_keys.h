#pragma once

#include <QString>

/// Where the user's cage stands in his profile on the server. The local copies have keys of their
/// own, which are other names.
namespace CageProfile {

inline const QString kFuzzyKey = QStringLiteral("user_priceCage");
inline const QString kCages = QStringLiteral("user_priceCage:Self_AllPriceCageMap");
inline const QString kApply = QStringLiteral("user_priceCage:Self_PriceCageApply");

}  // namespace CageProfile

#include <algorithm>

#include "velmarutils/velmar_utils.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

bool isLike(const QString& value, const QString& wanted, CompareLike::LikeType like) {
    switch (like) {
        case CompareLike::Contains:
            return value.contains(wanted);
        case CompareLike::StartsWith:
            return value.startsWith(wanted);
        case CompareLike::Equal:
            break;
    }
    return value == wanted;
}

}  // namespace

bool VelmarUtils::IsMapQuatifiedByFilter(const QVariantMap& record, const QVariantMap& filter,
                                         QVariantMap& matched,
                                         const QMap<QString, CompareLike::LikeType>& like) {
    for (auto wanted = filter.cbegin(); wanted != filter.cend(); ++wanted) {
        const auto found = record.constFind(wanted.key());
        if (found == record.cend() || !isLike(found->toString(), wanted->toString(),
                                              like.value(wanted.key(), CompareLike::Equal))) {
            return false;
        }
        matched.insert(wanted.key(), *found);
    }
    return true;
}

bool VelmarUtils::isHKTypeSymbol(const QString& symbol) {
    const CBusinessDataBase* const data = CBusinessDataBase::GetInstance();
    if (symbol.contains(QLatin1Char('.'))) {
        return data->GetSymbolPostBySymbol(symbol) == SymbolPost::hk;
    }
    const QStringList exchanges = data->GetSecurityExchangeBySymbol(symbol, true);
    return std::any_of(exchanges.cbegin(), exchanges.cend(), [](const QString& exchange) {
        return exchange == Exchange::hhk || exchange == Exchange::szhk || exchange == Exchange::hk;
    });
}

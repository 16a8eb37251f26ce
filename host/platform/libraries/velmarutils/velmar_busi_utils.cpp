#include "velmarutils/velmar_busi_utils.h"

#include <QHash>
#include <algorithm>
#include <cmath>
#include <limits>

#include "security_book.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "zndatabase/c_data_base.h"

namespace {

QString exchangeName(const QString& exchange) {
    static const QHash<QString, QString> names{
        {Exchange::sh, QStringLiteral("上海")},
        {Exchange::sz, QStringLiteral("深圳")},
        {Exchange::bj, QStringLiteral("北京")},
        {Exchange::hhk, QStringLiteral("沪港通")},
        {Exchange::szhk, QStringLiteral("深港通")},
        {Exchange::hk, QStringLiteral("港交所")},
        {Exchange::HkStockCirculation, QStringLiteral("H股全流通")},
        {Exchange::cffex, QStringLiteral("中金所")},
        {Exchange::shf, QStringLiteral("上期所")},
        {Exchange::dcz, QStringLiteral("大商所")},
        {Exchange::czce, QStringLiteral("郑商所")},
        {Exchange::sge, QStringLiteral("金交所")},
        {Exchange::yhj, QStringLiteral("银行间")},
    };
    return names.value(exchange);
}

QString exchangeOfPost(const QString& symbolPost) {
    static const QHash<QString, QString> exchanges{
        {SymbolPost::sh, Exchange::sh},     {SymbolPost::sz, Exchange::sz},
        {SymbolPost::hk, Exchange::hk},     {SymbolPost::cffex, Exchange::cffex},
        {SymbolPost::shf, Exchange::shf},   {SymbolPost::dce, Exchange::dcz},
        {SymbolPost::czce, Exchange::czce},
    };
    return exchanges.value(symbolPost);
}

/// The only security type that an account of this type may trade; empty for accounts whose
/// exchanges decide.
QString onlyTypeOf(const QString& fundAccountType) {
    static const QHash<QString, QString> types{
        {FundAccountType::Future, MdcSecurityType::FuturesType},
        {FundAccountType::Option, MdcSecurityType::OptionType},
        {FundAccountType::Metal, MdcSecurityType::SpotType},
    };
    return types.value(fundAccountType);
}

bool isSecuritiesAccount(const QString& fundAccountType) {
    return fundAccountType == FundAccountType::Cash || fundAccountType == FundAccountType::Credit;
}

bool isOnAny(const QVariantMap& security, const QStringList& exchanges) {
    const QStringList listed = SecurityBook::exchangesOf(security);
    return std::any_of(listed.cbegin(), listed.cend(), [&exchanges](const QString& exchange) {
        return exchanges.contains(exchange);
    });
}

bool isShareBondOrFund(const QVariantMap& security) {
    const QString type = security.value(MDCFieldDefine::mdcSecurityType).toString();
    return type == MdcSecurityType::StockType || type == MdcSecurityType::BondType ||
           type == MdcSecurityType::FundType ||
           security.value(MDCFieldDefine::mdcSubSecurityType).toString() ==
               MdcSubSecurityType::Assetbackedsecurities;
}

QStringList tradableSymbols(const QString& fundAccountType, const QStringList& exchanges,
                            bool withDeleted) {
    QStringList symbols;
    const QString onlyType = onlyTypeOf(fundAccountType);
    if (onlyType.isEmpty() && !isSecuritiesAccount(fundAccountType)) {
        return symbols;
    }
    const QHash<QString, QVariantMap> securities = SecurityBook::instance().records();
    for (auto it = securities.cbegin(); it != securities.cend(); ++it) {
        const bool fits = onlyType.isEmpty()
                              ? isShareBondOrFund(*it) && isOnAny(*it, exchanges)
                              : it->value(MDCFieldDefine::mdcSecurityType).toString() == onlyType;
        if (fits && (withDeleted || !it->value(System::deleteFlag).toBool())) {
            symbols.append(it.key());
        }
    }
    symbols.sort();
    return symbols;
}

/// The quantity, or the multiple of the step beside it when the two differ by a rounding error
/// only: 519 / 5.19 is a little less than 100, and money for 100 units buys 100. The second bound
/// keeps large quantities from being raised by a relative error.
double onMultiple(double qty, qint64 step) {
    constexpr double kExact = 9007199254740992.0;  // 2^53; from here on doubles have no fraction
    if (qty >= kExact) {
        return qty;
    }
    const auto each = static_cast<double>(step);
    const double multiple = std::round(qty / each) * each;
    const double error = std::min(1e-10 * qty, 1e-6 * each);
    return std::abs(qty - multiple) <= error ? multiple : qty;
}

}  // namespace

QString VelmarBusiUtils::GetExchangeName(const QString& exchange, const QString& symbolPost) {
    QString name = exchangeName(exchange);
    if (!name.isEmpty()) {
        return name;
    }
    const QString marketName = exchangeName(exchangeOfPost(symbolPost));
    return marketName.isEmpty() ? exchange : marketName;
}

QStringList VelmarBusiUtils::GetTradableSymbolListByAccountType(const QString& fundAccountType,
                                                                const QStringList& exchanges) {
    return tradableSymbols(fundAccountType, exchanges, false);
}

QStringList VelmarBusiUtils::GetTradableSymbolListForSearchByAccountType(
    const QString& fundAccountType, const QStringList& exchanges) {
    return tradableSymbols(fundAccountType, exchanges, true);
}

qint64 VelmarBusiUtils::GetFloorByStepAndMinLimit(double qty, int step, int minQty) {
    if (!std::isfinite(qty)) {
        return 0;
    }
    const qint64 onto = std::max(step, 1);
    const double exact = onMultiple(qty, onto);
    if (exact < minQty || exact <= 0) {
        return 0;
    }
    // 2^63 is exact as a double, the largest 64-bit number is not.
    constexpr double kTooLarge = 9223372036854775808.0;
    const qint64 whole =
        exact >= kTooLarge ? std::numeric_limits<qint64>::max() : static_cast<qint64>(exact);
    return whole - whole % onto;
}

QString VelmarBusiUtils::AssembleSymbolBySecurityIDAndExchange(const QString& securityID,
                                                               const QString& exchange) {
    const QString post =
        CDataBase::GetInstance()->GetStaticCfgValue(DictionaryKey::Markert2SymbolPost, exchange);
    return securityID.isEmpty() || post.isEmpty() ? QString()
                                                  : securityID + QLatin1Char('.') + post;
}

#include "symbol_identity.h"

#include <array>

#include "velmarutils/velmar_busi_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znbasebusinessdatamgr/zn_etf_data_handler.h"
#include "znbasebusinessdatamgr/zn_new_stock_data_handler.h"
#include "znbasebusinessdatamgr/zn_rqt_base_data_handler.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

CBusinessDataBase& businessData() {
    return *CBusinessDataBase::GetInstance();
}

/// A new issue by its symbol, or else by the code of its subscription.
QVariantMap newIssue(const QString& symbol) {
    const QVariantMap issue = ZnNewStockDataHandler::instance().GetNewStockDetailInfo(symbol);
    return issue.isEmpty() ? ZnNewStockDataHandler::instance().GetNewStockDetailInfoBySubId(symbol)
                           : issue;
}

QStringList listedExchanges(const QString& symbol) {
    return businessData().GetSecurityExchangeBySymbol(symbol, true);
}

struct NameOf {
    const QString& code;
    QString name;
};

template <size_t N>
QString nameIn(const std::array<NameOf, N>& names, const QString& code) {
    for (const NameOf& one : names) {
        if (one.code == code) {
            return one.name;
        }
    }
    return QStringLiteral("未知");
}

}  // namespace

QVariantMap SymbolIdentity::GetSecurityDetailsBySymbol(const QString& symbol) const {
    const QVariantMap security = businessData().GetSecurityDetailsBySymbol(symbol);
    if (!security.isEmpty()) {
        return security;
    }
    if (ZnEtfDataHandler::instance().IsEtfRedemptionSymbol(symbol)) {
        return ZnEtfDataHandler::instance().getEtfRedemptionSymbolInfo(symbol);
    }
    const QVariantMap issue = newIssue(symbol);
    if (!issue.isEmpty()) {
        return issue;
    }
    return ZnRqtBaseDataHandler::instance().IsSymbolPortfolioRqt(symbol)
               ? ZnRqtBaseDataHandler::instance().GetRqtSymbolDetail(symbol)
               : QVariantMap();
}

QString SymbolIdentity::GetSecurityTypeBySymbol(const QString& symbol) const {
    const QString type = businessData().GetSecurityTypeBySymbol(symbol);
    return type.isEmpty() ? GetSecurityDetailsBySymbol(symbol)
                                .value(MDCFieldDefine::mdcSecurityType)
                                .toString()
                          : type;
}

QString SymbolIdentity::GetSecuritySubTypeBySymbol(const QString& symbol) const {
    const QString subType = businessData().GetSecuritySubTypeBySymbol(symbol);
    return subType.isEmpty() ? GetSecurityDetailsBySymbol(symbol)
                                   .value(MDCFieldDefine::mdcSubSecurityType)
                                   .toString()
                             : subType;
}

QString SymbolIdentity::GetASecurityExchangeBySymbol(const QString& symbol) const {
    const QStringList exchanges = listedExchanges(symbol);
    for (const QString& exchange : exchanges) {
        if (exchange == Torvi_SecurityExchange::SH || exchange == Torvi_SecurityExchange::SZ) {
            return exchange;
        }
    }
    return {};
}

QString SymbolIdentity::GetFirstSecurityExchangeBySymbol(const QString& symbol) const {
    return GetSecurityExchangeListBySymbol(symbol).value(0);
}

QStringList SymbolIdentity::GetSecurityExchangeListBySymbol(const QString& symbol) const {
    QStringList exchanges = listedExchanges(symbol);
    if (!exchanges.isEmpty()) {
        return exchanges;
    }
    const QString exchange =
        GetSecurityDetailsBySymbol(symbol).value(UserAccount::securityExchange).toString();
    // An unknown symbol has no exchange, not one without a code.
    return exchange.isEmpty() ? QStringList() : QStringList(exchange);
}

QStringList SymbolIdentity::GetExchangeNameBySymbol(const QString& symbol) const {
    const QString post = businessData().GetSymbolPostBySymbol(symbol);
    const QStringList exchanges = GetSecurityExchangeListBySymbol(symbol);
    QStringList names;
    for (const QString& exchange : exchanges) {
        names.append(VelmarBusiUtils::GetExchangeName(exchange, post));
    }
    return names;
}

QString SymbolIdentity::GetSymbolBySecurityIDAndExchange(const QString& securityID,
                                                         const QString& exchange) const {
    QString known = businessData().getSymbolBySecurityIDAndExchange(securityID, exchange,
                                                                    SecurityIDSource::securityID);
    if (!known.isEmpty()) {
        return known;
    }
    const QString assembled =
        VelmarBusiUtils::AssembleSymbolBySecurityIDAndExchange(securityID, exchange);
    return GetSecurityIDBySymbol(assembled).isEmpty() ? QString() : assembled;
}

QString SymbolIdentity::GetSecurityIDBySymbol(const QString& symbol) const {
    QString known =
        businessData().getSecurityIDBySymbol(symbol, QString(), SecurityIDSource::securityID);
    if (!known.isEmpty()) {
        return known;
    }
    if (ZnEtfDataHandler::instance().IsEtfRedemptionSymbol(symbol)) {
        return symbol.section(QLatin1Char('.'), 0, 0);
    }
    if (!newIssue(symbol).isEmpty()) {
        return symbol;
    }
    return ZnRqtBaseDataHandler::instance().IsSymbolPortfolioRqt(symbol)
               ? ZnRqtBaseDataHandler::instance()
                     .GetRqtSymbolDetail(symbol)
                     .value(Security::securityID)
                     .toString()
               : QString();
}

QString SymbolIdentity::GetSecurityChineseName(const QString& symbol) const {
    const QString name = businessData().GetSecurityChineseName(symbol, QString());
    return name.isEmpty()
               ? GetSecurityDetailsBySymbol(symbol).value(Security::chineseName).toString()
               : name;
}

QString SymbolIdentity::GetSymbolFromMap(const QVariantMap& record) const {
    const QString symbol = record.value(Security::symbol).toString();
    if (symbol.isEmpty()) {
        return GetSymbolBySecurityIDAndExchange(
            record.value(Security::securityID).toString(),
            record.value(UserAccount::securityExchange).toString());
    }
    // An unknown symbol is not repaired from the other fields.
    return GetSecurityIDBySymbol(symbol).isEmpty() ? QString() : symbol;
}

bool SymbolIdentity::IsBjOrGz(const QString& symbol) const {
    const QString subType = GetSecuritySubTypeBySymbol(symbol);
    return subType == MdcSubSecurityType::BjSelectedStock ||
           subType == MdcSubSecurityType::GuZhuanBase ||
           subType == MdcSubSecurityType::GuZhuanInnovate;
}

bool SymbolIdentity::IsSymbolBondRepurchase(const QString& symbol) const {
    return MdcSubSecurityType::BondRepurchaseTypeList.contains(GetSecuritySubTypeBySymbol(symbol));
}

QString SymbolIdentity::TransferFromExchange2Ch(const QString& exchange) const {
    static const std::array<NameOf, 2> names{
        {{Torvi_SecurityExchange::SH, QStringLiteral("上海")},
         {Torvi_SecurityExchange::SZ, QStringLiteral("深圳")}}};
    return nameIn(names, exchange);
}

QString SymbolIdentity::TransferFromSymbolPost2Ch(const QString& symbolPost) const {
    static const std::array<NameOf, 7> names{{{SymbolPost::czce, QStringLiteral("郑商")},
                                              {SymbolPost::dce, QStringLiteral("大商")},
                                              {SymbolPost::sh, QStringLiteral("上海")},
                                              {SymbolPost::shf, QStringLiteral("上期")},
                                              {SymbolPost::sz, QStringLiteral("深圳")},
                                              {SymbolPost::hk, QStringLiteral("港交所")},
                                              {SymbolPost::cffex, QStringLiteral("中金")}}};
    return nameIn(names, symbolPost);
}

#include "tradability.h"

#include <QHash>

#include "security_accounts_reader.h"
#include "symbol_identity.h"
#include "velmarutils/velmar_busi_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

/// The only security type that an account of this type trades; empty when there are several.
QString onlyTypeOf(const QString& fundAccountType) {
    static const QHash<QString, QString> types{
        {FundAccountType::Future, MdcSecurityType::FuturesType},
        {FundAccountType::Option, MdcSecurityType::OptionType},
        {FundAccountType::Metal, MdcSecurityType::SpotType},
    };
    return types.value(fundAccountType);
}

}  // namespace

QStringList Tradability::GetSupportSideUnionListByAccount(const QString& tradingAccount) const {
    static const QHash<QString, QStringList> sides{
        {FundAccountType::Future, SideUnion::futuresSideList},
        {FundAccountType::Option, SideUnion::optionSideList},
        {FundAccountType::Credit, SideUnion::marginOrderSideList},
        {FundAccountType::Cash, SideUnion::normalSideList},
    };
    return sides.value(m_accounts.fundAccountTypeOf(tradingAccount));
}

bool Tradability::IsSideUnionSupportByAccount(const QString& tradingAccount,
                                              const QString& side) const {
    return GetSupportSideUnionListByAccount(tradingAccount).contains(side);
}

bool Tradability::IsSymbolTradableByAccount(const QString& tradingAccount,
                                            const QString& symbol) const {
    if (tradingAccount.isEmpty() || symbol.isEmpty()) {
        return false;
    }
    const QString accountType = m_accounts.fundAccountTypeOf(tradingAccount);
    const QString onlyType = onlyTypeOf(accountType);
    if (!onlyType.isEmpty()) {
        return m_identity.GetSecurityTypeBySymbol(symbol) == onlyType;
    }
    if (accountType != FundAccountType::Cash && accountType != FundAccountType::Credit) {
        return false;
    }
    return isTradableOn(m_accounts.securityExchangesOf(tradingAccount), symbol);
}

bool Tradability::isTradableOn(const QStringList& exchanges, const QString& symbol) const {
    const QString subType = m_identity.GetSecuritySubTypeBySymbol(symbol);
    if (MdcSubSecurityType::HKSharesTypeList.contains(subType)) {
        return exchanges.contains(Exchange::hhk) || exchanges.contains(Exchange::szhk);
    }
    if (subType == MdcSubSecurityType::HStcokCirculation) {
        return exchanges.contains(Exchange::HkStockCirculation);
    }
    const QString type = m_identity.GetSecurityTypeBySymbol(symbol);
    return type == MdcSecurityType::StockType || type == MdcSecurityType::BondType ||
           type == MdcSecurityType::FundType ||
           subType == MdcSubSecurityType::Assetbackedsecurities;
}

bool Tradability::IsSymbolFitSymbolType(const QString& symbol,
                                        const QList<SymbolListType>& filter) const {
    const QString type = m_identity.GetSecurityTypeBySymbol(symbol);
    const QString subType = m_identity.GetSecuritySubTypeBySymbol(symbol);
    const QString post = CBusinessDataBase::GetInstance()->GetSymbolPostBySymbol(symbol);
    const auto admits = [](const QStringList& list, const QString& value) {
        return list.isEmpty() || list.contains(value);
    };
    for (const SymbolListType& entry : filter) {
        if (entry.securityType != type || !admits(entry.subTypeList, subType) ||
            !admits(entry.symbolPostList, post)) {
            continue;
        }
        if (!entry.allowDeleted &&
            m_identity.GetSecurityDetailsBySymbol(symbol).value(System::deleteFlag).toBool()) {
            continue;
        }
        if (!entry.excludeSubTypeList.contains(subType)) {
            return true;
        }
    }
    return false;
}

void Tradability::GetTradableSymbolListByAccount(const QString& tradingAccount,
                                                 QStringList& out) const {
    const QString accountType = m_accounts.fundAccountTypeOf(tradingAccount);
    out = VelmarBusiUtils::GetTradableSymbolListByAccountType(
        accountType, m_accounts.securityExchangesOf(tradingAccount));
}

void Tradability::GetTradableSymbolListForSearchByAccount(const QString& tradingAccount,
                                                          QStringList& out) const {
    const QString accountType = m_accounts.fundAccountTypeOf(tradingAccount);
    out = VelmarBusiUtils::GetTradableSymbolListForSearchByAccountType(
        accountType, m_accounts.securityExchangesOf(tradingAccount));
}

bool Tradability::CheckOrderMatchSuperEtf(const QString& tradingAccount, const QString& symbol,
                                          const QString& side) const {
    if (side != SideUnion::financingBuy) {
        return false;
    }
    m_accounts.waitForAccounts();
    return m_accounts.fundAccountTypeOf(tradingAccount) == FundAccountType::Credit &&
           m_identity.GetSecuritySubTypeBySymbol(symbol) ==
               MdcSubSecurityType::TradingopenindexfundETF;
}

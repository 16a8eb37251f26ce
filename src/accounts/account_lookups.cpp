#include "account_lookups.h"

#include "account_authority.h"
#include "account_selection.h"
#include "security_accounts.h"
#include "vocabulary/values.h"

void AccountLookups::waitIf(bool wait) const {
    if (wait) {
        m_state.blockCheckFundInited();
    }
}

tagUserAccountInfo AccountLookups::GetAccountInfoByTradingAccount(const QString& tradingAccount,
                                                                  bool) const {
    m_state.blockCheckFundInited();
    const auto tables = m_state.m_accountLock.read();
    // Not value(), which makes a default record for every question.
    const auto found = tables->m_accountInfoMap.constFind(tradingAccount);
    return found != tables->m_accountInfoMap.cend() ? *found : tagUserAccountInfo();
}

QString AccountLookups::GetAccountAssetPropByTradingAccount(const QString& tradingAccount) const {
    return GetAccountInfoByTradingAccount(tradingAccount, true).fundAccountType;
}

QString AccountLookups::GetExtCounterCodeByTradingAccount(const QString& tradingAccount) const {
    return GetAccountInfoByTradingAccount(tradingAccount, true).extCounterCode;
}

bool AccountLookups::IsAccountNormalCounter(const tagUserAccountInfo& account) const {
    return account.extCounterCode == CounterSysCode::Normal_ZN;
}

bool AccountLookups::IsAccountNormalCounter(const QString& tradingAccount) const {
    return IsAccountNormalCounter(GetAccountInfoByTradingAccount(tradingAccount, true));
}

QStringList AccountLookups::GetTradingAccountList(bool wait, int authority,
                                                  bool includeDistributed) const {
    waitIf(wait);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables)
        .withAuthority(authority)
        .withDistributed(includeDistributed)
        .accounts();
}

QStringList AccountLookups::GetTradingAccountListByProduct(QString product, bool wait,
                                                           int authority,
                                                           bool includeDistributed) const {
    waitIf(wait);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables)
        .withAuthority(authority)
        .withDistributed(includeDistributed)
        .among(tables->m_productAccounts, product)
        .accounts();
}

QList<tagUserAccountInfo> AccountLookups::GetFundAccountList(bool wait, int authority,
                                                             bool includeDistributed) const {
    waitIf(wait);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables)
        .withAuthority(authority)
        .withDistributed(includeDistributed)
        .records();
}

QList<tagUserAccountInfo> AccountLookups::GetFundAccountListByFundProp(int fundProp, int authority,
                                                                       bool includeDistributed,
                                                                       const QStringList& exchanges,
                                                                       bool wait) const {
    waitIf(wait);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables)
        .withAuthority(authority)
        .withDistributed(includeDistributed)
        .onExchanges(exchanges)
        .withFundProp(fundProp)
        .records();
}

QList<tagUserAccountInfo> AccountLookups::GetAccountInfoListFromProduct(
    QString product, bool wait, int authority, bool includeDistributed) const {
    waitIf(wait);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables)
        .withAuthority(authority)
        .withDistributed(includeDistributed)
        .among(tables->m_productAccounts, product)
        .records();
}

QList<tagUserAccountInfo> AccountLookups::GetAccountInfoListFromAsset(
    QString asset, bool wait, bool includeDistributed) const {
    waitIf(wait);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables)
        .withDistributed(includeDistributed)
        .among(tables->m_assetAccounts, asset)
        .records();
}

QList<tagUserAccountInfo> AccountLookups::GetAccountInfoListFromClientNo(
    const QString& clientNo, int fundProp, bool wait, bool includeDistributed) const {
    waitIf(wait);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables)
        .withDistributed(includeDistributed)
        .ofClientNo(clientNo)
        .withFundProp(fundProp)
        .records();
}

QList<tagUserAccountInfo> AccountLookups::GetAccountInfoListFromFund(QString fundAccount,
                                                                     bool wait) const {
    waitIf(wait);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables).among(tables->m_fundAccounts, fundAccount).records();
}

QList<tagUserAccountInfo> AccountLookups::GetAccountInfoListFromTrade(QString tradingAccount,
                                                                      bool wait) const {
    return GetAccountInfoListFromTradeList({tradingAccount}, wait);
}

QList<tagUserAccountInfo> AccountLookups::GetAccountInfoListFromTradeList(
    const QStringList& accounts, bool wait) const {
    waitIf(wait);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables).among(accounts).records();
}

QList<tagUserAccountInfo> AccountLookups::GetAccountInfoListFromTradingWithSameRealFund(
    const QString& tradingAccount) const {
    const auto tables = m_state.m_accountLock.read();
    const auto found = tables->m_accountInfoMap.constFind(tradingAccount);
    if (found == tables->m_accountInfoMap.cend()) {
        return {};
    }
    return AccountSelection(m_state, tables)
        .among(tables->m_realFundAccounts, found->otcFundAccount)
        .records();
}

QList<tagUserAccountInfo> AccountLookups::GetDistributedAccountList() const {
    waitIf(true);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables).withAuthority(kTradeBit).distributedOnly().records();
}

QList<tagUserAccountInfo> AccountLookups::tradableCentralOn(const QStringList& exchanges) const {
    waitIf(true);
    m_securityAccounts.initMainSecurityAccount();
    return GetFundAccountListByFundProp(Torvi_InnerFundProp::normalTrade, kTradeBit, false,
                                        exchanges, true);
}

QList<tagUserAccountInfo> AccountLookups::GetHKAccountInfoList() const {
    return tradableCentralOn({Exchange::hhk, Exchange::szhk});
}

QList<tagUserAccountInfo> AccountLookups::GetHStockCirculateAccountList() const {
    return tradableCentralOn({Exchange::HkStockCirculation});
}

QStringList AccountLookups::GetAllClientNoList(int authority, bool includeDistributed) const {
    waitIf(true);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables)
        .withAuthority(authority)
        .withDistributed(includeDistributed)
        .distinct(&tagUserAccountInfo::clientNo);
}

QMap<QString, QString> AccountLookups::GetAllProductAccountMap() const {
    const auto tables = m_state.m_accountLock.read();
    return tables->m_allProductMap;
}

QMap<QString, QString> AccountLookups::GetAuthTradeProductAccountList() const {
    const auto tables = m_state.m_accountLock.read();
    return tables->m_authTradeProductMap;
}

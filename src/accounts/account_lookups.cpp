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

void AccountLookups::waitUntilLoaded(const std::function<bool()>& isGivenUp) const {
    m_state.blockCheckFundInited(isGivenUp);
}

tagUserAccountInfo AccountLookups::GetAccountInfoByTradingAccount(const QString& tradingAccount,
                                                                  bool) const {
    m_state.blockCheckFundInited();
    const auto tables = m_state.m_accountLock.read();
    // Not value(), which creates a default record on every call.
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
        .toAccounts();
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
        .toAccounts();
}

QList<tagUserAccountInfo> AccountLookups::GetFundAccountList(bool wait, int authority,
                                                             bool includeDistributed) const {
    waitIf(wait);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables)
        .withAuthority(authority)
        .withDistributed(includeDistributed)
        .toRecords();
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
        .toRecords();
}

QList<tagUserAccountInfo> AccountLookups::GetAccountInfoListFromProduct(
    QString product, bool wait, int authority, bool includeDistributed) const {
    waitIf(wait);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables)
        .withAuthority(authority)
        .withDistributed(includeDistributed)
        .among(tables->m_productAccounts, product)
        .toRecords();
}

QList<tagUserAccountInfo> AccountLookups::GetAccountInfoListFromAsset(
    QString asset, bool wait, bool includeDistributed) const {
    waitIf(wait);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables)
        .withDistributed(includeDistributed)
        .among(tables->m_assetAccounts, asset)
        .toRecords();
}

QList<tagUserAccountInfo> AccountLookups::GetAccountInfoListFromClientNo(
    const QString& clientNo, int fundProp, bool wait, bool includeDistributed) const {
    waitIf(wait);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables)
        .withDistributed(includeDistributed)
        .ofClientNo(clientNo)
        .withFundProp(fundProp)
        .toRecords();
}

QList<tagUserAccountInfo> AccountLookups::GetAccountInfoListFromFund(QString fundAccount,
                                                                     bool wait) const {
    waitIf(wait);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables).among(tables->m_fundAccounts, fundAccount).toRecords();
}

QList<tagUserAccountInfo> AccountLookups::GetAccountInfoListFromTrade(QString tradingAccount,
                                                                      bool wait) const {
    return GetAccountInfoListFromTradeList({tradingAccount}, wait);
}

QList<tagUserAccountInfo> AccountLookups::GetAccountInfoListFromTradeList(
    const QStringList& accounts, bool wait) const {
    waitIf(wait);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables).among(accounts).toRecords();
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
        .toRecords();
}

QList<tagUserAccountInfo> AccountLookups::GetDistributedAccountList() const {
    waitIf(true);
    const auto tables = m_state.m_accountLock.read();
    return AccountSelection(m_state, tables).withAuthority(kTradeBit).distributedOnly().toRecords();
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

std::optional<QString> AccountLookups::productAccountOf(const QString& tradingAccount) const {
    const auto accounts = m_state.m_accountLock.read();
    const auto found = accounts->m_accountInfoMap.constFind(tradingAccount);
    if (found == accounts->m_accountInfoMap.cend()) {
        return {};
    }
    return found->productAccount;
}

QStringList AccountLookups::accountsOfType(const QStringList& tradingAccounts,
                                           const QString& fundAccountType) const {
    const auto accounts = m_state.m_accountLock.read();
    const auto& records = accounts->m_accountInfoMap;
    QStringList kept;
    for (const QString& account : tradingAccounts) {
        const auto found = records.constFind(account);
        if (found != records.cend() && found->fundAccountType == fundAccountType) {
            kept.append(account);
        }
    }
    return kept;
}

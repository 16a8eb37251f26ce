#include "account_edits.h"
#include "account_lookups.h"
#include "core.h"
#include "first_load.h"
#include "log.h"
#include "presenter_use.h"
#include "security_accounts.h"
#include "trader_table.h"
#include "user_authorities.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager_presenter_class.h"

namespace {

/// Does the first load. Returns whether a presenter exists after it.
bool ensurePresenter() {
    InitVelmarBusinessManagePlugin();
    return s_presenter != nullptr;
}

/// Does the first load and calls `ask` with the current presenter, which lives until that returns.
/// Logs a line and returns a default result when no presenter is left.
template <class Ask>
auto withPresenter(const char* function, Ask ask) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    if (!use.presenter()) {
        qCWarning(lcInterface) << function << "finds no presenter";
        return decltype(ask(use.presenter()))();
    }
    return ask(use.presenter());
}

}  // namespace

tagUserAccountInfo VelmarBusinessDataInterface::GetAccountInfoByTradingAccount(
    const QString& tradingAccount, bool unused) {
    return core().lookups().GetAccountInfoByTradingAccount(tradingAccount, unused);
}

QString VelmarBusinessDataInterface::GetAccountAssetPropByTradingAccount(
    const QString& tradingAccount) {
    return ensurePresenter() ? core().lookups().GetAccountAssetPropByTradingAccount(tradingAccount)
                             : QString();
}

QString VelmarBusinessDataInterface::GetExtCounterCodeByTradingAccount(
    const QString& tradingAccount) {
    return ensurePresenter() ? core().lookups().GetExtCounterCodeByTradingAccount(tradingAccount)
                             : QString();
}

bool VelmarBusinessDataInterface::IsAccountNormalCounter(const tagUserAccountInfo& account) {
    return core().lookups().IsAccountNormalCounter(account);
}

bool VelmarBusinessDataInterface::IsAccountNormalCounter(const QString& tradingAccount) {
    return core().lookups().IsAccountNormalCounter(tradingAccount);
}

QStringList VelmarBusinessDataInterface::GetTradingAccountList(bool wait, int authority,
                                                               bool includeDistributed) {
    return ensurePresenter()
               ? core().lookups().GetTradingAccountList(wait, authority, includeDistributed)
               : QStringList();
}

QStringList VelmarBusinessDataInterface::GetTradingAccountListByProduct(QString product, bool wait,
                                                                        int authority,
                                                                        bool includeDistributed) {
    return ensurePresenter() ? core().lookups().GetTradingAccountListByProduct(
                                   product, wait, authority, includeDistributed)
                             : QStringList();
}

QList<tagUserAccountInfo> VelmarBusinessDataInterface::GetFundAccountList(bool wait, int authority,
                                                                          bool includeDistributed) {
    return ensurePresenter()
               ? core().lookups().GetFundAccountList(wait, authority, includeDistributed)
               : QList<tagUserAccountInfo>();
}

QList<tagUserAccountInfo> VelmarBusinessDataInterface::GetFundAccountListByFundProp(
    int fundProp, int authority, bool includeDistributed, const QStringList& exchanges, bool wait) {
    InitVelmarBusinessManagePlugin();
    return core().lookups().GetFundAccountListByFundProp(fundProp, authority, includeDistributed,
                                                         exchanges, wait);
}

QList<tagUserAccountInfo> VelmarBusinessDataInterface::GetAccountInfoListFromProduct(
    QString product, bool wait, int authority, bool includeDistributed) {
    return ensurePresenter() ? core().lookups().GetAccountInfoListFromProduct(
                                   product, wait, authority, includeDistributed)
                             : QList<tagUserAccountInfo>();
}

QList<tagUserAccountInfo> VelmarBusinessDataInterface::GetAccountInfoListFromAsset(
    QString asset, bool wait, bool includeDistributed) {
    return ensurePresenter()
               ? core().lookups().GetAccountInfoListFromAsset(asset, wait, includeDistributed)
               : QList<tagUserAccountInfo>();
}

QList<tagUserAccountInfo> VelmarBusinessDataInterface::GetAccountInfoListFromClientNo(
    const QString& clientNo, int fundProp, bool wait, bool includeDistributed) {
    InitVelmarBusinessManagePlugin();
    return core().lookups().GetAccountInfoListFromClientNo(clientNo, fundProp, wait,
                                                           includeDistributed);
}

QList<tagUserAccountInfo> VelmarBusinessDataInterface::GetAccountInfoListFromFund(
    QString fundAccount, bool wait) {
    return ensurePresenter() ? core().lookups().GetAccountInfoListFromFund(fundAccount, wait)
                             : QList<tagUserAccountInfo>();
}

QList<tagUserAccountInfo> VelmarBusinessDataInterface::GetAccountInfoListFromTrade(
    QString tradingAccount, bool wait) {
    return ensurePresenter() ? core().lookups().GetAccountInfoListFromTrade(tradingAccount, wait)
                             : QList<tagUserAccountInfo>();
}

QList<tagUserAccountInfo> VelmarBusinessDataInterface::GetAccountInfoListFromTradeList(
    const QStringList& accounts, bool wait) {
    InitVelmarBusinessManagePlugin();
    return core().lookups().GetAccountInfoListFromTradeList(accounts, wait);
}

QList<tagUserAccountInfo>
VelmarBusinessDataInterface::GetAccountInfoListFromTradingWithSameRealFund(
    const QString& tradingAccount) {
    InitVelmarBusinessManagePlugin();
    return core().lookups().GetAccountInfoListFromTradingWithSameRealFund(tradingAccount);
}

QList<tagUserAccountInfo> VelmarBusinessDataInterface::GetDistributedAccountList() {
    InitVelmarBusinessManagePlugin();
    return core().lookups().GetDistributedAccountList();
}

QList<tagUserAccountInfo> VelmarBusinessDataInterface::GetHKAccountInfoList() {
    return s_presenter ? core().lookups().GetHKAccountInfoList() : QList<tagUserAccountInfo>();
}

QList<tagUserAccountInfo> VelmarBusinessDataInterface::GetHStockCirculateAccountList() {
    return s_presenter ? core().lookups().GetHStockCirculateAccountList()
                       : QList<tagUserAccountInfo>();
}

QStringList VelmarBusinessDataInterface::GetAllClientNoList(int authority,
                                                            bool includeDistributed) {
    InitVelmarBusinessManagePlugin();
    return core().lookups().GetAllClientNoList(authority, includeDistributed);
}

QMap<QString, QString> VelmarBusinessDataInterface::GetAllProductAccountMap() {
    return ensurePresenter() ? core().lookups().GetAllProductAccountMap()
                             : QMap<QString, QString>();
}

QMap<QString, QString> VelmarBusinessDataInterface::GetAuthTradeProductAccountList() {
    return ensurePresenter() ? core().lookups().GetAuthTradeProductAccountList()
                             : QMap<QString, QString>();
}

QMap<QString, QMap<QString, QStringList>> VelmarBusinessDataInterface::GetAllSecurityAccountMap() {
    return core().securityAccounts().GetAllSecurityAccountMap();
}

QStringList VelmarBusinessDataInterface::GetSecurityAccountListByTradingAccountAndExchange(
    const QString& tradingAccount, const QString& exchange) {
    return core().securityAccounts().GetSecurityAccountListByTradingAccountAndExchange(
        tradingAccount, exchange);
}

QMap<QString, QMap<QString, QString>> VelmarBusinessDataInterface::GetAllMainSecurityAccount() {
    return core().securityAccounts().GetAllMainSecurityAccount();
}

QString VelmarBusinessDataInterface::GetMainSecurityAccount(QString tradingAccount,
                                                            const QString& exchange) {
    return core().securityAccounts().GetMainSecurityAccount(tradingAccount, exchange);
}

QMap<QString, QMap<QString, QString>> VelmarBusinessDataInterface::GetCurrentSecurityAccountMap() {
    return core().securityAccounts().GetCurrentSecurityAccountMap();
}

QMap<QString, QString> VelmarBusinessDataInterface::GetCurrentSecurityAccountByTradingAccount(
    const QString& tradingAccount) {
    return core().securityAccounts().GetCurrentSecurityAccountByTradingAccount(tradingAccount);
}

QString VelmarBusinessDataInterface::GetCurrentSecurityAccountByTradingAndExchange(
    const QString& tradingAccount, const QString& exchange) {
    return core().securityAccounts().GetCurrentSecurityAccountByTradingAndExchange(tradingAccount,
                                                                                   exchange);
}

int VelmarBusinessDataInterface::SetCurrentSecurityAccountMap(
    const QMap<QString, QMap<QString, QString>>& accountMap) {
    return core().securityAccounts().SetCurrentSecurityAccountMap(accountMap);
}

bool VelmarBusinessDataInterface::SetAccountOrderList(const QStringList& orderList) {
    return core().accountEdits().SetAccountOrderList(orderList);
}

void VelmarBusinessDataInterface::SetFundAbbrName(const QMap<QString, QString>& abbrMap) {
    core().accountEdits().SetFundAbbrName(abbrMap);
}

void VelmarBusinessDataInterface::UpdateFundAccountInfo(const QString& tradingAccount,
                                                        const QString& name,
                                                        const QString& fundAccountType) {
    core().accountEdits().UpdateFundAccountInfo(tradingAccount, name, fundAccountType);
}

QVariantMap VelmarBusinessDataInterface::GetUserAuthority(const QString& authType) {
    return withPresenter("GetUserAuthority", [&](ZnPresenterClass* presenter) {
        return core().userAuthorities().GetUserAuthority(presenter, authType);
    });
}

bool VelmarBusinessDataInterface::SetUserAuthority(const QString& authType, const QString& key,
                                                   const QVariant& value) {
    return withPresenter("SetUserAuthority", [&](ZnPresenterClass* presenter) {
        return core().userAuthorities().SetUserAuthority(presenter, authType, key, value);
    });
}

QStringList VelmarBusinessDataInterface::GetBindTraderListByAccount(const QString& account,
                                                                    const QString& accountType) {
    return withPresenter("GetBindTraderListByAccount", [&](ZnPresenterClass* presenter) {
        return core().traders().GetBindTraderListByAccount(presenter, account, accountType);
    });
}

QMap<QString, QString> VelmarBusinessDataInterface::GetOrganTraderList() {
    return withPresenter("GetOrganTraderList", [](ZnPresenterClass* presenter) {
        return core().traders().GetOrganTraderList(presenter);
    });
}

QList<QVariantMap> VelmarBusinessDataInterface::GetTraderInfoList(const QString& userType) {
    return withPresenter("GetTraderInfoList", [&](ZnPresenterClass* presenter) {
        return core().traders().GetTraderInfoList(presenter, userType);
    });
}

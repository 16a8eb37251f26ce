#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <functional>

#include "account_state.h"
#include "account_type_reader.h"
#include "product_account_reader.h"
#include "tag_user_account_info.h"

class SecurityAccounts;

/// The read side of the account tables: lists of trading accounts by node of their tree, authority,
/// fund property and exchange, in account order, and single records. Each operation holds
/// m_accountLock for reading while it selects; those that wait for the load do so first. The lists
/// contain accounts that the load listed: a frozen account, and one whose record was entered later
/// by SetFundAbbrName, has a record and is in no list.
class AccountLookups : public ProductAccountReader, public AccountTypeReader {
public:
    AccountLookups(const AccountState& state, SecurityAccounts& securityAccounts)
        : m_state(state), m_securityAccounts(securityAccounts) {}

    /// The wait of the operations below, which ends as well when `isGivenUp` returns true; that is
    /// asked every 10 ms.
    void waitUntilLoaded(const std::function<bool()>& isGivenUp) const;

    // One account.
    tagUserAccountInfo GetAccountInfoByTradingAccount(const QString& tradingAccount, bool) const;
    QString GetAccountAssetPropByTradingAccount(const QString& tradingAccount) const;
    QString GetExtCounterCodeByTradingAccount(const QString& tradingAccount) const;
    bool IsAccountNormalCounter(const tagUserAccountInfo& account) const;
    bool IsAccountNormalCounter(const QString& tradingAccount) const;

    std::optional<QString> productAccountOf(const QString& tradingAccount) const override;
    QStringList accountsOfType(const QStringList& tradingAccounts,
                               const QString& fundAccountType) const override;

    // By authority.
    QStringList GetTradingAccountList(bool wait, int authority, bool includeDistributed) const;
    QStringList GetTradingAccountListByProduct(QString product, bool wait, int authority,
                                               bool includeDistributed) const;
    QList<tagUserAccountInfo> GetFundAccountList(bool wait, int authority,
                                                 bool includeDistributed) const;
    QList<tagUserAccountInfo> GetFundAccountListByFundProp(int fundProp, int authority,
                                                           bool includeDistributed,
                                                           const QStringList& exchanges,
                                                           bool wait) const;
    QList<tagUserAccountInfo> GetAccountInfoListFromProduct(QString product, bool wait,
                                                            int authority,
                                                            bool includeDistributed) const;

    // By another node of the tree, or by themselves.
    QList<tagUserAccountInfo> GetAccountInfoListFromAsset(QString asset, bool wait,
                                                          bool includeDistributed) const;
    QList<tagUserAccountInfo> GetAccountInfoListFromClientNo(const QString& clientNo, int fundProp,
                                                             bool wait,
                                                             bool includeDistributed) const;
    QList<tagUserAccountInfo> GetAccountInfoListFromFund(QString fundAccount, bool wait) const;
    QList<tagUserAccountInfo> GetAccountInfoListFromTrade(QString tradingAccount, bool wait) const;
    QList<tagUserAccountInfo> GetAccountInfoListFromTradeList(const QStringList& accounts,
                                                              bool wait) const;
    QList<tagUserAccountInfo> GetAccountInfoListFromTradingWithSameRealFund(
        const QString& tradingAccount) const;

    // Of one kind.
    QList<tagUserAccountInfo> GetDistributedAccountList() const;
    QList<tagUserAccountInfo> GetHKAccountInfoList() const;
    QList<tagUserAccountInfo> GetHStockCirculateAccountList() const;

    // What the accounts have in common.
    QStringList GetAllClientNoList(int authority, bool includeDistributed) const;
    QMap<QString, QString> GetAllProductAccountMap() const;
    QMap<QString, QString> GetAuthTradeProductAccountList() const;

private:
    void waitIf(bool wait) const;
    QList<tagUserAccountInfo> tradableCentralOn(const QStringList& exchanges) const;

    const AccountState& m_state;
    SecurityAccounts& m_securityAccounts;
};

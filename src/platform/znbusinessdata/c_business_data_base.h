#pragma once

#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include "platform_export.h"

/// Read-only reference data of the current login. Any thread; memory only, blocks at most on its
/// own lock; the first call about a security also reads the securities from the static
/// database. Before the login every result about it and its accounts is empty.
class PLATFORM_API CBusinessDataBase {
public:
    static CBusinessDataBase* GetInstance();

    /// User id of the login.
    QString GetLoginAccount() const;
    /// The login's own record, keys of the UserAccount group.
    QVariantMap GetLoginAccountDetail();
    /// True when the cache contains the key. Constants::USER_ACCOUNTLIST_INITED is true once the
    /// account list was received.
    bool GetCacheData(const QString& key, QVariant& value) const;
    /// The trading accounts on which the user holds any of the given AuthorityType values, in the
    /// server's order.
    QStringList GetTradeAccountList(const QStringList& authorityTypes) const;
    /// The AuthorityType values of one account.
    QStringList GetTradeAccountAuthorityTypeList(const QString& tradingAccount) const;
    /// The account's record, keys of the UserAccount group; empty when unknown.
    QVariantMap GetAccountDetailsByTradinngAccount(const QString& tradingAccount) const;
    /// The security accounts of one account on an exchange, on all of them when that is empty: rows
    /// of UserAccount::securityAccount, securityExchange and isMainAccount, in the server's order.
    /// Empty when the account is unknown.
    QList<QVariantMap> GetSecurityAccountListByTradeAccount(const QString& tradingAccount,
                                                            const QString& exchange) const;

    /// A symbol's static record, keys of the Security, MDCFieldDefine and UserAccount groups; empty
    /// when unknown.
    QVariantMap GetSecurityDetailsBySymbol(const QString& symbol) const;
    /// A symbol's MdcSecurityType and MdcSubSecurityType; empty when unknown.
    QString GetSecurityTypeBySymbol(const QString& symbol) const;
    QString GetSecuritySubTypeBySymbol(const QString& symbol) const;
    /// A symbol's suffix, the text behind its last dot, whether or not the symbol is known; empty
    /// without a dot.
    QString GetSymbolPostBySymbol(const QString& symbol) const;
    /// The exchanges that list a symbol, in the record's order; empty when unknown. The flag is
    /// passed true.
    QStringList GetSecurityExchangeBySymbol(const QString& symbol, bool) const;
    /// A symbol's display name; empty when unknown. The language has no effect: each symbol has one
    /// name.
    QString GetSecurityChineseName(const QString& symbol, const QString& language) const;
    /// The id that an exchange (any, when empty) knows a symbol by; empty when unknown, or not
    /// listed there, or for another source than SecurityIDSource::securityID.
    QString getSecurityIDBySymbol(const QString& symbol, const QString& exchange,
                                  const QString& idSource);
    /// The reverse; empty when unknown.
    QString getSymbolBySecurityIDAndExchange(const QString& securityID, const QString& exchange,
                                             const QString& idSource);

    /// A new client-side id, unique in the process and over its restarts.
    QString getClientOrderID();
    /// The server-aligned clock.
    QDateTime getCurrentBusinessDateTime() const;
    /// How far that clock is ahead of the machine's, in milliseconds.
    qint64 getCurrentBusinessDateTimeDiff() const;

    /// The errors met while reading the static database since the last call: how often each text
    /// came up. Rows that cannot be used are counted by kind and section, not by row.
    QMap<QString, int> GetStaticInfoDbErrorInfo();
    /// The records that were loaded from the local static database and can be used: the
    /// configuration, and the reference rows that were read so far. 0 without such a database.
    int GetLoadLocalStaticDbRecordCount() const;
    /// The account ids at the upper levels of the tree, each once, in the server's order.
    QStringList GetInvestorAccountList() const;
    QStringList GetProductAccountList() const;
    QStringList GetAssetAccountList() const;

private:
    CBusinessDataBase() = default;
};

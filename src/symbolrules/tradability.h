#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include "symbol_list_type.h"

class SecurityAccountsReader;
class SymbolIdentity;

/// Which sides and symbols an account may trade: its fund account type and the exchanges of its
/// security accounts decide. Holds nothing. Any thread; only CheckOrderMatchSuperEtf waits for the
/// account tables.
class Tradability {
public:
    Tradability(const SymbolIdentity& identity, SecurityAccountsReader& accounts)
        : m_identity(identity), m_accounts(accounts) {}

    QStringList GetSupportSideUnionListByAccount(const QString& tradingAccount) const;
    bool IsSideUnionSupportByAccount(const QString& tradingAccount, const QString& side) const;
    bool IsSymbolTradableByAccount(const QString& tradingAccount, const QString& symbol) const;
    bool IsSymbolFitSymbolType(const QString& symbol, const QList<SymbolListType>& filter) const;
    void GetTradableSymbolListByAccount(const QString& tradingAccount, QStringList& out) const;
    void GetTradableSymbolListForSearchByAccount(const QString& tradingAccount,
                                                 QStringList& out) const;
    bool CheckOrderMatchSuperEtf(const QString& tradingAccount, const QString& symbol,
                                 const QString& side) const;

private:
    bool isTradableOn(const QStringList& exchanges, const QString& symbol) const;

    const SymbolIdentity& m_identity;
    SecurityAccountsReader& m_accounts;
};

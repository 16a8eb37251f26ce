#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include "symbol_list_type.h"

class SecurityAccountsReader;
class SymbolIdentity;

/// Answers which sides and symbols an account may trade; the fund account type and the exchanges of
/// the account's security accounts decide. Has no state. Any thread; only CheckOrderMatchSuperEtf
/// waits for the account tables.
class Tradability {
public:
    Tradability(const SymbolIdentity& identity, SecurityAccountsReader& accounts)
        : m_identity(identity), m_accounts(accounts) {}

    /// The SideUnion values of the account's type; empty for a type without sides and for an
    /// unknown account.
    QStringList GetSupportSideUnionListByAccount(const QString& tradingAccount) const;
    /// Whether a SideUnion value is among these.
    bool IsSideUnionSupportByAccount(const QString& tradingAccount, const QString& side) const;
    /// Whether the account may trade the symbol: by the account's type, and for Hong Kong shares
    /// also by the exchanges of its security accounts. False for an empty or unknown account and
    /// for an empty symbol.
    bool IsSymbolTradableByAccount(const QString& tradingAccount, const QString& symbol) const;
    /// Whether an entry of the filter admits the symbol. False for an empty filter. The suffix
    /// compared is that of the symbol's text, so a symbol without a dot has none.
    bool IsSymbolFitSymbolType(const QString& symbol, const QList<SymbolListType>& filter) const;
    /// Sets `out` to the sorted symbols that the account may trade; empty for an unknown account.
    /// Walks all securities.
    void GetTradableSymbolListByAccount(const QString& tradingAccount, QStringList& out) const;
    /// The same, including deleted symbols, for a search.
    void GetTradableSymbolListForSearchByAccount(const QString& tradingAccount,
                                                 QStringList& out) const;
    /// Whether an order is a margin account's financed purchase of a fund. For the side
    /// SideUnion::financingBuy it waits until the accounts are loaded; for any other side it is
    /// false at once.
    bool CheckOrderMatchSuperEtf(const QString& tradingAccount, const QString& symbol,
                                 const QString& side) const;

private:
    bool isTradableOn(const QStringList& exchanges, const QString& symbol) const;

    const SymbolIdentity& m_identity;
    SecurityAccountsReader& m_accounts;
};

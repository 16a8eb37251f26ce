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

    /// The SideUnion values of the account's kind; empty for a kind without sides and for an
    /// unknown account.
    QStringList GetSupportSideUnionListByAccount(const QString& tradingAccount) const;
    /// Whether a SideUnion is among these.
    bool IsSideUnionSupportByAccount(const QString& tradingAccount, const QString& side) const;
    /// Whether the account may trade the symbol: by the account's kind, for shares of Hong Kong by
    /// the exchanges of its security accounts too. False without either, and for an unknown one.
    bool IsSymbolTradableByAccount(const QString& tradingAccount, const QString& symbol) const;
    /// Whether an entry of the filter lets the symbol pass; the first that does decides. False for
    /// an empty filter.
    bool IsSymbolFitSymbolType(const QString& symbol, const QList<SymbolListType>& filter) const;
    /// Sets `out` to the sorted symbols that the account may trade; empty for an unknown account.
    void GetTradableSymbolListByAccount(const QString& tradingAccount, QStringList& out) const;
    /// The same with the symbols that are deleted by now, for a search.
    void GetTradableSymbolListForSearchByAccount(const QString& tradingAccount,
                                                 QStringList& out) const;
    /// Whether an order is one of a margin account that finances the purchase of a fund. For the
    /// side SideUnion::financingBuy it waits until the accounts are loaded; for any other it is
    /// false at once.
    bool CheckOrderMatchSuperEtf(const QString& tradingAccount, const QString& symbol,
                                 const QString& side) const;

private:
    bool isTradableOn(const QStringList& exchanges, const QString& symbol) const;

    const SymbolIdentity& m_identity;
    SecurityAccountsReader& m_accounts;
};

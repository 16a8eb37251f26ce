#pragma once

#include <QString>
#include <QStringList>
#include <QVariantMap>

/// Answers what a symbol is, from every source that may know it, in this order: the ordinary
/// securities, redemption codes of funds, new issues, portfolios for lending. Has no state; any
/// thread. An unknown symbol gives empty answers.
class SymbolIdentity {
public:
    /// The symbol's record in the first source that has one.
    QVariantMap GetSecurityDetailsBySymbol(const QString& symbol) const;
    /// The symbol's MdcSecurityType and MdcSubSecurityType: from the business data, or else from
    /// the details.
    QString GetSecurityTypeBySymbol(const QString& symbol) const;
    QString GetSecuritySubTypeBySymbol(const QString& symbol) const;
    /// The first of the symbol's exchanges that is Shanghai or Shenzhen; empty when none is.
    QString GetASecurityExchangeBySymbol(const QString& symbol) const;
    /// The first of GetSecurityExchangeListBySymbol().
    QString GetFirstSecurityExchangeBySymbol(const QString& symbol) const;
    /// The exchanges that list the symbol: from the business data, or else the one in the details.
    QStringList GetSecurityExchangeListBySymbol(const QString& symbol) const;
    /// The display names of these exchanges, in the same order.
    QStringList GetExchangeNameBySymbol(const QString& symbol) const;
    /// The symbol that an exchange knows by this id, or else the symbol assembled from id and
    /// exchange if a security id is known for it.
    QString GetSymbolBySecurityIDAndExchange(const QString& securityID,
                                             const QString& exchange) const;
    /// The id by which exchanges know the symbol: for a redemption code the part before its dot,
    /// for a new issue the symbol itself.
    QString GetSecurityIDBySymbol(const QString& symbol) const;
    /// The symbol's display name: from the business data, or else from the details.
    QString GetSecurityChineseName(const QString& symbol) const;
    /// The symbol of a record: its Security::symbol if a security id is known for it. A record
    /// without a symbol gives that of its Security::securityID and UserAccount::securityExchange.
    QString GetSymbolFromMap(const QVariantMap& record) const;
    /// Whether the sub-type belongs to Beijing or to the transfer system.
    bool IsBjOrGz(const QString& symbol) const;
    /// Whether the sub-type is one of the pledged repos.
    bool IsSymbolBondRepurchase(const QString& symbol) const;
    /// The Chinese name of an exchange code of Shanghai or Shenzhen, "未知" for any other.
    QString TransferFromExchange2Ch(const QString& exchange) const;
    /// The Chinese name of a symbol suffix, "未知" for any other.
    QString TransferFromSymbolPost2Ch(const QString& symbolPost) const;
};

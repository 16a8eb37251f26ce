#pragma once

#include <QString>
#include <QStringList>
#include <QVariantMap>

/// What a symbol is, asked of every source that may know it: the ordinary securities, redemption
/// codes of funds, new issues, portfolios for lending. Holds nothing; any thread. An unknown symbol
/// gives empty answers.
class SymbolIdentity {
public:
    /// The symbol's record of the first source that has one, in the order above.
    QVariantMap GetSecurityDetailsBySymbol(const QString& symbol) const;
    /// The symbol's MdcSecurityType and MdcSubSecurityType: the business data's, else that of the
    /// details.
    QString GetSecurityTypeBySymbol(const QString& symbol) const;
    QString GetSecuritySubTypeBySymbol(const QString& symbol) const;
    /// The first of the symbol's exchanges that is Shanghai or Shenzhen; empty when none is.
    QString GetASecurityExchangeBySymbol(const QString& symbol) const;
    /// The first of GetSecurityExchangeListBySymbol().
    QString GetFirstSecurityExchangeBySymbol(const QString& symbol) const;
    /// The exchanges that list the symbol: the business data's, else the one of the details.
    QStringList GetSecurityExchangeListBySymbol(const QString& symbol) const;
    /// The display names of these exchanges, in the same order.
    QStringList GetExchangeNameBySymbol(const QString& symbol) const;
    /// The symbol that an exchange knows by this id; one put together of the two when that is a
    /// symbol that has an id.
    QString GetSymbolBySecurityIDAndExchange(const QString& securityID,
                                             const QString& exchange) const;
    /// The id that exchanges know the symbol by: of a redemption code what stands before its dot,
    /// of a new issue the symbol itself.
    QString GetSecurityIDBySymbol(const QString& symbol) const;
    /// The symbol's display name: the business data's, else that of the details.
    QString GetSecurityChineseName(const QString& symbol) const;
    /// The symbol of a record: its Security::symbol if that has an id, or without one that of its
    /// Security::securityID and UserAccount::securityExchange.
    QString GetSymbolFromMap(const QVariantMap& record) const;
    /// Whether the sub-type is one of Beijing or of the transfer system.
    bool IsBjOrGz(const QString& symbol) const;
    /// Whether the sub-type is one of the pledged repos.
    bool IsSymbolBondRepurchase(const QString& symbol) const;
    /// The Chinese name of an exchange code of Shanghai or Shenzhen, "未知" for any other.
    QString TransferFromExchange2Ch(const QString& exchange) const;
    /// The Chinese name of a symbol suffix, "未知" for one that has none.
    QString TransferFromSymbolPost2Ch(const QString& symbolPost) const;
};

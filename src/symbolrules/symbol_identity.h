#pragma once

#include <QString>
#include <QStringList>
#include <QVariantMap>

/// What a symbol is, asked of every source that may know it: the ordinary securities, redemption
/// codes of funds, new issues, portfolios for lending. Holds nothing; any thread. An unknown symbol
/// gives empty answers.
class SymbolIdentity {
public:
    QVariantMap GetSecurityDetailsBySymbol(const QString& symbol) const;
    QString GetSecurityTypeBySymbol(const QString& symbol) const;
    QString GetSecuritySubTypeBySymbol(const QString& symbol) const;
    QString GetASecurityExchangeBySymbol(const QString& symbol) const;
    QString GetFirstSecurityExchangeBySymbol(const QString& symbol) const;
    QStringList GetSecurityExchangeListBySymbol(const QString& symbol) const;
    QStringList GetExchangeNameBySymbol(const QString& symbol) const;
    QString GetSymbolBySecurityIDAndExchange(const QString& securityID,
                                             const QString& exchange) const;
    QString GetSecurityIDBySymbol(const QString& symbol) const;
    QString GetSecurityChineseName(const QString& symbol) const;
    QString GetSymbolFromMap(const QVariantMap& record) const;
    bool IsBjOrGz(const QString& symbol) const;
    bool IsSymbolBondRepurchase(const QString& symbol) const;
    QString TransferFromExchange2Ch(const QString& exchange) const;
    QString TransferFromSymbolPost2Ch(const QString& symbolPost) const;
};

#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

/// An authority that clients do not recognise.
inline const QString kReportAuthority = QStringLiteral("AccountReport");

/// The accounts of a market: investors, below them products, asset accounts and trading accounts.
/// Each level has the index of its parent.
struct AccountTree {
    struct Investor {
        QString account;
        QString name;
    };
    struct Product {
        QString account;
        QString name;
        int investor;
        bool queryOnly;  ///< no account below it may trade
    };
    struct AssetAccount {
        QString account;
        QString name;
        int product;
        QString clientNo;
        QString otcFundAccount;
    };
    struct SecurityAccount {
        QString exchange;
        QString account;
        bool isMain;
    };
    /// A trading account's binding at the counter; several may share a fund account.
    struct Binding {
        QString fundAccount;
        QString fundAccountType;
        QString clientNo;
        QString otcFundAccount;
        QString extCounterCode;
        QString extNodeNo;
        int branchNo;
        QString extOrgCode;
        QString passStatus;
        int counterSiteType;
        QString accountStatus;
    };
    struct TradingAccount {
        QString account;
        QString name;
        int asset;
        QString seatNo;
        QString investType;
        Binding binding;
        QVector<SecurityAccount> securityAccounts;
        QStringList authorities;  ///< of the login that sees the tree
    };

    QVector<Investor> investors;
    QVector<Product> products;
    QVector<AssetAccount> assets;
    QVector<TradingAccount> accounts;
};

/// A tree with a number of trading accounts. Kinds, states and authorities follow fixed patterns
/// over the accounts' numbers, so that about thirty accounts contain every kind; the rest depends
/// on the seed. With `firstNumber` the account ids continue those of another tree.
AccountTree makeAccountTree(quint32 seed, int accounts, int firstNumber = 0);

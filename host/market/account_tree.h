#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

/// An authority that a client knows nothing of.
inline const QString kReportAuthority = QStringLiteral("AccountReport");

/// The accounts of a market: investors, below them products, asset accounts and trading accounts.
/// The levels point upwards by index.
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
    /// What the counter knows of a trading account; several may share a fund account.
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

/// A tree of so many trading accounts. Kinds, states and authorities follow fixed patterns over the
/// accounts' numbers, so that every kind is there from about thirty accounts on; the rest follows
/// the seed. `firstNumber` lets a second tree's account ids continue those of a first one.
AccountTree makeAccountTree(quint32 seed, int accounts, int firstNumber = 0);

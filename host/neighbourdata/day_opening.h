#pragma once

#include <QMap>
#include <QString>
#include <QVector>
#include <functional>

/// What the accounts of a login have at the beginning of the day. Money is in yuan, quantities are
/// in pieces, costs in the security's currency per piece.
struct DayOpening {
    struct Account {
        QString tradingAccount;
        QString fundAccountType;  ///< a FundAccountType
        bool mayTrade = false;    ///< the login holds AuthorityType::AccountTrade
        bool frozen = false;
        /// Security account by exchange; the main one where the account has several.
        QMap<QString, QString> securityAccounts;
        double cash = 0;
    };
    struct Position {
        QString tradingAccount;
        QString securityID;
        QString exchange;
        QString securityAccount;
        qint64 quantity = 0;
        double averageCost = 0;
    };

    QVector<Account> accounts;  ///< in the server's order
    QVector<Position> positions;
};

/// Reads the opening; false with a text on failure. Any thread.
using DayOpeningSource = std::function<bool(DayOpening*, QString* error)>;

/// Reads the opening of a login's accounts from the server's store of a sample market. A call opens
/// the file and blocks while it reads.
DayOpeningSource storedOpening(const QString& marketStoreFile, const QString& userId);

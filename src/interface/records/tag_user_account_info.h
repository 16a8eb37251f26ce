#pragma once

#include <QMap>
#include <QMetaType>
#include <QString>
#include <QStringList>

/// One record of the account table: a plain structure, copied by value. A trading account belongs
/// to an asset account, that to a product account, and that to an investor account. Fund account,
/// customer number and status come from the counter.
struct tagUserAccountInfo {
    QString investorName;
    QString productName;
    QString assetAccountName;
    QString tradingAccountName;
    QString investorAccount;
    QString productAccount;
    QString assetAccount;
    QString tradingAccount;                         ///< the key of the table
    QMap<QString, QStringList> securityAccountMap;  ///< security accounts by exchange; not loaded
    QString securityAccount;                        ///< as the platform reports it
    QString securityExchange;                       ///< the exchange of `securityAccount`
    QString isMainAccount;
    QString accountStatus;  ///< AccountStatus::freezing when frozen
    QString seatNo;
    QString investType;
    QString assetAccountList;
    QString userType;
    QString organCode;
    QString fundAccount;
    QString fundAccountType;  ///< a FundAccountType: the asset property
    QString accountName;      ///< `abbrName`, else `counterAccountName`
    QString extCounterCode;   ///< a CounterSysCode
    QString clientNo;         ///< customer number
    QString extNodeNo;
    QString extText1;  ///< for other plug-ins; not loaded
    QString extText2;  ///< for other plug-ins; not loaded
    int branchNo = 0;
    QString extOrgCode;
    int authorityFlags = 0;  ///< 1 query, 2 edit, 4 authority, 8 subscribe, 16 trade
    QString abbrName;        ///< the user's abbreviation of the account
    QString passStatus;
    QString otcFundAccount;
    int counterSiteType = 0;  ///< 0 for a central counter, else a distributed one
    QString counterAccountName;
};

Q_DECLARE_METATYPE(tagUserAccountInfo)

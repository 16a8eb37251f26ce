#pragma once

#include <QString>
#include <QStringList>

/// What the fund reports need to know about accounts. Any thread; does not wait for the load.
class AccountTypeReader {
public:
    virtual ~AccountTypeReader() = default;

    /// Those of the accounts whose record has the FundAccountType, in their order and as often as
    /// they are given; an account without a record has none.
    virtual QStringList accountsOfType(const QStringList& tradingAccounts,
                                       const QString& fundAccountType) const = 0;
};

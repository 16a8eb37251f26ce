#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

class AccountState;
class FundAbbrNames;

/// What a user changes in the account tables after the load. Any thread; none of them waits for the
/// load. Locks: m_accountLock, m_accountOrderLock, never both.
class AccountEdits {
public:
    AccountEdits(AccountState& state, FundAbbrNames& abbrNames)
        : m_state(state), m_abbrNames(abbrNames) {}

    /// Takes the priority order over and saves it. False, with everything as it was, when it has
    /// more entries than there are accounts.
    bool SetAccountOrderList(const QStringList& orderList);
    /// Writes the abbreviations to their file and into the records. Before the account tables stand
    /// an account that they lack yet has its abbreviation in the file only, where the load finds
    /// it.
    void SetFundAbbrName(const QMap<QString, QString>& abbrMap);
    /// Name and kind of a fund account, for every trading account that shares it. Nothing for an
    /// unknown trading account.
    void UpdateFundAccountInfo(const QString& tradingAccount, const QString& name,
                               const QString& fundAccountType);

private:
    AccountState& m_state;
    FundAbbrNames& m_abbrNames;
};

#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

class AccountState;
class FundAbbrNames;

/// What a user changes in the account tables after the load. Any thread; none of these functions
/// waits for the load. Locks: m_saveLock across the write to the disk, then m_accountLock or
/// m_accountOrderLock, neither of which is held during that write.
class AccountEdits {
public:
    AccountEdits(AccountState& state, FundAbbrNames& abbrNames)
        : m_state(state), m_abbrNames(abbrNames) {}

    /// Saves the account order and puts it into effect. Returns false and changes nothing when the
    /// list has more entries than the account table.
    bool SetAccountOrderList(const QStringList& orderList);
    /// Writes the abbreviations to their file and into the records. An account without a record
    /// gets one; before the account tables are loaded its abbreviation goes to the file only, and
    /// the load reads it from there.
    void SetFundAbbrName(const QMap<QString, QString>& abbrMap);
    /// Sets name and kind of a fund account, for every trading account that shares it and is not
    /// frozen. Does nothing for an unknown trading account.
    void UpdateFundAccountInfo(const QString& tradingAccount, const QString& name,
                               const QString& fundAccountType);

private:
    AccountState& m_state;
    FundAbbrNames& m_abbrNames;
};

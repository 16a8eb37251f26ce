#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <mutex>

#include "tag_user_account_info.h"

class AccountState;
class ExternalAccountQuery;
class SecurityAccounts;
class ZnPresenterClass;

/// Loads the account table, once, at start-up. Holds no lock of the tables while it talks to the
/// platform or the server. Locks: m_loadLock, and m_accountOrderLock for the order list.
class FundAccountTable {
public:
    FundAccountTable(AccountState& state, SecurityAccounts& securityAccounts,
                     ExternalAccountQuery& externalQuery)
        : m_state(state), m_securityAccounts(securityAccounts), m_externalQuery(externalQuery) {}

    /// The whole load, on the calling thread: repeats its pass until the external query succeeds,
    /// then opens the tables to readers and publishes Velmar_Fundaccount_Inited. A call while
    /// another one runs waits for that; a call after a load only opens and publishes again. Ends
    /// without opening the tables when the host is closing. Returns true when a pass was completed
    /// by this call.
    bool InitFundAccountList(ZnPresenterClass* prtClass);

private:
    void runPass(ZnPresenterClass* prtClass);
    void initAccountOrder(const QStringList& platformAccounts);
    void openToReaders(ZnPresenterClass* prtClass);

    AccountState& m_state;
    SecurityAccounts& m_securityAccounts;
    ExternalAccountQuery& m_externalQuery;
    // One load at a time: a second caller must not open the tables before the first has filled
    // them.
    std::mutex m_loadLock;
};

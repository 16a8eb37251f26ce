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

/// Loads the account table, once, at start-up. Holds no lock of the tables while it queries the
/// platform or the server. Locks: m_loadLock; m_saveLock and m_accountOrderLock for the account
/// order.
class FundAccountTable {
public:
    FundAccountTable(AccountState& state, SecurityAccounts& securityAccounts,
                     ExternalAccountQuery& externalQuery)
        : m_state(state), m_securityAccounts(securityAccounts), m_externalQuery(externalQuery) {}

    /// The whole load, on the calling thread: repeats its pass, 100 ms after a failed one, until
    /// the external query succeeds, then opens the tables to readers and publishes
    /// Velmar_Fundaccount_Inited. A call while another one runs waits for that; a call after a load
    /// only opens and publishes again. With a null presenter it tries again every 10 ms. Returns
    /// without opening the tables when the host is closing. Returns true when this call completed a
    /// pass.
    bool InitFundAccountList(ZnPresenterClass* prtClass);

private:
    void runPass(ZnPresenterClass* prtClass);
    void initAccountOrder(const QStringList& platformAccounts);
    void openToReaders(ZnPresenterClass* prtClass);

    AccountState& m_state;
    SecurityAccounts& m_securityAccounts;
    ExternalAccountQuery& m_externalQuery;
    // One load at a time: a second caller must not open the tables before the first one has filled
    // them.
    std::mutex m_loadLock;
};

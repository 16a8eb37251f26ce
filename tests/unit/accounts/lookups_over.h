#pragma once

#include "account_lookups.h"
#include "account_state.h"
#include "security_account_sink.h"
#include "security_accounts.h"

/// The accounts of some records, in their order.
inline QStringList namesOf(const QList<tagUserAccountInfo>& records) {
    QStringList names;
    for (const tagUserAccountInfo& record : records) {
        names.append(record.tradingAccount);
    }
    return names;
}

struct LookupsOverParts : private SecurityAccountSink {
    explicit LookupsOverParts(AccountState& state) : securityAccounts(state, *this) {}
    SecurityAccounts securityAccounts;

private:
    void securityAccountSettingChanged() override {}
};

/// The look-ups over tables that a test filled itself.
class LookupsOver : private LookupsOverParts, public AccountLookups {
public:
    explicit LookupsOver(AccountState& state)
        : LookupsOverParts(state), AccountLookups(state, securityAccounts) {}
};

#pragma once

#include <QPointer>

#include <atomic>

#include "account_edits.h"
#include "account_lookups.h"
#include "account_state.h"
#include "client_world.h"
#include "external_account_query.h"
#include "fund_abbr_names.h"
#include "fund_account_table.h"
#include "security_account_sink.h"
#include "security_accounts.h"
#include "thread_hand_over.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"

/// Counts the changes of the user's security accounts.
class CountingSecuritySink final : public SecurityAccountSink {
public:
    void securityAccountSettingChanged() override { ++changes; }

    std::atomic<int> changes{0};
};

/// The account companions over a client world, with a presenter to load them.
struct AccountFixture {
    explicit AccountFixture(const QList<TestAccount>& accounts = {}) : world(accounts) { setUp(); }
    /// The same with a static database.
    AccountFixture(const QList<TestAccount>& accounts, const StaticDbBuilder& staticData)
        : world(accounts, staticData) {
        setUp();
    }
    ~AccountFixture() {
        if (presenter) {
            presenter->deleteLater();
        }
    }
    AccountFixture(const AccountFixture&) = delete;
    AccountFixture& operator=(const AccountFixture&) = delete;

    static int initedEvent() {
        return VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::Velmar_Fundaccount_Inited);
    }

    bool load() { return table.InitFundAccountList(presenter); }
    /// Loads on the presenter's own thread, as in a client; disposing of the presenter waits for
    /// it.
    void startLoad() {
        runOnThreadOf(presenter, [this] { load(); });
    }
    tagUserAccountInfo record(const QString& account) const {
        return lookups.GetAccountInfoByTradingAccount(account, false);
    }
    QStringList order() const {
        const auto list = state.m_accountOrderLock.read();
        return list->accounts();
    }

    ClientWorld world;
    // A closing platform deletes the presenter.
    const QPointer<RecordingPresenter> presenter = new RecordingPresenter;
    QObject settingsOwner;
    AccountState state;
    FundAbbrNames abbrNames;
    CountingSecuritySink sink;
    SecurityAccounts securityAccounts{state, sink};
    ExternalAccountQuery query{state, abbrNames};
    FundAccountTable table{state, securityAccounts, query};
    AccountLookups lookups{state, securityAccounts};
    AccountEdits edits{state, abbrNames};

private:
    void setUp() {
        presenter->SubEvent(presenter->pluginPid(), initedEvent(), 1);
        presenter->initPresenter();
        abbrNames.open(&settingsOwner);
    }
};

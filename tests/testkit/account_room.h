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

/// Counts how often it is told.
class CountingSecuritySink final : public SecurityAccountSink {
public:
    void securityAccountSettingChanged() override { ++told; }

    std::atomic<int> told{0};
};

/// The account companions on a world of their own, with a presenter to load them through.
struct AccountRoom {
    explicit AccountRoom(const QList<TestAccount>& accounts = {}) : world(accounts) { setUp(); }
    /// The same with a static database.
    AccountRoom(const QList<TestAccount>& accounts, const StaticDbBuilder& staticData)
        : world(accounts, staticData) {
        setUp();
    }
    ~AccountRoom() {
        if (presenter) {
            presenter->deleteLater();
        }
    }
    AccountRoom(const AccountRoom&) = delete;
    AccountRoom& operator=(const AccountRoom&) = delete;

    static int initedEvent() {
        return VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::Velmar_Fundaccount_Inited);
    }

    bool load() { return table.InitFundAccountList(presenter); }
    /// The load on the presenter's own thread, as in a client: a presenter that goes waits for it.
    void startLoad() {
        runOnThreadOf(presenter, [this] { load(); });
    }
    tagUserAccountInfo record(const QString& account) const {
        return lookups.GetAccountInfoByTradingAccount(account, false);
    }
    QStringList order() const {
        const auto list = state.m_accountOrderLock.read();
        return list->list();
    }

    ClientWorld world;
    // A platform that closes takes the presenter with it.
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

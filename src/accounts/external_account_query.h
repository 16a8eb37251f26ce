#pragma once

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "tag_user_account_info.h"

class AccountState;
class FundAbbrNames;
class ZnPresenterClass;
struct ServerReply;

/// Queries the counter for what the platform does not know about an account, completes the records
/// and publishes them in the account tables. Locks: m_saveLock and m_accountLock per row, and
/// m_accountLock once at the end.
class ExternalAccountQuery {
public:
    ExternalAccountQuery(AccountState& state, const FundAbbrNames& abbrNames)
        : m_state(state), m_abbrNames(abbrNames) {}

    /// Sends one request per 100 accounts, one after the other, on the calling thread. Rows of
    /// earlier batches stay in the tables when a later one fails; every failure leaves
    /// m_fundInitStarted false. An account that is in the table already keeps its record.
    void batchQueryExtAccountInfo(ZnPresenterClass* prtClass,
                                  QMap<QString, tagUserAccountInfo>& accounts);

private:
    struct Pass {
        bool hasQfii = false;
        QSet<QString> seen;  ///< accounts that had a row in this pass
    };

    bool queryBatch(ZnPresenterClass* prtClass, const QStringList& batch,
                    QMap<QString, tagUserAccountInfo>& accounts, Pass& pass);
    bool isAnswerGood(const ServerReply& reply) const;
    void takeRow(const QVariantMap& row, QMap<QString, tagUserAccountInfo>& accounts, Pass& pass);
    void publish(const QString& tradingAccount, tagUserAccountInfo& record);
    void publishProducts();

    AccountState& m_state;
    const FundAbbrNames& m_abbrNames;
};

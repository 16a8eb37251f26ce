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

/// Asks the counter for what the platform does not know of an account, completes the records and
/// publishes them in the account tables. Locks: m_accountLock, per row and once at the end.
class ExternalAccountQuery {
public:
    ExternalAccountQuery(AccountState& state, const FundAbbrNames& abbrNames)
        : m_state(state), m_abbrNames(abbrNames) {}

    /// One request per 100 accounts, one after the other, on the calling thread. Rows of earlier
    /// batches stay in the tables when a later one fails; every failure leaves m_fundInitStarted
    /// false.
    void batchQueryExtAccountInfo(ZnPresenterClass* prtClass,
                                  QMap<QString, tagUserAccountInfo>& accounts);

private:
    struct Pass {
        bool hasQfii = false;
        QSet<QString> seen;  ///< accounts that had a row in this pass
        QMap<QString, QString> tradedProducts;
        QMap<QString, QString> allProducts;
    };

    bool queryBatch(ZnPresenterClass* prtClass, const QStringList& batch,
                    QMap<QString, tagUserAccountInfo>& accounts, Pass& pass);
    bool isAnswerGood(const ServerReply& reply) const;
    void takeRow(const QVariantMap& row, QMap<QString, tagUserAccountInfo>& accounts, Pass& pass);
    void publish(const QString& tradingAccount, tagUserAccountInfo& record, Pass& pass);
    void publishProducts(const Pass& pass);

    AccountState& m_state;
    const FundAbbrNames& m_abbrNames;
};

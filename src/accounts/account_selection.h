#pragma once

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

#include "account_rows.h"
#include "account_state.h"

/// Builds every account list: the accounts that are not frozen, in account order, narrowed by
/// conditions and returned as names or records. A list passed to among() is not copied, so it must
/// outlive the selection; the tables must stay locked for its life.
class AccountSelection {
public:
    /// All accounts that are not frozen.
    AccountSelection(const AccountState& state, const Guarded<AccountTables>::ReadHandle& tables);

    /// Keeps accounts that have every authority of the mask.
    AccountSelection& withAuthority(int authority);
    /// Keeps accounts on a central counter only, unless `includeDistributed` is set.
    AccountSelection& withDistributed(bool includeDistributed);
    /// Keeps accounts that have any fund property of the mask; 0 keeps none.
    AccountSelection& withFundProp(int fundProp);
    /// Keeps accounts with a security account on any of the exchanges; an empty list keeps all.
    AccountSelection& onExchanges(const QStringList& exchanges);
    /// Keeps accounts on a distributed counter.
    AccountSelection& distributedOnly();

    // At most one of these.
    /// Keeps the accounts of a customer.
    AccountSelection& ofClientNo(const QString& clientNo);
    /// Keeps the accounts of the list.
    AccountSelection& among(const QStringList& accounts);
    AccountSelection& among(QStringList&&) = delete;
    /// Keeps the accounts that an index contains under the key.
    AccountSelection& among(const QHash<QString, QStringList>& index, const QString& key);

    QStringList toAccounts() const;
    QList<tagUserAccountInfo> toRecords() const;
    /// The values of one field of their records, each once, in the order of first occurrence.
    QStringList distinct(QString tagUserAccountInfo::*field) const;

private:
    using Row = AccountRows::Row;

    bool fits(const Row& row) const;
    bool isOnAnExchange(const Row& row) const;
    std::vector<const Row*> chosen() const;
    std::vector<const Row*> chosenOfAll() const;
    std::vector<const Row*> chosenOf(std::vector<int> rows) const;
    template <class Accounts>
    void appendRows(const Accounts& accounts, std::vector<int>* rows) const;

    const AccountTables& m_tables;
    const std::shared_ptr<const AccountRows> m_rows;
    quint32 m_allOf = 0;  ///< marks that an account must have
    bool m_byFundProp = false;
    quint32 m_anyOf = 0;  ///< with m_byFundProp: it must have one of these marks
    bool m_byExchange = false;
    std::vector<const QSet<QString>*> m_onExchanges;  ///< with m_byExchange: one must contain it
    quint64 m_exchangeMarks = 0;                      ///< marks of those exchanges that have one
    bool m_hasUnmarkedExchange = false;               ///< some of those exchanges have no mark
    const QStringList* m_among = nullptr;
    const QSet<QString>* m_ofClient = nullptr;
};

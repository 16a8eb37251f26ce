#pragma once

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

#include "account_state.h"
#include "priority_rows.h"

/// The machine that every account list comes from: the accounts that are not frozen, in priority
/// order, narrowed by conditions and expanded to names or records. Lists and sets that narrow are
/// looked at where they stand, so they must outlive the selection, and the tables stay locked for
/// its life.
class AccountSelection {
public:
    /// All accounts that are not frozen.
    AccountSelection(const AccountState& state, const Guarded<AccountTables>::ReadHandle& tables);

    /// Leaves those that have every authority of the mask.
    AccountSelection& withAuthority(int authority);
    /// Leaves those on a central counter, unless distributed ones are wanted too.
    AccountSelection& withDistributed(bool includeDistributed);
    /// Leaves those that have any fund property of the mask: none for 0.
    AccountSelection& withFundProp(int fundProp);
    /// Leaves those with a security account on any of the exchanges; an empty list asks for none.
    AccountSelection& onExchanges(const QStringList& exchanges);
    /// Leaves those on a distributed counter.
    AccountSelection& distributedOnly();

    // At most one of these.
    /// Leaves those of a customer.
    AccountSelection& ofClientNo(const QString& clientNo);
    /// Leaves those of the list.
    AccountSelection& among(const QStringList& accounts);
    AccountSelection& among(QStringList&&) = delete;
    /// Leaves those that an index holds under the key.
    AccountSelection& among(const QHash<QString, QStringList>& index, const QString& key);

    QStringList accounts() const;
    QList<tagUserAccountInfo> records() const;
    /// What their records hold in one field, each value once, at its first account's place.
    QStringList distinct(QString tagUserAccountInfo::*field) const;

private:
    using Row = PriorityRows::Row;

    bool fits(const Row& row) const;
    bool isOnAnExchange(const Row& row) const;
    std::vector<const Row*> chosen() const;
    std::vector<const Row*> chosenOfAll() const;
    std::vector<const Row*> chosenOf(std::vector<int> rows) const;
    template <class Accounts>
    void appendRows(const Accounts& accounts, std::vector<int>* rows) const;

    const AccountTables& m_tables;
    const std::shared_ptr<const PriorityRows> m_rows;
    quint32 m_allOf = 0;  ///< marks that an account must have
    bool m_asksFundProp = false;
    quint32 m_anyOf = 0;  ///< of which it must have one, if asked
    bool m_asksExchange = false;
    std::vector<const QSet<QString>*> m_onExchanges;  ///< of which one must hold it, if asked
    quint64 m_exchangeMarks = 0;                      ///< the marks of those that have one
    bool m_asksUnmarkedExchange = false;              ///< not all of them have
    const QStringList* m_among = nullptr;
    const QSet<QString>* m_ofClient = nullptr;
};

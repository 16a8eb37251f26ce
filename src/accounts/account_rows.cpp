#include "account_rows.h"

#include <algorithm>

AccountRows::AccountRows(const AccountTables& tables, const AccountOrder& order) {
    struct Placed {
        int place;
        const QString* account;
    };
    std::vector<Placed> placed;
    placed.reserve(static_cast<std::size_t>(tables.m_normalAccounts.size()));
    for (const QString& account : tables.m_normalAccounts) {
        placed.push_back({order.placeOf(account), &account});
    }
    // Accounts that the order does not list share place -1 and are sorted by their text.
    std::sort(placed.begin(), placed.end(), [](const Placed& a, const Placed& b) {
        return a.place != b.place ? a.place < b.place : *a.account < *b.account;
    });
    m_rows.reserve(placed.size());
    m_rowOf.reserve(static_cast<int>(placed.size()));
    for (const Placed& entry : placed) {
        const auto found = tables.m_accountInfoMap.constFind(*entry.account);
        const bool known = found != tables.m_accountInfoMap.cend();
        m_rowOf.insert(*entry.account, static_cast<int>(m_rows.size()));
        m_rows.push_back({entry.account, known ? &*found : nullptr, 0, 0});
    }
    for (auto it = tables.m_authorityAccounts.cbegin(); it != tables.m_authorityAccounts.cend();
         ++it) {
        mark(*it, &Row::marks, authorityMarks(it.key()));
    }
    for (auto it = tables.m_fundPropAccounts.cbegin(); it != tables.m_fundPropAccounts.cend();
         ++it) {
        mark(*it, &Row::marks, fundPropMarks(it.key()));
    }
    mark(tables.m_centralAccounts, &Row::marks, kCentral);
    mark(tables.m_distributedAccounts, &Row::marks, kDistributed);
    quint64 next = 1;
    const auto& exchanges = tables.m_hStockCirculateAccounts;
    for (auto it = exchanges.cbegin(); it != exchanges.cend() && next != 0; ++it) {
        m_exchangeMarks.insert(it.key(), next);
        mark(*it, &Row::exchanges, next);
        next <<= 1U;
    }
}

template <class Member>
void AccountRows::mark(const QSet<QString>& accounts, Member Row::*member, Member marks) {
    for (const QString& account : accounts) {
        const int row = rowOf(account);
        if (row >= 0) {
            m_rows[static_cast<std::size_t>(row)].*member |= marks;
        }
    }
}

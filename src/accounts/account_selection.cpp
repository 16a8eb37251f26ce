#include "account_selection.h"

#include <algorithm>
#include <utility>

AccountSelection::AccountSelection(const AccountState& state,
                                   const Guarded<AccountTables>::ReadHandle& tables)
    : m_tables(*tables), m_rows(state.accountRows(tables)) {}

AccountSelection& AccountSelection::withAuthority(int authority) {
    m_allOf |= AccountRows::authorityMarks(authority);
    return *this;
}

AccountSelection& AccountSelection::withDistributed(bool includeDistributed) {
    if (!includeDistributed) {
        m_allOf |= AccountRows::kCentral;
    }
    return *this;
}

AccountSelection& AccountSelection::withFundProp(int fundProp) {
    m_byFundProp = true;
    m_anyOf = AccountRows::fundPropMarks(fundProp);
    return *this;
}

AccountSelection& AccountSelection::onExchanges(const QStringList& exchanges) {
    m_byExchange = !exchanges.isEmpty();
    for (const QString& exchange : exchanges) {
        const auto found = m_tables.m_hStockCirculateAccounts.constFind(exchange);
        if (found != m_tables.m_hStockCirculateAccounts.cend()) {
            m_onExchanges.push_back(&*found);
            const quint64 mark = m_rows->exchangeMark(exchange);
            m_exchangeMarks |= mark;
            m_hasUnmarkedExchange = m_hasUnmarkedExchange || mark == 0;
        }
    }
    return *this;
}

AccountSelection& AccountSelection::distributedOnly() {
    m_allOf |= AccountRows::kDistributed;
    return *this;
}

AccountSelection& AccountSelection::ofClientNo(const QString& clientNo) {
    static const QSet<QString> nobody;
    const auto found = m_tables.m_clientNoAccounts.constFind(clientNo);
    m_ofClient = found != m_tables.m_clientNoAccounts.cend() ? &*found : &nobody;
    return *this;
}

AccountSelection& AccountSelection::among(const QStringList& accounts) {
    m_among = &accounts;
    return *this;
}

AccountSelection& AccountSelection::among(const QHash<QString, QStringList>& index,
                                          const QString& key) {
    static const QStringList nothing;
    const auto found = index.constFind(key);
    return among(found != index.cend() ? *found : nothing);
}

bool AccountSelection::isOnAnExchange(const Row& row) const {
    if (row.exchanges & m_exchangeMarks) {
        return true;
    }
    return m_hasUnmarkedExchange &&
           std::any_of(m_onExchanges.begin(), m_onExchanges.end(),
                       [&row](const QSet<QString>* set) { return set->contains(*row.account); });
}

bool AccountSelection::fits(const Row& row) const {
    return (row.marks & m_allOf) == m_allOf && (!m_byFundProp || (row.marks & m_anyOf)) &&
           (!m_byExchange || isOnAnExchange(row));
}

template <class Accounts>
void AccountSelection::appendRows(const Accounts& accounts, std::vector<int>* rows) const {
    for (const QString& account : accounts) {
        const int row = m_rows->rowOf(account);
        if (row >= 0) {
            rows->push_back(row);
        }
    }
}

std::vector<const AccountSelection::Row*> AccountSelection::chosen() const {
    std::vector<int> rows;
    if (m_among) {
        appendRows(*m_among, &rows);
        return chosenOf(std::move(rows));
    }
    if (m_ofClient) {
        appendRows(*m_ofClient, &rows);
        return chosenOf(std::move(rows));
    }
    return chosenOfAll();
}

std::vector<const AccountSelection::Row*> AccountSelection::chosenOfAll() const {
    std::vector<const Row*> chosen;
    for (const Row& row : m_rows->rows()) {
        if (fits(row)) {
            chosen.push_back(&row);
        }
    }
    return chosen;
}

std::vector<const AccountSelection::Row*> AccountSelection::chosenOf(std::vector<int> rows) const {
    std::sort(rows.begin(), rows.end());
    // A caller's list may contain an account twice.
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    std::vector<const Row*> chosen;
    chosen.reserve(rows.size());
    for (const int row : rows) {
        const Row& candidate = m_rows->rows()[static_cast<std::size_t>(row)];
        if (fits(candidate)) {
            chosen.push_back(&candidate);
        }
    }
    return chosen;
}

QStringList AccountSelection::toAccounts() const {
    const std::vector<const Row*> rows = chosen();
    QStringList accounts;
    accounts.reserve(static_cast<int>(rows.size()));
    for (const Row* const row : rows) {
        accounts.append(*row->account);
    }
    return accounts;
}

QList<tagUserAccountInfo> AccountSelection::toRecords() const {
    const std::vector<const Row*> rows = chosen();
    QList<tagUserAccountInfo> records;
    records.reserve(static_cast<int>(rows.size()));
    for (const Row* const row : rows) {
        if (row->record) {
            records.append(*row->record);
        }
    }
    return records;
}

QStringList AccountSelection::distinct(QString tagUserAccountInfo::*field) const {
    QStringList values;
    QSet<QString> seen;
    for (const Row* const row : chosen()) {
        if (row->record && !seen.contains(row->record->*field)) {
            seen.insert(row->record->*field);
            values.append(row->record->*field);
        }
    }
    return values;
}

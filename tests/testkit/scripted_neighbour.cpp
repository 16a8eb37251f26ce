#include "scripted_neighbour.h"

#include <algorithm>

#include "vocabulary/fields.h"

namespace {

bool matches(const QVariantMap& row, const QVariantMap& filter) {
    return std::all_of(filter.keyBegin(), filter.keyEnd(), [&](const QString& key) {
        return row.value(key).toString() == filter.value(key).toString();
    });
}

}  // namespace

void ScriptedNeighbour::setExecutions(const QList<QVariantMap>& rows) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_executions = rows;
}

void ScriptedNeighbour::addExecution(const QVariantMap& row) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_executions.append(row);
}

void ScriptedNeighbour::setPositions(const QList<QVariantMap>& rows) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_positions = rows;
}

void ScriptedNeighbour::setOrders(const QList<QVariantMap>& rows) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_orders = rows;
}

void ScriptedNeighbour::onCall(const Hook& hook) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_onCall = hook;
}

void ScriptedNeighbour::onAnswer(const Hook& hook) {
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_onAnswer = hook;
}

int ScriptedNeighbour::callCount(Call call) const {
    return accountsOf(call).size();
}

QStringList ScriptedNeighbour::accountsOf(Call call) const {
    const std::lock_guard<std::mutex> guard(m_mutex);
    QStringList accounts;
    for (const Made& made : m_made) {
        if (made.call == call) {
            accounts.append(made.account);
        }
    }
    return accounts;
}

QList<QVariantMap> ScriptedNeighbour::filtersOf(Call call) const {
    const std::lock_guard<std::mutex> guard(m_mutex);
    QList<QVariantMap> filters;
    for (const Made& made : m_made) {
        if (made.call == call) {
            filters.append(made.filter);
        }
    }
    return filters;
}

QList<ZnPresenterClass*> ScriptedNeighbour::fundPresenters() const {
    const std::lock_guard<std::mutex> guard(m_mutex);
    return m_fundPresenters;
}

QList<QVariantMap> ScriptedNeighbour::executions(const QVariantMap& filter, int start, int count,
                                                 int* total) const {
    const QList<QVariantMap> rows = answer(Call::Executions, filter, m_executions);
    *total = rows.size();
    return rows.mid(start, count);
}

QList<QVariantMap> ScriptedNeighbour::positions(const QVariantMap& filter) const {
    return answer(Call::Positions, filter, m_positions);
}

void ScriptedNeighbour::requeryFunds(ZnPresenterClass* presenter) {
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_fundPresenters.append(presenter);
    }
    answer(Call::Funds, {}, {});
}

int ScriptedNeighbour::positionCount(const QString& tradingAccount) const {
    return countOf(Call::PositionCount, tradingAccount, m_positions);
}

int ScriptedNeighbour::executionCount(const QString& tradingAccount) const {
    return countOf(Call::ExecutionCount, tradingAccount, m_executions);
}

int ScriptedNeighbour::orderCount(const QString& tradingAccount) const {
    return countOf(Call::OrderCount, tradingAccount, m_orders);
}

/// The rows that match the filter. `rows` is one of the members and is read under the lock.
QList<QVariantMap> ScriptedNeighbour::answer(Call call, const QVariantMap& filter,
                                             const QList<QVariantMap>& rows) const {
    const QString account = filter.value(UserAccount::tradingAccount).toString();
    Hook onCall;
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_made.append({call, account, filter});
        onCall = m_onCall;
    }
    if (onCall) {
        onCall(call, account);
    }
    QList<QVariantMap> matching;
    Hook onAnswer;
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        std::copy_if(rows.cbegin(), rows.cend(), std::back_inserter(matching),
                     [&filter](const QVariantMap& row) { return matches(row, filter); });
        onAnswer = m_onAnswer;
    }
    if (onAnswer) {
        onAnswer(call, account);
    }
    return matching;
}

int ScriptedNeighbour::countOf(Call call, const QString& tradingAccount,
                               const QList<QVariantMap>& rows) const {
    const QVariantMap filter{{UserAccount::tradingAccount, tradingAccount}};
    return answer(call, tradingAccount.isEmpty() ? QVariantMap() : filter, rows).size();
}

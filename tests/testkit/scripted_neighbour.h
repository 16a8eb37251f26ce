#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <functional>
#include <mutex>

#include "neighbour_data.h"

/// A neighbouring data plug-in with the rows that a test gives it. Any thread. Install it with
/// LocalPlatform::setNeighbourData(). The hooks run on the calling thread and under no lock, so
/// that a test may pause in them and change the rows.
class ScriptedNeighbour final : public NeighbourData {
public:
    enum class Call { Executions, Positions, Funds, PositionCount, ExecutionCount, OrderCount };
    /// `account` is the trading account that the call names, empty when it names no account.
    using Hook = std::function<void(Call call, const QString& account)>;

    void setExecutions(const QList<QVariantMap>& rows);
    void addExecution(const QVariantMap& row);
    void setPositions(const QList<QVariantMap>& rows);
    /// Orders are only counted.
    void setOrders(const QList<QVariantMap>& rows);
    /// Runs at the start of each call, before its rows are read.
    void onCall(const Hook& hook);
    /// Runs when the rows have been read, before they are returned.
    void onAnswer(const Hook& hook);

    int callCount(Call call) const;
    /// The accounts that the calls of this kind named, in order.
    QStringList accountsOf(Call call) const;
    /// The filters of the calls of this kind, in order; empty ones for a kind without a filter.
    QList<QVariantMap> filtersOf(Call call) const;
    /// The presenters that asked for funds, in order.
    QList<ZnPresenterClass*> fundPresenters() const;

    QList<QVariantMap> executions(const QVariantMap& filter, int start, int count,
                                  int* total) const override;
    QList<QVariantMap> positions(const QVariantMap& filter) const override;
    void requeryFunds(ZnPresenterClass* presenter) override;
    int positionCount(const QString& tradingAccount) const override;
    int executionCount(const QString& tradingAccount) const override;
    int orderCount(const QString& tradingAccount) const override;

private:
    struct Made {
        Call call;
        QString account;
        QVariantMap filter;
    };

    QList<QVariantMap> answer(Call call, const QVariantMap& filter,
                              const QList<QVariantMap>& rows) const;
    int countOf(Call call, const QString& tradingAccount, const QList<QVariantMap>& rows) const;

    mutable std::mutex m_mutex;  // guards everything below
    QList<QVariantMap> m_executions;
    QList<QVariantMap> m_positions;
    QList<QVariantMap> m_orders;
    Hook m_onCall;
    Hook m_onAnswer;
    mutable QList<Made> m_made;
    QList<ZnPresenterClass*> m_fundPresenters;
};

#pragma once

#include <QHash>
#include <QSet>
#include <atomic>
#include <mutex>

#include "day_ledger.h"
#include "event_stream.h"
#include "neighbour_data.h"
#include "trading_desk.h"

/// Positions, orders, executions and cash of the day for the accounts of a login. Any thread.
///
/// A deal is stored with its whole effect under one lock, so that every answer shows executions,
/// positions, cash and orders of the same moment. Events follow on a thread of the book's own, in
/// the order of storing, after that and under no lock: whoever receives one and asks back gets at
/// least the state that it announces. The plug-in that asks is never called.
class DayBook : public NeighbourData, public TradingDesk {
public:
    /// The book is empty until load().
    explicit DayBook(DayOpeningSource opening);
    /// Calls close().
    ~DayBook() override;
    Q_DISABLE_COPY(DayBook)

    /// Reads the opening and publishes NeighbourEvent::positionsLoaded. Needs the platform's
    /// reference data. Blocks while it reads. False with a text on failure; the book is as before
    /// then. To be called once, before anything is put.
    bool load(QString* error);
    /// Reads the opening again, applies all that was put since load() to it in the same order, and
    /// publishes NeighbourEvent::positionsReloaded and executionsReloaded. Blocks like load().
    /// False with a text, the book as before and nothing published, when one of them no longer
    /// applies.
    bool reload(QString* error);
    /// Publishes what is stored, or NeighbourEvent::positionsReloaded and executionsReloaded when
    /// much has piled up, and ends the book's thread. From here on nothing can be put; what is
    /// stored can still be read. Blocks until the thread has ended.
    void close();
    /// Blocks until the events of everything that is stored are published.
    void awaitPublished();

    // NeighbourData. A filter selects the records that have its values, compared as texts; an empty
    // value selects all. `total` is the number of selected records before `start` and `count`
    // (negative: no limit) take their part.
    QList<QVariantMap> executions(const QVariantMap& filter, int start, int count,
                                  int* total) const override;
    QList<QVariantMap> positions(const QVariantMap& filter) const override;
    /// Reads the opening cash again; logs it. Blocks while it reads.
    void requeryFunds(ZnPresenterClass* presenter) override;
    int positionCount(const QString& tradingAccount) const override;
    int executionCount(const QString& tradingAccount) const override;
    int orderCount(const QString& tradingAccount) const override;

    QList<QVariantMap> orders(const QVariantMap& filter, int start, int count, int* total) const;
    /// How often requeryFunds() has read the funds.
    int fundRequeries() const { return m_fundRequeries; }

    // TradingDesk
    QVector<Account> tradableAccounts() const override;
    QVector<Holding> holdings(const QString& tradingAccount) const override;
    double cash(const QString& tradingAccount) const override;
    double openingCash(const QString& tradingAccount) const;
    /// What the day's deals have added to the opening cash.
    double cashMoved(const QString& tradingAccount) const;
    bool putOrder(const QVariantMap& order, QString* error) override;
    /// A deal without Security::execID gets one. The order that Security::orderID names, when it is
    /// stored, counts the deal; it must have that much left.
    bool putDeal(const QVariantMap& deal, QString* error) override;
    /// Replaces the position of an account, symbol and exchange, whole; Security::nominalQty is in
    /// display units. Counts as held at the day's opening. Publishes it.
    bool setPosition(const QVariantMap& position, QString* error);

private:
    /// What was put, in order; exactly one of the two.
    struct Change {
        std::shared_ptr<const DayDeal> deal;
        std::shared_ptr<const DayPosition> position;
    };
    struct Day {
        QList<QVariantMap> executions;
        QVector<DayOrder> orders;
    };

    bool isOpenFor(const QString& tradingAccount, QString* error) const;
    bool findOrderOf(const DayDeal& deal, DayOrder** order, QString* error);
    void publishDeal(const DayDeal& deal, const QVariantMap& row);
    void publishPosition(const QString& tradingAccount, const Instrument& instrument);
    /// The sum of a count over one account, over all of them when the text is empty.
    template <class CountOf>
    int sumOverAccounts(const QString& tradingAccount, CountOf countOf) const;
    QStringList accountsOf(const QVariantMap& filter) const;

    const DayOpeningSource m_opening;
    EventStream m_stream;
    std::atomic<int> m_fundRequeries{0};

    mutable std::mutex m_lock;  // guards what follows; the stream's lock is taken inside it
    DayLedger m_ledger;
    QVector<Change> m_changes;
    QHash<QString, Day> m_days;                        // by account
    QHash<QString, QPair<QString, int>> m_orderPlace;  // account and index by order id
    QSet<QString> m_execIDs;
    quint64 m_madeExecIDs = 0;
    bool m_loaded = false;
    bool m_closed = false;
};

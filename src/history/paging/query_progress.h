#pragma once

#include <QDate>
#include <QElapsedTimer>
#include <QString>
#include <atomic>
#include <functional>

class ZnPresenterClass;

/// Publishes how far a long query is, as the event OwnKeys::historyQueryProgress: at most once in
/// 100 ms, so never for a query that is shorter. A query consists of parts, one after the other:
/// the runs of days of its accounts.
class QueryProgress {
public:
    /// Milliseconds since the query began; called on any thread.
    using Elapsed = std::function<qint64()>;

    /// `function` is the exported function's name. Without a presenter nothing is published.
    QueryProgress(ZnPresenterClass* presenter, const QString& function, Elapsed elapsed = {});
    Q_DISABLE_COPY(QueryProgress)

    /// Begins a part, before any of its pages is fetched. One thread at a time.
    void beginPart(const QString& tradingAccount, const QDate& firstDay, const QDate& lastDay);
    /// The pages of the part, 0 while unknown. Any thread.
    void setPages(qint64 pages) { m_pages = pages; }
    /// One more page of the part is fetched. Any thread.
    void pageDone();

private:
    void publish(qint64 done) const;

    ZnPresenterClass* const m_presenter;
    const QString m_function;
    const Elapsed m_elapsed;
    const qint64 m_id;
    QElapsedTimer m_timer;
    QString m_tradingAccount;
    QDate m_firstDay;
    QDate m_lastDay;
    std::atomic<qint64> m_pages{0};
    std::atomic<qint64> m_done{0};
    std::atomic<qint64> m_nextMs;
};

#pragma once

#include <QDate>
#include <QList>
#include <QPair>
#include <QString>

#include "page_walk.h"

/// A date as the yyyyMMdd number of requests; 0 when invalid.
int dateNumber(const QDate& date);
/// A date as log lines contain it, yyyy-MM-dd.
QString loggedDate(const QDate& date);

/// What a query is about, as its log lines name it: "tradingAccount: A, startDate: S, endDate: E".
QString loggedSubject(const QString& tradingAccount, const QString& startDate,
                      const QString& endDate);

/// The lines that most queries of the past share, at debug level: the head (the function's name or
/// the message type) followed by
///     " timeout, <subject>", " error, <subject>, reason: <reason>" and
///     " timeout count >=5, no more query"
/// and its warnings, which contain head and subject too. Used by one thread.
class QueryLog : public WalkLog {
public:
    enum class TimeOutLine {
        Own,       ///< a line of its own
        AsReason,  ///< the error line, with the reason "time out"
        AtLimit    ///< a line of its own, but only when the limit is reached
    };

    QueryLog(const QString& head, const QString& subject,
             TimeOutLine timeOutLine = TimeOutLine::Own, bool hasLimitLine = true)
        : m_head(head),
          m_subject(subject),
          m_timeOutLine(timeOutLine),
          m_hasLimitLine(hasLimitLine) {}
    /// Logs the pages that were lost, in one warning, and those that are too short in another.
    ~QueryLog() override;
    Q_DISABLE_COPY(QueryLog)

    void timedOut() override;
    void failed(int code, const QString& reason) override;
    void limitReached() override;
    void pageLost(qint64 pageNo, const QString& reason) override;
    void pageShort(qint64 pageNo, qint64 rows, qint64 expectedRows) override;
    void stillAsking(qint64 pageNo, const QString& reason) override;
    void stuck(const QString& why) override;

    /// For a query whose rows are all dropped when it is stuck: these pages, which the warning
    /// then names as lost.
    void setDroppedPages(qint64 first, qint64 last) { m_droppedPages = {{first, last}}; }

private:
    using Runs = QList<QPair<qint64, qint64>>;

    static void addTo(Runs* runs, qint64 pageNo);
    void logTimeOut() const;
    void logError(const QString& reason) const;

    const QString m_head;
    const QString m_subject;
    const TimeOutLine m_timeOutLine;
    const bool m_hasLimitLine;
    Runs m_lostPages;
    QString m_lostReason;  // of the last one
    Runs m_shortPages;
    qint64 m_missingRows = 0;  // of the short pages
    Runs m_droppedPages;
};

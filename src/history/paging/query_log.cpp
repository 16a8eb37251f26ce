#include "query_log.h"

#include <QStringList>

#include "log.h"

namespace {

inline const QString kDateForm = QStringLiteral("yyyyMMdd");
// Of very many runs of lost pages the first ones are enough to find the rest.
constexpr int kMostRuns = 20;

QString textOf(const QList<QPair<qint64, qint64>>& runs) {
    QStringList texts;
    for (const auto& [first, last] : runs.mid(0, kMostRuns)) {
        texts.append(first == last ? QString::number(first)
                                   : QStringLiteral("%1-%2").arg(first).arg(last));
    }
    if (runs.size() > kMostRuns) {
        texts.append(QStringLiteral("and more up to %1").arg(runs.last().second));
    }
    return texts.join(QStringLiteral(", "));
}

}  // namespace

int dateNumber(const QDate& date) {
    return date.toString(kDateForm).toInt();
}

QString loggedDate(const QDate& date) {
    return date.toString(Qt::ISODate);
}

QString loggedSubject(const QString& tradingAccount, const QString& startDate,
                      const QString& endDate) {
    return QStringLiteral("tradingAccount: ") + tradingAccount + QStringLiteral(", startDate: ") +
           startDate + QStringLiteral(", endDate: ") + endDate;
}

QueryLog::~QueryLog() {
    if (!m_lostPages.isEmpty()) {
        qCWarning(lcHistory).noquote().nospace()
            << m_head << ", " << m_subject << ": the rows of page " << textOf(m_lostPages)
            << " are lost, reason: "
            << (m_lostReason.isEmpty() ? QStringLiteral("the server gave none") : m_lostReason);
    }
    if (!m_shortPages.isEmpty()) {
        qCWarning(lcHistory).noquote().nospace()
            << m_head << ", " << m_subject << ": page " << textOf(m_shortPages) << " lacks "
            << m_missingRows << " rows that the total promises";
    }
}

void QueryLog::timedOut() {
    if (m_timeOutLine == TimeOutLine::AsReason) {
        logError(QStringLiteral("time out"));
    } else if (m_timeOutLine == TimeOutLine::Own) {
        logTimeOut();
    }
}

void QueryLog::failed(int, const QString& reason) {
    logError(reason);
}

void QueryLog::limitReached() {
    if (m_timeOutLine == TimeOutLine::AtLimit) {
        logTimeOut();
    }
    if (m_hasLimitLine) {
        qCDebug(lcHistory).noquote().nospace() << m_head << " timeout count >=5, no more query";
    }
}

void QueryLog::pageLost(qint64 pageNo, const QString& reason) {
    addTo(&m_lostPages, pageNo);
    m_lostReason = reason;
}

void QueryLog::pageShort(qint64 pageNo, qint64 rows, qint64 expectedRows) {
    addTo(&m_shortPages, pageNo);
    m_missingRows += expectedRows - rows;
}

void QueryLog::addTo(Runs* runs, qint64 pageNo) {
    if (runs->isEmpty() || runs->last().second + 1 != pageNo) {
        runs->append({pageNo, pageNo});
    } else {
        runs->last().second = pageNo;
    }
}

void QueryLog::stillAsking(qint64 pageNo, const QString& reason) {
    qCWarning(lcHistory).noquote().nospace()
        << m_head << ", " << m_subject << ": page " << pageNo << " is requested again: " << reason;
}

void QueryLog::stuck(const QString& why) {
    const QString dropped =
        m_droppedPages.isEmpty()
            ? QString()
            : QStringLiteral(", the rows of page %1 are lost").arg(textOf(m_droppedPages));
    if (!m_droppedPages.isEmpty()) {
        m_lostPages.clear();
        m_shortPages.clear();
    }
    qCWarning(lcHistory).noquote().nospace()
        << m_head << ", " << m_subject << ": the query ends early" << dropped << ": " << why;
}

void QueryLog::logTimeOut() const {
    qCDebug(lcHistory).noquote().nospace() << m_head << " timeout, " << m_subject;
}

void QueryLog::logError(const QString& reason) const {
    qCDebug(lcHistory).noquote().nospace()
        << m_head << " error, " << m_subject << ", reason: " << reason;
}

#include "page_walk.h"

#include <QSet>
#include <QThread>

#include "list_numbers.h"
#include "log.h"
#include "vocabulary/fields.h"
#include "znwidget/zn_presenter_class.h"

namespace {

using Outcome = ServerReply::Outcome;

constexpr unsigned long kPauseMs = 50;
constexpr qint64 kWarningMs = 1000;

/// An answer whose rows do not match its count is no page either: the server's fault, not the
/// platform's.
bool isRefusal(const ServerReply& answer) {
    return answer.outcome == Outcome::Refused ||
           (answer.outcome == Outcome::Failed && answer.code == 0);
}

}  // namespace

void WalkLog::pageLost(qint64 pageNo, const QString& reason) {
    qCWarning(lcHistory).noquote() << "page" << pageNo << "of a list is lost:" << reason;
}

void WalkLog::pageShort(qint64 pageNo, qint64 rows, qint64 expectedRows) {
    qCWarning(lcHistory).noquote()
        << "page" << pageNo << "of a list has" << rows << "instead of" << expectedRows << "rows";
}

void WalkLog::stillAsking(qint64 pageNo, const QString& reason) {
    qCWarning(lcHistory).noquote() << "page" << pageNo << "of a list is requested again:" << reason;
}

void WalkLog::stuck(const QString& why) {
    qCWarning(lcHistory).noquote() << "a list does not end:" << why;
}

/// What the walk compares each page with.
struct PageWalk::Seen {
    QList<QVariantMap> rows;
    QSet<QString> positions;

    /// Why a page by number gets the walk nowhere; empty when it gets on. A server that ignores
    /// the number sends the first page again and again.
    QString takeInNumbered(const PageWalk& walk, qint64 pageNo, const ServerReply& answer) {
        if (walk.m_rule.field != PageField::Number || walk.m_rule.end == ListEnd::Never) {
            return {};
        }
        const qint64 total = walk.totalOf(answer);
        if (walk.hasTotal() && answer.rows.isEmpty() && (pageNo - 1) * walk.m_pageSize < total) {
            return QStringLiteral("page %1 is empty, the total is %2").arg(pageNo).arg(total);
        }
        if (pageNo > walk.firstPage && !answer.rows.isEmpty() && haveSameRows(answer.rows, rows)) {
            return QStringLiteral("page %1 is the same as the one before").arg(pageNo);
        }
        rows = answer.rows;
        return {};
    }

    /// The same for a page by position. A server that ignores the position may still send a new
    /// one each time.
    QString takeInPosition(const PageWalk& walk, const ServerReply& answer) {
        if (walk.m_rule.field != PageField::Position) {
            return {};
        }
        if (answer.rows.size() >= walk.m_pageSize && haveSameRows(answer.rows, rows)) {
            return QStringLiteral("a page is the same as the one before");
        }
        rows = answer.rows;
        return {};
    }

    /// Without a total nobody knows whether a full page was the last one.
    static QString unusableTotal(const PageWalk& walk, const ServerReply& answer) {
        const ListTotal total = listTotalOf(answer.header);
        if (walk.m_rule.end == ListEnd::AtTotal && total.state == ListTotal::State::Unusable &&
            answer.rows.size() >= walk.m_pageSize) {
            return QStringLiteral("the total \"%1\" is unusable").arg(total.text);
        }
        return {};
    }

    /// Why the walk gets nowhere from the answer's position; empty when it gets on.
    QString nextPosition(const PageWalk& walk, const ServerReply& answer) {
        if (walk.m_rule.field != PageField::Position) {
            return {};
        }
        const QString next = answer.header.value(System::positionStr).toString();
        if (positions.contains(next)) {
            return QStringLiteral("the position \"%1\" repeats").arg(next);
        }
        positions.insert(next);
        return {};
    }

    /// Counts the page. Why the list is longer than any list without a total may be.
    QString tooLong(const PageWalk& walk, const ServerReply& answer) {
        ++pageCount;
        rowCount += answer.rows.size();
        const bool isBounded =
            walk.m_rule.end == ListEnd::AfterLastPage || walk.m_rule.end == ListEnd::AtTotal ||
            (walk.m_rule.end != ListEnd::Never && listTotalOf(answer.header).rowsOr(0) >= rowCount);
        if (!isBounded && (pageCount >= walk.mostPages || rowCount >= walk.mostRows)) {
            return QStringLiteral("%1 pages with %2 rows have no end").arg(pageCount).arg(rowCount);
        }
        return {};
    }

    /// Why a list by position cannot end here.
    QString endsTooEarly(const PageWalk& walk, const ServerReply& answer) const {
        const qint64 total = listTotalOf(answer.header).rowsOr(0);
        if (walk.m_rule.field == PageField::Position && rowCount < total) {
            return QStringLiteral("it ends after %1 rows, the total is %2")
                .arg(rowCount)
                .arg(total);
        }
        return {};
    }

    qint64 pageCount = 0;
    qint64 rowCount = 0;
};

void PageWalk::setPageFields(qint64 pageNo) {
    switch (m_rule.field) {
        case PageField::Number:
            m_request.fields.insert(System::pageNo, pageNo);
            if (m_rule.addsPageSize) {
                m_request.fields.insert(System::pageSize, m_pageSize);
            }
            break;
        case PageField::Position:
        case PageField::None:
            break;  // the caller has set them
    }
}

qint64 PageWalk::totalOf(const ServerReply& answer) const {
    return listTotalOf(answer.header).rowsOr(expectedTotal);
}

/// Whether the total of the list is known, or decides where it ends.
bool PageWalk::hasTotal() const {
    return m_rule.end == ListEnd::AtTotal ||
           (m_rule.end == ListEnd::AfterLastPage && expectedTotal > 0);
}

void PageWalk::checkLength(qint64 pageNo, const ServerReply& answer, WalkLog& log) const {
    if (m_rule.field != PageField::Number || !hasTotal() || answer.rows.isEmpty()) {
        return;
    }
    const qint64 expected = qMin<qint64>(m_pageSize, totalOf(answer) - (pageNo - 1) * m_pageSize);
    if (answer.rows.size() < expected) {
        log.pageShort(pageNo, answer.rows.size(), expected);
    }
}

bool PageWalk::isAtEnd(qint64 pageNo, const ServerReply& answer) const {
    switch (m_rule.end) {
        case ListEnd::AfterLastPage:
            // The list may have become shorter since its pages were counted.
            return pageNo >= lastPage || (answer.rows.isEmpty() && expectedTotal > 0);
        case ListEnd::AtTotal:
            return (pageNo - firstPage + 1) * m_pageSize >= totalOf(answer);
        case ListEnd::AtShortPage:
            return m_rule.field == PageField::Position ? answer.rows.size() < m_pageSize
                                                       : answer.rows.size() != m_pageSize;
        case ListEnd::Never:
            break;
    }
    return false;
}

void PageWalk::pause(qint64 pageNo, const QString& text, WalkLog& log) {
    if (!m_sinceWarning.isValid() || m_sinceWarning.elapsed() >= kWarningMs) {
        m_sinceWarning.start();
        log.stillAsking(pageNo, text);
    }
    QThread::msleep(kPauseMs);
}

/// What follows an answer that is no page; at the end `end` says how the walk ended.
PageWalk::Next PageWalk::afterNoPage(qint64 pageNo, const ServerReply& answer, WalkLog& log,
                                     End* end) {
    WalkStep step = m_rule.onTimeOut;
    if (answer.outcome == Outcome::TimedOut) {
        *end = End::TimedOut;
        reason.clear();
        log.timedOut();
    } else {
        const bool refused = isRefusal(answer);
        step = refused ? m_rule.onRefusal : m_rule.onFailure;
        *end = refused ? End::Refused : End::Failed;
        reason = refused || m_rule.failureHasReason ? answer.text : QString();
        log.failed(answer.code, reason);
    }
    switch (step) {
        case WalkStep::Stop:
            break;
        case WalkStep::NextPage:
            log.pageLost(pageNo, reason);
            if (++m_lostInARow < kMostLostInARow) {
                return Next::NextPage;
            }
            *end = endStuck(QStringLiteral("%1 pages in a row are lost").arg(m_lostInARow), log);
            break;
        case WalkStep::Again:
            if (++count < kLimit) {
                return Next::SamePage;
            }
            log.limitReached();
            break;
        case WalkStep::AgainForGood:
            // Only time-outs are counted, and their count ends nothing.
            if (*end == End::TimedOut && ++count >= kLimit) {
                log.limitReached();
            }
            pause(pageNo, *end == End::TimedOut ? QStringLiteral("time out") : answer.text, log);
            return Next::SamePage;
    }
    return Next::End;
}

PageWalk::End PageWalk::failWithoutPresenter(WalkLog& log) {
    const ServerReply answer = sendToServer(nullptr, m_request);
    reason = answer.text;
    log.failed(answer.code, reason);
    return End::Failed;
}

PageWalk::End PageWalk::endStuck(const QString& why, WalkLog& log) {
    reason = why;
    log.stuck(why);
    return End::Stuck;
}

PageWalk::End PageWalk::run(ZnPresenterClass* presenter, WalkLog& log, const OnPage& onPage) {
    if (!presenter) {
        return failWithoutPresenter(log);
    }
    m_request.timeOutSeconds = m_rule.timeOutSeconds;
    m_request.warns = m_rule.onTimeOut != WalkStep::AgainForGood;
    Seen seen;
    seen.positions.insert(m_request.fields.value(System::positionStr).toString());
    qint64 pageNo = firstPage;
    while (m_rule.end != ListEnd::AfterLastPage || pageNo <= lastPage) {
        if (presenter->isClosing()) {
            return End::Closing;
        }
        setPageFields(pageNo);
        const ServerReply answer = sendToServer(presenter, m_request);
        if (!answer.isAnswered()) {
            End end = End::Failed;
            const Next next = afterNoPage(pageNo, answer, log, &end);
            if (next == Next::End) {
                return end;
            }
            pageNo += next == Next::NextPage ? 1 : 0;
            continue;
        }
        QString stuck = seen.takeInNumbered(*this, pageNo, answer);
        stuck = stuck.isEmpty() ? seen.takeInPosition(*this, answer) : stuck;
        m_lostInARow = 0;
        if (stuck.isEmpty() || answer.rows.isEmpty()) {
            checkLength(pageNo, answer, log);
            if (!onPage(pageNo, answer)) {
                return End::Enough;
            }
            stuck = stuck.isEmpty() ? Seen::unusableTotal(*this, answer) : stuck;
        }
        if (!stuck.isEmpty()) {
            return endStuck(stuck, log);
        }
        if (m_rule.field == PageField::Position) {
            m_request.fields.insert(System::positionStr, answer.header.value(System::positionStr));
        }
        stuck = seen.tooLong(*this, answer);
        if (isAtEnd(pageNo, answer)) {
            stuck = seen.endsTooEarly(*this, answer);
            return stuck.isEmpty() ? End::Complete : endStuck(stuck, log);
        }
        stuck = stuck.isEmpty() ? seen.nextPosition(*this, answer) : stuck;
        if (!stuck.isEmpty()) {
            return endStuck(stuck, log);
        }
        count = m_rule.countsPerPage ? 0 : count;
        ++pageNo;
    }
    return End::Complete;
}

#pragma once

#include <QElapsedTimer>
#include <QString>
#include <functional>

#include "server_request.h"

class ZnPresenterClass;

/// What a walk does after an answer that brought no page.
enum class WalkStep {
    Stop,          ///< ends
    Again,         ///< counts, requests the same page again, and ends at the limit
    AgainForGood,  ///< counts and requests the same page again without a limit, after a pause
    NextPage       ///< the page is lost; ends after kMostLostInARow of them
};

/// How the pages of a list are requested.
enum class PageField {
    Number,    ///< System::pageNo from `firstPage` on, and System::pageSize
    Position,  ///< System::positionStr of the last answer, and System::requestNumber
    None       ///< no field: the same request each time
};

/// After which page the list has ended.
enum class ListEnd {
    AfterLastPage,  ///< after `lastPage`
    AtTotal,        ///< fetched pages times their size have reached System::totalSize
    AtShortPage,    ///< a page with fewer (or more) rows than its size
    Never           ///< only by an answer without a page
};

/// The rules of one function's walk, as data.
struct WalkRule {
    WalkStep onTimeOut = WalkStep::Again;
    WalkStep onFailure = WalkStep::Stop;  ///< the send returned neither 0 nor 1
    WalkStep onRefusal = WalkStep::Stop;  ///< another status than success, or a wrong row count
    /// Whether the count of failed sends begins at 0 for each page, or goes over the whole walk.
    bool countsPerPage = false;
    /// Whether the reason of a failed send is read; otherwise it is empty in log lines and results.
    bool failureHasReason = false;
    ListEnd end = ListEnd::AtTotal;
    PageField field = PageField::Number;
    bool addsPageSize = true;  ///< with PageField::Number; otherwise the caller sets it or not
    int timeOutSeconds = 0;    ///< see ServerRequest
};

/// The log lines of a walk; each function has its own texts.
class WalkLog {
public:
    virtual ~WalkLog() = default;

    /// A send timed out.
    virtual void timedOut() = 0;
    /// A send failed, or the server refused; `code` is what the send returned.
    virtual void failed(int code, const QString& reason) = 0;
    /// The count has reached the limit.
    virtual void limitReached() = 0;

    // The warnings for what a caller would not see otherwise. Each has a text of its own by
    // default.

    /// A page is passed over for good.
    virtual void pageLost(qint64 pageNo, const QString& reason);
    /// A page has fewer rows than the total of its answer requires.
    virtual void pageShort(qint64 pageNo, qint64 rows, qint64 expectedRows);
    /// With WalkStep::AgainForGood: a page is requested again. Called at most once a second.
    virtual void stillAsking(qint64 pageNo, const QString& reason);
    /// The walk ends because it gets nowhere.
    virtual void stuck(const QString& why);
};

/// A walk over the pages of a list, on the calling thread: sends page after page, by its rule,
/// until the list ends. It ends as Stuck, with a warning, when it gets nowhere: a position that
/// repeats, a page identical to the one before, an empty page below the total, a full page whose
/// total is unusable although the total decides, a list by position that ends below its total, a
/// list without a total and without an end, a hundred lost pages in a row. The presenter's
/// isClosing() is checked before each send. Without a presenter the walk ends as Failed, with a
/// text.
class PageWalk {
public:
    enum class End {
        Complete,  ///< the list has ended
        Enough,    ///< `onPage` returned false
        TimedOut,  ///< the limit was reached, or a time-out stops the walk, at a time-out
        Failed,    ///< the same at a failed send
        Refused,   ///< the same at a refusal
        Stuck,
        Closing  ///< the presenter is closing
    };
    /// A page as it came: number from `firstPage` on, and the answer with its header and rows.
    /// Returns whether the walk goes on. Not called for a page identical to the one before.
    using OnPage = std::function<bool(qint64 pageNo, const ServerReply& answer)>;

    /// `limit` is the count of failed sends at which the walk ends.
    static constexpr int kLimit = 5;
    /// Where a list without a total ends as one that gets nowhere.
    static constexpr qint64 kMostPages = 100000;
    static constexpr qint64 kMostRows = 10000000;
    /// A server that claims billions of rows and refuses each page would otherwise keep the walk
    /// going for as many requests.
    static constexpr int kMostLostInARow = 100;

    PageWalk(const WalkRule& rule, const ServerRequest& request, int pageSize)
        : m_rule(rule), m_request(request), m_pageSize(pageSize) {}

    qint64 firstPage = 1;
    qint64 lastPage = 1;  ///< for ListEnd::AfterLastPage
    /// For ListEnd::AfterLastPage: the size of the list as it was when the pages were counted, for
    /// answers without System::totalSize; 0 when unknown.
    qint64 expectedTotal = 0;
    qint64 mostPages = kMostPages;  ///< for a list without a total
    qint64 mostRows = kMostRows;    ///< the same

    /// Walks; blocks for all its requests.
    End run(ZnPresenterClass* presenter, WalkLog& log, const OnPage& onPage);

    /// Failed sends so far; may be set before run() to go on counting over several walks.
    int count = 0;
    /// Of the last answer that was no page, or why the walk was Stuck; empty where the rule does
    /// not read it.
    QString reason;
    /// The request as it was sent last, with its page fields.
    const QVariantMap& fields() const { return m_request.fields; }

private:
    struct Seen;
    enum class Next { End, SamePage, NextPage };

    End failWithoutPresenter(WalkLog& log);
    void setPageFields(qint64 pageNo);
    Next afterNoPage(qint64 pageNo, const ServerReply& answer, WalkLog& log, End* end);
    void pause(qint64 pageNo, const QString& text, WalkLog& log);
    void checkLength(qint64 pageNo, const ServerReply& answer, WalkLog& log) const;
    qint64 totalOf(const ServerReply& answer) const;
    bool hasTotal() const;
    bool isAtEnd(qint64 pageNo, const ServerReply& answer) const;
    End endStuck(const QString& why, WalkLog& log);

    const WalkRule m_rule;
    ServerRequest m_request;
    const int m_pageSize;
    int m_lostInARow = 0;
    QElapsedTimer m_sinceWarning;
};

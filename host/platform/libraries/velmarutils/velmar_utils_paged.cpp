#include <QSet>
#include <functional>

#include "data_log.h"
#include "page_limits.h"
#include "presenter_channel.h"
#include "server_query.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "znwidget/zn_presenter_class.h"

namespace {

constexpr int kMsPerSecond = 1000;

/// Sets another time-out for one request. It changes the presenter's own time-out, for everybody
/// who sends through it at that moment, so it is taken back as soon as the request is done.
class TimeOutForOneRequest {
public:
    TimeOutForOneRequest(const ZnPresenterClass* presenter, int timeOutMs)
        : m_channel(presenter && timeOutMs > 0 ? PresenterChannel::of(*presenter) : nullptr) {
        if (m_channel) {
            m_number = m_channel->timeOut.begin((timeOutMs - 1) / kMsPerSecond + 1);
        }
    }
    ~TimeOutForOneRequest() {
        if (m_channel) {
            m_channel->timeOut.end(m_number);
        }
    }
    Q_DISABLE_COPY(TimeOutForOneRequest)

private:
    const std::shared_ptr<PresenterChannel> m_channel;
    quint64 m_number = 0;
};

/// What follows a page: the request for the next one, the end of the list, or an error.
enum class Next { Page, End, Error };

struct PagedQuery {
    ZnPresenterClass* presenter;
    QString msgType;
    QVariantMap request;  ///< of the next page
    int timeOutMs;
    int maxPages;  ///< 0: no limit
};

/// Decides what follows an answer and changes the request into that for the next page. `collected`
/// is the number of rows so far, including those of this answer.
using NextPage = std::function<Next(const ServerAnswer& answer, int collected, QVariantMap* request,
                                    QString* error)>;

Next endless(const QString& msgType, const QString& what, QString* error) {
    *error = QStringLiteral("the list of %1 does not end: %2").arg(msgType, what);
    return Next::Error;
}

/// Turns the request for a further page into an error once a limit is reached.
Next withinLimits(const PagedQuery& query, int page, int collected, QString* error) {
    const PageLimits limits = pageLimits();
    if (page >= limits.pages) {
        return endless(query.msgType,
                       QStringLiteral("%1 pages came and more is left").arg(limits.pages), error);
    }
    if (collected >= limits.rows) {
        return endless(query.msgType,
                       QStringLiteral("%1 rows came and more is left").arg(collected), error);
    }
    return Next::Page;
}

QList<QVariantMap> collect(PagedQuery query, const NextPage& next, QString* error) {
    QList<QVariantMap> rows;
    Next step = Next::Page;
    for (int page = 1; step == Next::Page; ++page) {
        ServerAnswer answer;
        {
            const TimeOutForOneRequest timeOut(query.presenter, query.timeOutMs);
            answer = queryServer(query.presenter, query.msgType, query.request);
        }
        *error = answer.error;
        if (error->isEmpty()) {
            rows += answer.rows;
            step = next(answer, rows.size(), &query.request, error);
        }
        if (step == Next::Page && error->isEmpty() && page != query.maxPages) {
            step = withinLimits(query, page, rows.size(), error);
        }
        if (!error->isEmpty()) {
            qCDebug(lcPlatformQuery).noquote()
                << query.msgType << "failed at its page" << page << ":" << *error;
            return {};
        }
        if (page == query.maxPages) {
            break;
        }
    }
    return rows;
}

/// How many rows the server has in all; negative when the answer does not say. False when the total
/// is not a number or below zero.
bool readTotal(const QVariantMap& header, qint64* total) {
    const QString text = header.value(System::totalSize).toString();
    bool isNumber = false;
    *total = text.toLongLong(&isNumber);
    if (text.isEmpty()) {
        *total = -1;
        return true;
    }
    return isNumber && *total >= 0;
}

Next badTotal(const QString& msgType, const QVariant& total, qint64 received, QString* error) {
    *error = QStringLiteral("the answer to %1 is garbage: its total is \"%2\", %3 rows came")
                 .arg(msgType, total.toString())
                 .arg(received);
    return Next::Error;
}

}  // namespace

QList<QVariantMap> VelmarUtils::QueryDatasFromServerByPage(
    ZnPresenterClass* p, const QString& msgType, const QVariantMap& request, QString& error,
    int pageSize, int firstPage, int maxPages, int timeOutMs) {
    if (pageSize < 1 || firstPage < 1) {
        error = QStringLiteral("%1 cannot be queried in pages of %2 rows from page %3 on")
                    .arg(msgType)
                    .arg(pageSize)
                    .arg(firstPage);
        return {};
    }
    PagedQuery query{p, msgType, request, timeOutMs, maxPages};
    query.request.insert(System::pageNo, firstPage);
    query.request.insert(System::pageSize, pageSize);
    const qint64 before = qint64(firstPage - 1) * pageSize;
    QList<QVariantMap> last;
    const auto next = [&](const ServerAnswer& answer, int collected, QVariantMap* page,
                          QString* why) {
        const bool isFull = answer.rows.size() >= pageSize;
        const qint64 reached = before + collected;
        qint64 total = 0;
        if (!readTotal(answer.header, &total) || (isFull && total >= 0 && reached > total)) {
            return badTotal(msgType, answer.header.value(System::totalSize), reached, why);
        }
        const bool hasTotal = total >= 0;
        if (hasTotal && reached >= total) {
            return Next::End;
        }
        if (!isFull && hasTotal) {
            return endless(msgType,
                           QStringLiteral("%1 rows of %2 came, the last page %3")
                               .arg(collected)
                               .arg(total)
                               .arg(answer.rows.isEmpty() ? QStringLiteral("empty")
                                                          : QStringLiteral("not full")),
                           why);
        }
        if (!isFull) {
            return Next::End;
        }
        if (answer.rows == last) {
            return endless(msgType, QStringLiteral("the same page came twice"), why);
        }
        last = answer.rows;
        page->insert(System::pageNo, page->value(System::pageNo).toInt() + 1);
        return Next::Page;
    };
    return collect(query, next, &error);
}

QList<QVariantMap> VelmarUtils::QueryDatasFromServerByPos(ZnPresenterClass* p,
                                                          const QString& msgType,
                                                          const QVariantMap& request,
                                                          QString& error, int pageSize,
                                                          QString startPos, int timeOutMs) {
    if (pageSize < 1) {
        error =
            QStringLiteral("%1 cannot be queried in pages of %2 rows").arg(msgType).arg(pageSize);
        return {};
    }
    PagedQuery query{p, msgType, request, timeOutMs, 0};
    query.request.insert(System::positionStr, startPos);
    query.request.insert(System::requestNumber, pageSize);
    QSet<QString> seen{startPos};
    const auto next = [&](const ServerAnswer& answer, int, QVariantMap* page, QString* why) {
        if (answer.rows.size() < pageSize) {
            return Next::End;
        }
        const QString position = answer.header.value(System::positionStr).toString();
        if (position.isEmpty() || seen.contains(position)) {
            return endless(msgType,
                           QStringLiteral("a full page leads to the position \"%1\"").arg(position),
                           why);
        }
        seen.insert(position);
        page->insert(System::positionStr, position);
        return Next::Page;
    };
    return collect(query, next, &error);
}

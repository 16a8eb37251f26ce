#include "data_query.h"

#include <optional>

#include "presenter_time_out.h"
#include "request_failure_log.h"
#include "vocabulary/values.h"

namespace {

using Outcome = ServerReply::Outcome;

constexpr int kPageSize = 1000;
constexpr int kFirstPage = 1;
constexpr int kNoPageLimit = 0;
constexpr int kStandingTimeOut = 0;

/// The helpers pass the answer's status on; without a usable answer it is empty.
Outcome outcomeOf(const QString& status, const QString& error) {
    if (status == RequestExeStatus::timeout) {
        return Outcome::TimedOut;
    }
    if (status == RequestExeStatus::success) {
        return error.isEmpty() ? Outcome::Answered : Outcome::Failed;
    }
    return status.isEmpty() ? Outcome::Failed : Outcome::Refused;
}

ServerReply finish(const QString& msgType, ServerReply reply) {
    if (!reply.isAnswered()) {
        reply.rows.clear();
        requestFailureLog().report(msgType, reply.outcome,
                                   reply.outcome == Outcome::TimedOut
                                       ? QStringLiteral("no answer came in time")
                                       : reply.text);
    }
    return reply;
}

/// For the helpers that report an error text but no status.
ServerReply finishPages(const QString& msgType, ServerReply reply) {
    reply.outcome = reply.text.isEmpty() ? Outcome::Answered : Outcome::Failed;
    return finish(msgType, std::move(reply));
}

}  // namespace

ServerReply queryRows(ZnPresenterClass* presenter, const QString& msgType,
                      const QVariantMap& fields, QueryDataMode mode) {
    ServerReply reply;
    reply.status = VelmarUtils::SendRequestToServer(presenter, msgType, fields, mode, reply.text,
                                                    reply.rows, false, false);
    reply.outcome = outcomeOf(reply.status, reply.text);
    return finish(msgType, std::move(reply));
}

ServerReply queryPages(ZnPresenterClass* presenter, const QString& msgType,
                       const QVariantMap& fields, int timeOutMs) {
    // The helper sets the time-out itself. Counted here as well, so that a request of another
    // thread does not save it as the standing one.
    std::optional<PresenterTimeOut> timeOut;
    if (presenter) {
        timeOut.emplace(*presenter, int((qint64(timeOutMs) + 999) / 1000));
    }
    ServerReply reply;
    reply.rows = VelmarUtils::QueryDatasFromServerByPage(
        presenter, msgType, fields, reply.text, kPageSize, kFirstPage, kNoPageLimit, timeOutMs);
    return finishPages(msgType, std::move(reply));
}

ServerReply queryPositions(ZnPresenterClass* presenter, const QString& msgType,
                           const QVariantMap& fields, const QString& startPosition) {
    ServerReply reply;
    reply.rows = VelmarUtils::QueryDatasFromServerByPos(presenter, msgType, fields, reply.text,
                                                        kPageSize, startPosition, kStandingTimeOut);
    return finishPages(msgType, std::move(reply));
}

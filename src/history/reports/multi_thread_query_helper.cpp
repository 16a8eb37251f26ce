#include "multi_thread_query_helper.h"

#include <limits>

#include "asset_delivery_sink.h"
#include "log.h"
#include "page_walk.h"
#include "query_log.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znwidget/zn_presenter_class.h"

namespace {

using End = PageWalk::End;

WalkRule ruleOf(const QVariantMap& request) {
    WalkRule rule;
    rule.failureHasReason = true;
    if (request.contains(System::positionStr)) {
        rule.field = PageField::Position;
        rule.end = ListEnd::AtShortPage;
    } else if (request.contains(System::pageNo)) {
        rule.field = PageField::Number;
        rule.addsPageSize = false;
        rule.end = ListEnd::AtTotal;
    } else {
        rule.field = PageField::None;
        rule.end = ListEnd::Never;
    }
    return rule;
}

int pageSizeOf(const WalkRule& rule, const QVariantMap& request) {
    const QString& field =
        rule.field == PageField::Position ? System::requestNumber : System::pageSize;
    // A page without rows ends the list, also when the request has no page size.
    return static_cast<int>(
        qBound<qint64>(1, request.value(field).toLongLong(), std::numeric_limits<int>::max()));
}

/// A reason as a status: one that reads like a success or a time-out must not become one.
QString failedStatus(const QString& reason) {
    const bool readsLikeAStatus =
        reason == RequestExeStatus::success || reason == RequestExeStatus::timeout;
    return readsLikeAStatus ? QStringLiteral("failed: ") + reason : reason;
}

class TaskLog : public WalkLog {
public:
    TaskLog(const QString& queryName, const QString& msgType, const QVariantMap& request)
        : m_queryName(queryName),
          m_msgType(msgType),
          m_subject(loggedSubject(request.value(UserAccount::tradingAccount).toString(),
                                  request.value(System::startDate).toString(),
                                  request.value(System::endDate).toString())) {}

    void timedOut() override {
        qCDebug(lcHistory).noquote().nospace()
            << m_queryName << " query time out, msgType = " << m_msgType;
    }
    void failed(int, const QString& reason) override {
        qCDebug(lcHistory).noquote().nospace()
            << m_queryName << " query failed, msgType = " << m_msgType
            << ", error info = " << reason;
    }
    void limitReached() override {
        qCDebug(lcHistory).noquote().nospace() << m_msgType << " timeout count >=5, no more query";
    }
    void stuck(const QString& why) override {
        qCWarning(lcHistory).noquote().nospace()
            << "the list of " << m_msgType << " does not end, " << m_subject << ": " << why;
        failed(0, why);
    }

private:
    const QString m_queryName;
    const QString m_msgType;
    const QString m_subject;
};

}  // namespace

QString MultiThreadQueryHelper::fetch(QList<QVariantMap>* rows) {
    TaskLog log(queryName, msgType, request);
    if (!prtClass) {
        const ServerReply reply = sendToServer(prtClass, {msgType, request});
        log.failed(reply.code, reply.text);
        return failedStatus(reply.text);
    }
    const WalkRule rule = ruleOf(request);
    PageWalk walk(rule, {msgType, request}, pageSizeOf(rule, request));
    if (rule.field == PageField::Number) {
        walk.firstPage = request.value(System::pageNo).toLongLong();
    }
    const End end = walk.run(prtClass, log, [&](qint64 pageNo, const ServerReply& answer) {
        rows->append(answer.rows);
        if (rule.field == PageField::Position) {
            request.insert(System::positionStr, answer.header.value(System::positionStr));
        } else if (rule.field == PageField::Number) {
            request.insert(System::pageNo, pageNo + 1);
        }
        return true;
    });
    switch (end) {
        case End::Complete:
        case End::Enough:
            return RequestExeStatus::success;
        case End::TimedOut:
            rows->clear();
            return RequestExeStatus::timeout;
        case End::Stuck:
        case End::Failed:
        case End::Refused:
        case End::Closing:
            break;
    }
    rows->clear();
    return failedStatus(walk.reason);
}

void MultiThreadQueryHelper::run() {
    QList<QVariantMap> rows;
    const QString status = fetch(&rows);
    if (!prtClass || !prtClass->isClosing()) {
        m_target.QueryAssetDileveryResponse(msgType, request, status, rows);
    }
    qCDebug(lcHistory).noquote().nospace() << queryName << " query finished, msgType = " << msgType;
}

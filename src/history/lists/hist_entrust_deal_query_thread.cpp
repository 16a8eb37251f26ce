#include "hist_entrust_deal_query_thread.h"

#include "history_merge.h"
#include "log.h"
#include "page_walk.h"
#include "query_log.h"
#include "query_progress.h"
#include "vocabulary/fields.h"

namespace {

constexpr int kTimeOutSeconds = 30;

WalkRule ruleOfBlock() {
    WalkRule rule;
    rule.onTimeOut = WalkStep::AgainForGood;
    rule.onFailure = WalkStep::AgainForGood;
    rule.onRefusal = WalkStep::NextPage;
    rule.failureHasReason = true;
    rule.end = ListEnd::AfterLastPage;
    rule.timeOutSeconds = kTimeOutSeconds;
    return rule;
}

/// A page that is lost is done as well.
class BlockLog : public QueryLog {
public:
    BlockLog(const QString& msgType, const QString& subject, QueryProgress* progress)
        : QueryLog(msgType, subject, TimeOutLine::AsReason), m_progress(progress) {}

    void pageLost(qint64 pageNo, const QString& reason) override {
        QueryLog::pageLost(pageNo, reason);
        if (m_progress) {
            m_progress->pageDone();
        }
    }

private:
    QueryProgress* const m_progress;
};

}  // namespace

void histEntrustDealQueryThread::run() {
    if (!prtClass) {
        return;
    }
    PageWalk walk(ruleOfBlock(),
                  {msgType,
                   {{UserAccount::tradingAccount, tradingAccount},
                    {System::startDate, startDate},
                    {System::endDate, endDate}}},
                  pageSize);
    walk.firstPage = startPage;
    walk.lastPage = endPage;
    walk.expectedTotal = expectedTotal;
    BlockLog log(
        msgType,
        loggedSubject(tradingAccount, QString::number(startDate), QString::number(endDate)),
        progress);
    log.setDroppedPages(startPage, endPage);
    QList<QVariantMap> rows;
    const PageWalk::End end = walk.run(prtClass, log, [&](qint64, const ServerReply& answer) {
        if (firstRow && rows.isEmpty()) {
            *firstRow = answer.rows.value(0);
        }
        rows += answer.rows;
        if (progress) {
            progress->pageDone();
        }
        return true;
    });
    const bool isWhole = end == PageWalk::End::Complete;
    if (isWhole) {
        m_target.AssembleHistoryEntrustDealList(msgType, std::move(rows));
    }
    qCInfo(lcHistory).noquote() << msgType << startDate << endDate << startPage << endPage
                                << (isWhole ? " thread ended" : " thread ended without its rows");
}

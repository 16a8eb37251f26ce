#include "deal_statistics.h"

#include "log.h"
#include "page_walk.h"
#include "query_log.h"
#include "query_progress.h"
#include "row_lookups.h"
#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"
#include "znbusinessdata/c_business_data_base.h"
#include "znwidget/zn_presenter_class.h"

namespace {

constexpr int kPageSize = 1000;
constexpr const char* kListTag = "ZnBusinessDataManager::GetHistoryDealStatisticsList";
constexpr const char* kQueryTag = "ZnBusinessDataManager::queryHistoryDealStatisticList";
inline const QString kDateForm = QStringLiteral("yyyyMMdd");

class StatisticsLog : public WalkLog {
public:
    explicit StatisticsLog(const QString& subject) : m_subject(subject) {}

    void timedOut() override {
        qCDebug(lcHistory).noquote() << QStringLiteral("向柜台同步查询历史成交统计超时");
    }
    void failed(int, const QString& reason) override {
        qCDebug(lcHistory).noquote()
            << QStringLiteral("向柜台同步查询历史成交统计失败，失败原因：%1").arg(reason);
    }
    void limitReached() override {
        qCDebug(lcHistory).noquote()
            << QStringLiteral("向柜台同步查询历史成交统计失败超过%1次，不再查询")
                   .arg(PageWalk::kLimit);
    }
    void stuck(const QString& why) override {
        qCWarning(lcHistory).noquote().nospace()
            << kQueryTag << ", " << m_subject << ": the query ends without a result: " << why;
    }

private:
    const QString m_subject;
};

/// The row as callers get it, with display units turned into pieces.
QVariantMap statisticOf(QVariantMap row, const QString& tradingAccount, const QDate& tradeDate,
                        RowLookups& lookups) {
    const QString symbol = lookups.symbolOf(row);
    const int factor = lookups.displayFactorOf(symbol);
    row.insert(UserAccount::tradingAccount, tradingAccount);
    row.insert(Security::symbol, symbol);
    row.insert(UserAccount::tradeDate, tradeDate);
    row.insert(Security::cumQty, row.value(Security::cumQty).toDouble() * factor);
    row.insert(Security::avgPx, row.value(Security::avgPx).toDouble() / factor);
    return row;
}

/// Their days count as held from now on, and nothing else shows that they were never received.
void warnOfFailed(const QString& tradingAccount, const QList<QPair<QDate, QDate>>& failed) {
    if (failed.isEmpty()) {
        return;
    }
    QString more;
    if (failed.size() > 1) {
        more = QStringLiteral(" and %1 more runs of days").arg(failed.size() - 1);
    }
    qCWarning(lcHistory).noquote().nospace()
        << kListTag << ", "
        << loggedSubject(tradingAccount, loggedDate(failed.first().first),
                         loggedDate(failed.first().second))
        << more << ": the request failed, the days count as days without rows";
}

}  // namespace

QList<QVariantMap> DealStatistics::GetHistoryDealStatisticsList(ZnPresenterClass* presenter,
                                                                const QStringList& accounts,
                                                                const QDate& startDate,
                                                                const QDate& endDate) {
    QList<QVariantMap> rows;
    if (!isRangeAllowed(kListTag, startDate, endDate)) {
        return rows;
    }
    QueryProgress progress(presenter, QStringLiteral("GetHistoryDealStatisticsList"));
    for (const QString& account : accounts) {
        HeldDays held;
        {
            const auto tables = m_dealStatisticLock.lock();
            held = tables->m_heldDays.value(account);
        }
        held.remove(CBusinessDataBase::GetInstance()->getCurrentBusinessDateTime().date());
        QList<QPair<QDate, QDate>> failed;
        for (const auto& [first, last] : held.missingIn(startDate, endDate)) {
            if (query(presenter, account, first, last, &progress) != 0) {
                failed.append({first, last});
            }
        }
        const bool couldAsk = presenter && !presenter->isClosing();
        if (couldAsk) {
            warnOfFailed(account, failed);
        }
        const auto tables = m_dealStatisticLock.lock();
        if (couldAsk) {
            tables->m_heldDays[account].add(startDate, endDate);
        }
        const RowsByDay& days = tables->m_dealStatisticCache[account];
        for (auto day = days.lowerBound(startDate);
             startDate.isValid() && day != days.cend() && day.key() <= endDate; ++day) {
            rows += *day;
        }
    }
    return rows;
}

int DealStatistics::queryHistoryDealStatisticList(ZnPresenterClass* presenter,
                                                  const QString& tradingAccount,
                                                  const QDate& startDate, const QDate& endDate) {
    QueryProgress progress(presenter, QStringLiteral("queryHistoryDealStatisticList"));
    return query(presenter, tradingAccount, startDate, endDate, &progress);
}

int DealStatistics::query(ZnPresenterClass* presenter, const QString& tradingAccount,
                          const QDate& startDate, const QDate& endDate, QueryProgress* progress) {
    if (!isRangeAllowed(kQueryTag, startDate, endDate)) {
        return -1;
    }
    WalkRule rule;
    rule.onFailure = WalkStep::Again;
    rule.onRefusal = WalkStep::Again;
    rule.failureHasReason = true;
    rule.end = ListEnd::AtShortPage;
    PageWalk walk(rule,
                  {Velmar_MsgType::salesTradeRealGatherHistoryRequest,
                   {{UserAccount::tradingAccount, tradingAccount},
                    {System::startDate, startDate.toString(kDateForm)},
                    {System::endDate, endDate.toString(kDateForm)}}},
                  kPageSize);
    StatisticsLog log(loggedSubject(tradingAccount, loggedDate(startDate), loggedDate(endDate)));
    progress->beginPart(tradingAccount, startDate, endDate);
    RowLookups lookups(m_symbols);
    RowsByDay rows;
    int unusable = 0;
    const PageWalk::End end = walk.run(presenter, log, [&](qint64, const ServerReply& answer) {
        for (const QVariantMap& row : answer.rows) {
            const QDate day = lookups.tradeDateOf(row);
            if (!day.isValid() || day < startDate || day > endDate) {
                ++unusable;
                continue;
            }
            rows[day].append(statisticOf(row, tradingAccount, day, lookups));
        }
        qCDebug(lcHistory).noquote()
            << QStringLiteral("本次查询获取到%1条记录").arg(answer.rows.size());
        progress->pageDone();
        return true;
    });
    if (end != PageWalk::End::Complete) {
        return -1;
    }
    if (unusable > 0) {
        qCWarning(lcHistory).noquote()
            << kQueryTag << tradingAccount << ":" << unusable
            << "rows are left out: their trade date is unusable or was not requested";
    }
    enter(tradingAccount, startDate, endDate, rows);
    return 0;
}

/// Replaces what is held of the days.
void DealStatistics::enter(const QString& tradingAccount, const QDate& startDate,
                           const QDate& endDate, const RowsByDay& rows) {
    if (!startDate.isValid() || !endDate.isValid()) {
        return;
    }
    const auto tables = m_dealStatisticLock.lock();
    RowsByDay& held = tables->m_dealStatisticCache[tradingAccount];
    for (auto day = held.lowerBound(startDate); day != held.end() && day.key() <= endDate;) {
        day = held.erase(day);
    }
    for (auto day = rows.cbegin(); day != rows.cend(); ++day) {
        held.insert(day.key(), *day);
    }
    tables->m_heldDays[tradingAccount].add(startDate, endDate);
}

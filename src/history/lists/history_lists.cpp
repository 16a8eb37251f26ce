#include "history_lists.h"

#include <QElapsedTimer>
#include <QThread>
#include <QThreadPool>
#include <vector>

#include "date_runs.h"
#include "hist_entrust_deal_query_thread.h"
#include "list_numbers.h"
#include "log.h"
#include "page_blocks.h"
#include "page_walk.h"
#include "pool_tasks.h"
#include "query_log.h"
#include "query_progress.h"
#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

constexpr int kStandingTimeOut = 0;
constexpr int kLongTimeOutSeconds = 30;
constexpr const char* kDealListTag = "ZnBusinessDataManager::GetHistoryDealList";
constexpr const char* kEntrustListTag = "ZnBusinessDataManager::GetHistoryEntrustList";
constexpr const char* kOneEntrustTag =
    "ZnBusinessDataManager::queryHistoryEntrustByTradeDateAndOrderID";

struct HeldDay {
    QDate day;
    int size;
};

/// The days that an account has rows of; makes its entry.
template <class Tables>
QList<QDate> heldDaysOf(Guarded<Tables, QMutex>& lock, HistoryCache Tables::*cache,
                        const QString& tradingAccount) {
    const auto tables = lock.lock();
    return ((*tables).*cache)[tradingAccount].keys();
}

/// Appends an account's rows of the days and logs how many each day has.
template <class Tables>
void readOut(Guarded<Tables, QMutex>& lock, HistoryCache Tables::*cache, const char* function,
             const QString& tradingAccount, const QDate& startDate, const QDate& endDate,
             QList<QVariantMap>* rows) {
    QList<HeldDay> heldDays;
    if (startDate.isValid() && endDate.isValid()) {
        const auto tables = lock.lock();
        const auto days = ((*tables).*cache).constFind(tradingAccount);
        if (days != ((*tables).*cache).cend()) {
            for (auto day = days->lowerBound(startDate);
                 day != days->cend() && day.key() <= endDate; ++day) {
                heldDays.append({day.key(), day->size()});
                for (const QVariantMap& row : *day) {
                    rows->append(row);
                }
            }
        }
    }
    for (const HeldDay& held : heldDays) {
        // Orders are counted with the same words.
        qCInfo(lcHistory).noquote()
            << function << "tradingAccount:" << tradingAccount << ", date:" << loggedDate(held.day)
            << ", deal size:" << held.size;
    }
}

QString subjectOf(const QString& tradingAccount, const QDate& startDate, const QDate& endDate) {
    return loggedSubject(tradingAccount, loggedDate(startDate), loggedDate(endDate));
}

/// Warns of two blocks that begin with the same row: a server that ignores the page number sends
/// the same page to each, and a block of one page has nothing else to compare it with.
void warnOfEqualBlocks(const char* function, const QString& subject,
                       const QList<QPair<qint64, qint64>>& blocks,
                       const std::vector<QVariantMap>& firstRows) {
    for (size_t later = 1; later < firstRows.size(); ++later) {
        if (!firstRows[later].isEmpty() && isSameRow(firstRows[later], firstRows[later - 1])) {
            const int block = static_cast<int>(later);
            qCWarning(lcHistory).noquote().nospace()
                << function << ", " << subject << ": page " << blocks.at(block).first
                << " begins with the same row as page " << blocks.at(block - 1).first
                << ", rows of the list are probably missing";
            return;
        }
    }
}

}  // namespace

/// What differs between orders and deals.
struct HistoryLists::Family {
    const char* function;
    const QString& msgType;
    int pageSize;
    int probeTimeOutSeconds;
};

QList<QVariantMap> HistoryLists::GetHistoryEntrustList(ZnPresenterClass* presenter,
                                                       const QStringList& accounts,
                                                       const QDate& startDate,
                                                       const QDate& endDate) {
    QList<QVariantMap> rows;
    if (!isRangeAllowed(kEntrustListTag, startDate, endDate)) {
        return rows;
    }
    QueryProgress progress(presenter, QStringLiteral("GetHistoryEntrustList"));
    for (const QString& account : accounts) {
        const auto runs = getUnqueriedDateRanges(
            startDate, endDate, heldDaysOf(m_entrustLock, &EntrustTables::m_entrustCache, account));
        for (const auto& run : runs) {
            fetchEntrusts(presenter, account, run.first, run.second, &progress);
        }
        readOut(m_entrustLock, &EntrustTables::m_entrustCache, kEntrustListTag, account, startDate,
                endDate, &rows);
    }
    return rows;
}

QList<QVariantMap> HistoryLists::GetHistoryDealList(ZnPresenterClass* presenter,
                                                    const QStringList& accounts,
                                                    const QDate& startDate, const QDate& endDate) {
    QElapsedTimer timer;
    timer.start();
    qCInfo(lcHistory) << kDealListTag << accounts << loggedDate(startDate) << loggedDate(endDate);
    QList<QVariantMap> rows;
    if (!isRangeAllowed(kDealListTag, startDate, endDate)) {
        return rows;
    }
    QueryProgress progress(presenter, QStringLiteral("GetHistoryDealList"));
    for (const QString& account : accounts) {
        const auto runs = getUnqueriedDateRanges(
            startDate, endDate, heldDaysOf(m_dealLock, &DealTables::m_dealCache, account));
        for (const auto& run : runs) {
            qCInfo(lcHistory).noquote() << account
                                        << QStringLiteral("QPair(%1,%2)")
                                               .arg(loggedDate(run.first), loggedDate(run.second));
            fetchDeals(presenter, account, run.first, run.second, &progress);
        }
        readOut(m_dealLock, &DealTables::m_dealCache, kDealListTag, account, startDate, endDate,
                &rows);
    }
    qCInfo(lcHistory).noquote().nospace()
        << kDealListTag << " dealListSize:" << rows.size() << " takes " << timer.elapsed() << " ms"
        << textOfDealCache();
    return rows;
}

/// Empty while its log category is off: the text may be a gigabyte.
QString HistoryLists::textOfDealCache() {
    if (!lcHistory().isInfoEnabled() || !lcHistoryCache().isInfoEnabled()) {
        return {};
    }
    HistoryCache shared;
    {
        const auto tables = m_dealLock.lock();
        shared = tables->m_dealCache;
    }
    QString text;
    QDebug(&text) << shared;
    return QLatin1Char(' ') + text;
}

QVariantMap HistoryLists::GetHistoryEntrustByTradeDateAndOrderID(ZnPresenterClass* presenter,
                                                                 const QDate& tradeDate,
                                                                 const QString& orderID,
                                                                 const QString& tradingAccount) {
    {
        const auto tables = m_entrustLock.lock();
        const HistoryCache& cache = tables->m_entrustCache;
        if (tradingAccount.isEmpty()) {
            for (const auto& days : cache) {
                const auto day = days.constFind(tradeDate);
                if (day != days.cend() && day->contains(orderID)) {
                    return day->value(orderID);
                }
            }
            return {};
        }
        const auto days = cache.constFind(tradingAccount);
        if (days != cache.cend() && days->contains(tradeDate)) {
            return days->value(tradeDate).value(orderID);
        }
    }
    return queryHistoryEntrustByTradeDateAndOrderID(presenter, tradeDate, orderID, tradingAccount);
}

QVariantMap HistoryLists::queryHistoryEntrustByTradeDateAndOrderID(ZnPresenterClass* presenter,
                                                                   const QDate& tradeDate,
                                                                   const QString& orderID,
                                                                   const QString& tradingAccount) {
    if (!areDatesValid(kOneEntrustTag, tradeDate, tradeDate)) {
        return {};
    }
    const int day = dateNumber(tradeDate);
    const ServerReply reply =
        sendToServer(presenter, {Velmar_MsgType::queryHistoryExchangeOrderRequest,
                                 {{UserAccount::tradingAccount, tradingAccount},
                                  {System::startDate, day},
                                  {System::endDate, day},
                                  {System::pageNo, 1},
                                  {System::pageSize, 1},
                                  {Security::orderID, orderID}}});
    if (reply.isAnswered()) {
        return reply.rows.value(0);
    }
    QueryLog log(kOneEntrustTag, QStringLiteral("tradingAccount: %1, tradeDate: %2")
                                     .arg(tradingAccount, loggedDate(tradeDate)));
    if (reply.outcome == ServerReply::Outcome::TimedOut) {
        log.timedOut();
    } else {
        log.failed(reply.code, reply.code == 0 ? reply.text : QString());
    }
    return {};
}

void HistoryLists::queryHistoryDealList(ZnPresenterClass* presenter, const QString& tradingAccount,
                                        const QDate& startDate, const QDate& endDate) {
    QueryProgress progress(presenter, QStringLiteral("queryHistoryDealList"));
    fetchDeals(presenter, tradingAccount, startDate, endDate, &progress);
}

void HistoryLists::queryHistoryEntrustList(ZnPresenterClass* presenter,
                                           const QString& tradingAccount, const QDate& startDate,
                                           const QDate& endDate) {
    QueryProgress progress(presenter, QStringLiteral("queryHistoryEntrustList"));
    fetchEntrusts(presenter, tradingAccount, startDate, endDate, &progress);
}

void HistoryLists::fetchDeals(ZnPresenterClass* presenter, const QString& tradingAccount,
                              const QDate& startDate, const QDate& endDate,
                              QueryProgress* progress) {
    fetch({"ZnBusinessDataManager::queryHistoryDealList",
           Velmar_MsgType::queryHistoryExecutionRequest, 2000, kStandingTimeOut},
          presenter, tradingAccount, startDate, endDate, progress);
}

void HistoryLists::fetchEntrusts(ZnPresenterClass* presenter, const QString& tradingAccount,
                                 const QDate& startDate, const QDate& endDate,
                                 QueryProgress* progress) {
    fetch({"ZnBusinessDataManager::queryHistoryEntrustList",
           Velmar_MsgType::queryHistoryExchangeOrderRequest, 1000, kLongTimeOutSeconds},
          presenter, tradingAccount, startDate, endDate, progress);
}

/// Asks for the first page to learn the size of the list. One page is entered at once; of more, the
/// rows of this first answer are not used, and tasks fetch all pages.
void HistoryLists::fetch(const Family& family, ZnPresenterClass* presenter,
                         const QString& tradingAccount, const QDate& startDate,
                         const QDate& endDate, QueryProgress* progress) {
    if (!isRangeAllowed(family.function, startDate, endDate)) {
        return;
    }
    progress->beginPart(tradingAccount, startDate, endDate);
    WalkRule rule;
    rule.end = ListEnd::AfterLastPage;
    rule.timeOutSeconds = family.probeTimeOutSeconds;
    PageWalk probe(rule,
                   {family.msgType,
                    {{UserAccount::tradingAccount, tradingAccount},
                     {System::startDate, dateNumber(startDate)},
                     {System::endDate, dateNumber(endDate)}}},
                   family.pageSize);
    QueryLog log(family.function, subjectOf(tradingAccount, startDate, endDate));
    QList<QVariantMap> rows;
    ListTotal total;
    const PageWalk::End end = probe.run(presenter, log, [&](qint64, const ServerReply& answer) {
        total = listTotalOf(answer.header);
        rows = answer.rows;
        return true;
    });
    if (end != PageWalk::End::Complete) {
        return;
    }
    if (total.rows > family.pageSize) {
        rows.clear();
        fetchBlocks(family, presenter, tradingAccount, startDate, endDate, total.rows, progress);
        return;
    }
    if (total.rows > 0 && rows.isEmpty()) {
        log.stuck(QStringLiteral("the first page is empty, the total is %1").arg(total.rows));
    } else if (rows.size() < total.rows) {
        log.pageShort(1, rows.size(), total.rows);
    } else if (total.state == ListTotal::State::Unusable && rows.size() >= family.pageSize) {
        log.stuck(
            QStringLiteral("the first page is full, the total \"%1\" is unusable").arg(total.text));
    }
    progress->setPages(1);
    progress->pageDone();
    AssembleHistoryEntrustDealList(family.msgType, std::move(rows));
}

void HistoryLists::fetchBlocks(const Family& family, ZnPresenterClass* presenter,
                               const QString& tradingAccount, const QDate& startDate,
                               const QDate& endDate, qint64 total, QueryProgress* progress) {
    const qint64 pages = total / family.pageSize + (total % family.pageSize > 0 ? 1 : 0);
    progress->setPages(pages);
    const int threads = qMax(1, QThread::idealThreadCount());
    QThreadPool pool;
    pool.setMaxThreadCount(threads);
    const auto blocks = pageBlocks(pages, threads);
    std::vector<QVariantMap> firstRows(static_cast<size_t>(blocks.size()));
    size_t block = 0;
    PoolTasks tasks(pool);
    for (const auto& [first, last] : blocks) {
        qCInfo(lcHistory).noquote() << family.msgType << loggedDate(startDate)
                                    << loggedDate(endDate) << first << last << " thread started";
        auto* const task = new histEntrustDealQueryThread(
            presenter, tradingAccount, dateNumber(startDate), dateNumber(endDate), family.msgType,
            first, last, family.pageSize, *this);
        task->expectedTotal = total;
        task->progress = progress;
        task->firstRow = &firstRows[block++];
        tasks.start(task);
    }
    tasks.waitForDone();
    warnOfEqualBlocks(family.function, subjectOf(tradingAccount, startDate, endDate), blocks,
                      firstRows);
    qCInfo(lcHistory).noquote().nospace() << family.function << " thread pool ended";
}

void HistoryLists::AssembleHistoryEntrustDealList(const QString& msgType,
                                                  QList<QVariantMap> detailList) {
    if (msgType == Velmar_MsgType::queryHistoryExchangeOrderRequest) {
        const std::vector<HistoryRow> rows = entrustRowsOf(std::move(detailList), m_symbols);
        const auto tables = m_entrustLock.lock();
        enterInto(tables->m_entrustCache, rows);
    } else if (msgType == Velmar_MsgType::queryHistoryExecutionRequest) {
        const std::vector<HistoryRow> rows = dealRowsOf(std::move(detailList), m_symbols);
        const auto tables = m_dealLock.lock();
        enterInto(tables->m_dealCache, rows);
    }
}

#include "history_records.h"

#include "date_runs.h"
#include "list_numbers.h"
#include "page_walk.h"
#include "query_log.h"
#include "query_progress.h"
#include "vocabulary/fields.h"
#include "vocabulary/velmar_msg_type.h"
#include "zndatabase/c_data_base.h"

namespace {

constexpr int kStandingTimeOut = 0;
constexpr int kLongTimeOutSeconds = 30;
constexpr int kRecordPageSize = 1000;
inline const QString kYes = QStringLiteral("1");

using End = PageWalk::End;

/// What differs between orders and deals.
struct Family {
    const QString& msgType;
    bool includesDischarge;
    // One page by a caller's filter.
    const char* recordListTag;
    bool addsPageNo;
    // All rows of accounts.
    const char* recordsTag;
    bool recordsHaveLimitLine;
    QString timeOutError;
    QString failureError;
    // The rows of a filter up to a number.
    const char* maxTag;
    int maxPageSize;
    int maxTimeOutSeconds;
    bool cutsLastPage;
};

const Family& deals() {
    static const Family family{Velmar_MsgType::queryHistoryExecutionRequest,
                               true,
                               "ZnBusinessDataManager::GetHistoryDealRecordList",
                               false,
                               "ZnBusinessDataManager::queryHistoryDealRecordList",
                               false,
                               QStringLiteral("历史成交查询超时5次"),
                               QStringLiteral("历史成交查询失败5次，失败原因：%1"),
                               "ZnBusinessDataManager::queryHistoryMaxDealRecordList",
                               2000,
                               kStandingTimeOut,
                               false};
    return family;
}

const Family& entrusts() {
    static const Family family{Velmar_MsgType::queryHistoryExchangeOrderRequest,
                               false,
                               "ZnBusinessDataManager::GetHistoryEntrustRecordList",
                               true,
                               "ZnBusinessDataManager::queryHistoryEntrustRecordList",
                               true,
                               QStringLiteral("历史委托查询超时5次，停止查询！"),
                               QStringLiteral("历史委托查询失败5次，失败原因：%1"),
                               "ZnBusinessDataManager::queryHistoryMaxEntrustRecordList",
                               1000,
                               kLongTimeOutSeconds,
                               true};
    return family;
}

QVariantMap withDates(QVariantMap fields, const QDate& startDate, const QDate& endDate) {
    fields.insert(System::startDate, dateNumber(startDate));
    fields.insert(System::endDate, dateNumber(endDate));
    return fields;
}

QString subjectOf(const QString& tradingAccount, const QDate& startDate, const QDate& endDate) {
    return loggedSubject(tradingAccount, loggedDate(startDate), loggedDate(endDate));
}

qint64 pagesOf(qint64 rows, int pageSize) {
    return rows / pageSize + (rows % pageSize > 0 ? 1 : 0);
}

bool isAllowed(const char* function, const QDate& startDate, const QDate& endDate) {
    return areDatesValid(function, startDate, endDate) &&
           isRangeAllowed(function, startDate, endDate);
}

/// The rows of all pages; after a failure none, and `error` says why. Progress is that of
/// `function`.
QList<QVariantMap> queryRecords(const Family& family, const char* function,
                                ZnPresenterClass* presenter, const QString& tradingAccount,
                                const QDate& startDate, const QDate& endDate, QString& error) {
    error.clear();
    if (!areDatesValid(family.recordsTag, startDate, endDate)) {
        error = QStringLiteral("a date of the range is invalid");
        return {};
    }
    if (!isRangeAllowed(family.recordsTag, startDate, endDate)) {
        error = QStringLiteral("the range of days is too long");
        return {};
    }
    WalkRule rule;
    rule.onFailure = WalkStep::Again;
    rule.onRefusal = WalkStep::Again;
    rule.countsPerPage = true;
    rule.timeOutSeconds = kLongTimeOutSeconds;
    QVariantMap fields{{UserAccount::tradingAccount, tradingAccount},
                       {AppraisementCalculate::IsIncludeCancel, kYes}};
    if (family.includesDischarge) {
        fields.insert(AppraisementCalculate::IsIncludeDischarge, kYes);
    }
    PageWalk walk(rule, {family.msgType, withDates(fields, startDate, endDate)}, kRecordPageSize);
    QueryLog log(family.recordsTag, subjectOf(tradingAccount, startDate, endDate),
                 QueryLog::TimeOutLine::Own, family.recordsHaveLimitLine);
    QueryProgress progress(presenter, QString::fromLatin1(function));
    progress.beginPart(tradingAccount, startDate, endDate);
    QList<QVariantMap> rows;
    const End end = walk.run(presenter, log, [&](qint64, const ServerReply& answer) {
        rows += answer.rows;
        progress.setPages(pagesOf(listTotalOf(answer.header).rows, kRecordPageSize));
        progress.pageDone();
        return true;
    });
    if (end == End::Complete) {
        return rows;
    }
    if (!presenter || end == End::Stuck) {
        error = walk.reason;
    } else if (end == End::Closing) {
        error = QStringLiteral("the query was broken off: its presenter is closing");
    } else {
        error = end == End::TimedOut ? family.timeOutError : family.failureError.arg(walk.reason);
    }
    return {};
}

/// The header of the first answer and the rows, until there are more than `maxNum` elements.
/// Progress is that of `function`.
QList<QVariantMap> queryUpTo(const Family& family, const char* function,
                             ZnPresenterClass* presenter, QVariantMap& params,
                             const QDate& startDate, const QDate& endDate, qint64 maxNum) {
    params.remove(System::pageNo);
    params.remove(System::pageSize);
    if (!isAllowed(family.maxTag, startDate, endDate)) {
        return {};
    }
    WalkRule rule;
    rule.timeOutSeconds = family.maxTimeOutSeconds;
    PageWalk walk(rule, {family.msgType, withDates(params, startDate, endDate)},
                  family.maxPageSize);
    const QString account = params.value(UserAccount::tradingAccount).toString();
    QueryLog log(family.maxTag, subjectOf(account, startDate, endDate));
    QueryProgress progress(presenter, QString::fromLatin1(function));
    progress.beginPart(account, startDate, endDate);
    QList<QVariantMap> list;
    walk.run(presenter, log, [&](qint64 pageNo, const ServerReply& answer) {
        const qint64 total = listTotalOf(answer.header).rows;
        progress.setPages(pagesOf(qMin(total, maxNum), family.maxPageSize));
        progress.pageDone();
        if (list.isEmpty()) {
            list.append(answer.header);
        }
        const bool isLast = total <= pageNo * family.maxPageSize;
        for (const QVariantMap& row : answer.rows) {
            list.append(row);
            if ((!isLast || family.cutsLastPage) && list.size() > maxNum) {
                return false;
            }
        }
        return true;
    });
    return list;
}

/// The configured number of rows that means "all".
qint64 configuredMaxNum() {
    return CDataBase::GetInstance()
        ->GetStaticCfgValue(QStringLiteral("ProductReports"), QStringLiteral("MaxNum"))
        .toLongLong();
}

/// One page by the caller's filter, with the answer's header as element 0.
QList<QVariantMap> queryPage(const Family& family, ZnPresenterClass* presenter,
                             const QVariantMap& params, const QDate& startDate,
                             const QDate& endDate) {
    if (!isAllowed(family.recordListTag, startDate, endDate)) {
        return {};
    }
    WalkRule rule;
    rule.end = ListEnd::AfterLastPage;
    rule.field = PageField::None;
    QVariantMap fields = withDates(params, startDate, endDate);
    if (family.addsPageNo) {
        fields.insert(System::pageNo, params.value(System::pageNo).toLongLong());
    }
    PageWalk walk(rule, {family.msgType, fields}, 0);
    QueryLog log(
        family.recordListTag,
        subjectOf(params.value(UserAccount::tradingAccount).toString(), startDate, endDate),
        QueryLog::TimeOutLine::AtLimit);
    QList<QVariantMap> list;
    walk.run(presenter, log, [&list](qint64, const ServerReply& answer) {
        list.append(answer.header);
        list += answer.rows;
        return true;
    });
    return list;
}

QList<QVariantMap> queryByFilter(const Family& family, const char* function,
                                 ZnPresenterClass* presenter, QVariantMap& params,
                                 const QDate& startDate, const QDate& endDate) {
    params.insert(AppraisementCalculate::IsIncludeCancel, kYes);
    if (family.includesDischarge) {
        params.insert(AppraisementCalculate::IsIncludeDischarge, kYes);
    }
    if (params.value(System::pageSize).toLongLong() != configuredMaxNum()) {
        return queryPage(family, presenter, params, startDate, endDate);
    }
    return queryUpTo(family, function, presenter, params, startDate, endDate, configuredMaxNum());
}

}  // namespace

QList<QVariantMap> HistoryRecords::GetHistoryEntrustRecordList(ZnPresenterClass* presenter,
                                                               QVariantMap& params,
                                                               const QDate& startDate,
                                                               const QDate& endDate) const {
    return queryByFilter(entrusts(), "GetHistoryEntrustRecordList", presenter, params, startDate,
                         endDate);
}

QList<QVariantMap> HistoryRecords::GetHistoryDealRecordList(ZnPresenterClass* presenter,
                                                            QVariantMap& params,
                                                            const QDate& startDate,
                                                            const QDate& endDate) const {
    return queryByFilter(deals(), "GetHistoryDealRecordList", presenter, params, startDate,
                         endDate);
}

QList<QVariantMap> HistoryRecords::GetHistoryDealGatherRecordList(ZnPresenterClass* presenter,
                                                                  QVariantMap& params,
                                                                  const QDate& startDate,
                                                                  const QDate& endDate,
                                                                  const int& maxNum) const {
    return queryUpTo(deals(), "GetHistoryDealGatherRecordList", presenter, params, startDate,
                     endDate, maxNum);
}

QList<QVariantMap> HistoryRecords::GetHistoryEntrustExportList(ZnPresenterClass* presenter,
                                                               const QStringList& accounts,
                                                               const QDate& startDate,
                                                               const QDate& endDate,
                                                               QString& error) const {
    return queryRecords(entrusts(), "GetHistoryEntrustExportList", presenter,
                        accounts.join(QLatin1Char(',')), startDate, endDate, error);
}

QList<QVariantMap> HistoryRecords::GetHistoryDealExportList(ZnPresenterClass* presenter,
                                                            const QStringList& accounts,
                                                            const QDate& startDate,
                                                            const QDate& endDate,
                                                            QString& error) const {
    return queryRecords(deals(), "GetHistoryDealExportList", presenter,
                        accounts.join(QLatin1Char(',')), startDate, endDate, error);
}

QList<QVariantMap> HistoryRecords::queryHistoryDealRecordList(ZnPresenterClass* presenter,
                                                              const QString& tradingAccount,
                                                              const QDate& startDate,
                                                              const QDate& endDate,
                                                              QString& error) const {
    return queryRecords(deals(), "queryHistoryDealRecordList", presenter, tradingAccount, startDate,
                        endDate, error);
}

QList<QVariantMap> HistoryRecords::queryHistoryEntrustRecordList(ZnPresenterClass* presenter,
                                                                 const QString& tradingAccount,
                                                                 const QDate& startDate,
                                                                 const QDate& endDate,
                                                                 QString& error) const {
    return queryRecords(entrusts(), "queryHistoryEntrustRecordList", presenter, tradingAccount,
                        startDate, endDate, error);
}

QList<QVariantMap> HistoryRecords::queryHistoryMaxDealRecordList(ZnPresenterClass* presenter,
                                                                 QVariantMap& params,
                                                                 const QDate& startDate,
                                                                 const QDate& endDate,
                                                                 const int& maxNum) const {
    return queryUpTo(deals(), "queryHistoryMaxDealRecordList", presenter, params, startDate,
                     endDate, maxNum);
}

QList<QVariantMap> HistoryRecords::queryHistoryMaxEntrustRecordList(ZnPresenterClass* presenter,
                                                                    QVariantMap& params,
                                                                    const QDate& startDate,
                                                                    const QDate& endDate,
                                                                    const int& maxNum) const {
    return queryUpTo(entrusts(), "queryHistoryMaxEntrustRecordList", presenter, params, startDate,
                     endDate, maxNum);
}

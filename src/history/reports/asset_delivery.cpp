#include "asset_delivery.h"

#include <QElapsedTimer>
#include <QRunnable>
#include <QSemaphore>
#include <QThreadPool>
#include <QTime>

#include "date_runs.h"
#include "log.h"
#include "multi_thread_query_helper.h"
#include "pool_tasks.h"
#include "symbol_data_reader.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znwidget/zn_presenter_class.h"

namespace {

constexpr int kChunkDays = 30;
constexpr int kPageRows = 1000;
// Of many accounts and years there are millions of chunks, which must not all wait in the pool.
constexpr int kMostWaiting = 256;
const char* const kFunction = "ZnBusinessDataManager::GetHistoryAssetDeliveryReports";

QString dayText(const QDate& day) {
    return day.toString(DateTimeFormatString::TRANS_DATE_FROMAT);
}

QDate dayOf(const QVariantMap& fields, const QString& field) {
    return QDate::fromString(fields.value(field).toString(),
                             DateTimeFormatString::TRANS_DATE_FROMAT);
}

QTime timeOf(const QVariantMap& fields, const QString& field) {
    return QTime::fromString(fields.value(field).toString(),
                             DateTimeFormatString::TRANS_TIME_FORMAT);
}

bool isClosing(const ZnPresenterClass* presenter) {
    return presenter && presenter->isClosing();
}

QVariantMap requestFor(const QString& account, const QPair<QDate, QDate>& chunk) {
    return {{UserAccount::tradingAccount, account},
            {System::positionStr, QString()},
            {System::requestNumber, kPageRows},
            {System::msgType, Velmar_MsgType::queryHistoryAssetDeliveryRequest},
            {System::startDate, dayText(chunk.first)},
            {System::endDate, dayText(chunk.second)}};
}

QStringList withoutRepetitions(const QStringList& accounts) {
    QStringList distinct = accounts;
    distinct.removeDuplicates();
    return distinct;
}

/// Calls `act` for the days from the first to the last in a table by day.
template <class Act>
void forEachDay(const QMap<QDate, QList<QVariantMap>>& days, const QDate& first, const QDate& last,
                Act act) {
    for (auto day = days.lowerBound(first); day != days.cend() && day.key() <= last; ++day) {
        act(day);
    }
}

/// A task of the call, which frees its place for another one at its end.
class ChunkTask : public QRunnable {
public:
    ChunkTask(ZnPresenterClass* presenter, const QVariantMap& request, AssetDeliverySink& target,
              QSemaphore& places)
        : m_query(presenter, Velmar_MsgType::queryHistoryAssetDeliveryRequest, request,
                  QStringLiteral("queryHistoryAssetDeliveryRequest"), target),
          m_places(places) {}

    void run() override {
        m_query.run();
        m_places.release();
    }

private:
    MultiThreadQueryHelper m_query;
    QSemaphore& m_places;
};

}  // namespace

/// The tasks of one call on their pool, of which only some wait at a time.
class AssetDelivery::ChunkTasks {
public:
    explicit ChunkTasks(AssetDelivery& target) : m_target(target), m_tasks(m_pool) {}

    /// Starts the task, and blocks while too many wait.
    void start(ZnPresenterClass* presenter, const QVariantMap& request) {
        m_places.acquire();
        m_tasks.start(new ChunkTask(presenter, request, m_target, m_places));
    }

private:
    AssetDelivery& m_target;
    QSemaphore m_places{kMostWaiting};
    QThreadPool m_pool;
    PoolTasks m_tasks;  // waits for the tasks at its end
};

QList<QPair<QDate, QDate>> deliveryChunks(const QDate& firstDay, const QDate& lastDay) {
    QList<QPair<QDate, QDate>> chunks;
    if (!firstDay.isValid() || !lastDay.isValid() || firstDay > lastDay) {
        return chunks;
    }
    QDate first = firstDay;
    while (first.daysTo(lastDay) > kChunkDays) {
        chunks.append({first, first.addDays(kChunkDays - 1)});
        first = first.addDays(kChunkDays);
    }
    chunks.append({first, lastDay});
    return chunks;
}

AssetDelivery::Runs AssetDelivery::missingRuns(const QString& account, const QDate& startDate,
                                               const QDate& endDate) {
    const auto tables = m_assetDeliveryLock.lock();
    return tables->fetchedDays.value(account).missingIn(startDate, endDate);
}

void AssetDelivery::startTasks(ZnPresenterClass* presenter, const Requested& requested,
                               ChunkTasks* tasks) {
    for (const QPair<QDate, QDate>& run : requested.runs) {
        for (const QPair<QDate, QDate>& chunk : deliveryChunks(run.first, run.second)) {
            if (isClosing(presenter)) {
                return;
            }
            tasks->start(presenter, requestFor(requested.account, chunk));
        }
    }
}

/// One line for a call, since a server that is down would otherwise cause one for each task.
void AssetDelivery::warnOfHoles(const QList<Requested>& requested) {
    int count = 0;
    QString first;
    for (const Requested& one : requested) {
        for (const QPair<QDate, QDate>& run : one.runs) {
            const Runs missing = missingRuns(one.account, run.first, run.second);
            if (count == 0 && !missing.isEmpty()) {
                first = QStringLiteral("account %1, %2 to %3")
                            .arg(one.account, missing.first().first.toString(Qt::ISODate),
                                 missing.first().second.toString(Qt::ISODate));
            }
            count += missing.size();
        }
    }
    if (count > 0) {
        qCWarning(lcHistory).noquote()
            << QStringLiteral(
                   "the delivery report lacks %1, the first: %2; the next query requests "
                   "them again")
                   .arg(count == 1 ? QStringLiteral("a run of days")
                                   : QStringLiteral("%1 runs of days").arg(count),
                        first);
    }
}

int AssetDelivery::GetHistoryAssetDeliveryReports(ZnPresenterClass* presenter,
                                                  const QStringList& accounts,
                                                  const QDate& startDate, const QDate& endDate,
                                                  QList<QVariantMap>& reports) {
    if (!isRangeAllowed(kFunction, startDate, endDate)) {
        return 0;
    }
    QElapsedTimer timer;
    timer.start();
    const QStringList distinct = withoutRepetitions(accounts);
    QList<Requested> requested;
    {
        ChunkTasks tasks(*this);
        for (const QString& account : distinct) {
            const Requested one{account, missingRuns(account, startDate, endDate)};
            if (!one.runs.isEmpty()) {
                startTasks(presenter, one, &tasks);
                requested.append(one);
            }
        }
    }
    if (!isClosing(presenter)) {
        warnOfHoles(requested);
    }
    if (startDate.isValid() && endDate.isValid()) {
        const auto tables = m_assetDeliveryLock.lock();
        for (const QString& account : distinct) {
            const auto days = tables->m_assetDeliveryCache.constFind(account);
            if (days != tables->m_assetDeliveryCache.cend()) {
                forEachDay(*days, startDate, endDate,
                           [&](const auto& day) { reports.append(day.value()); });
            }
        }
    }
    qCDebug(lcHistory) << "##" << kFunction << "iRet" << 0 << "tradingAccountList " << accounts
                       << ", return list size:" << reports.size() << " took " << timer.elapsed()
                       << "ms";
    return 0;
}

QMap<QDate, QList<QVariantMap>> AssetDelivery::rowsByDay(const QString& account,
                                                         const QList<QVariantMap>& rows) const {
    QMap<QDate, QList<QVariantMap>> days;
    for (QVariantMap row : rows) {
        const QDate tradeDate = dayOf(row, UserAccount::tradeDate);
        const QString symbol =
            m_symbols.symbolOf(row.value(Security::securityID).toString(),
                               row.value(UserAccount::securityExchange).toString());
        row.insert(UserAccount::tradingAccount, account);
        row.insert(UserAccount::tradeDate, tradeDate);
        row.insert(System::businessDate, dayOf(row, System::businessDate));
        row.insert(AssetDeliver::BusinessTime, timeOf(row, AssetDeliver::BusinessTime));
        row.insert(Security::symbol, symbol);
        days[tradeDate].append(row);
    }
    return days;
}

void AssetDelivery::QueryAssetDileveryResponse(const QString& msgType, const QVariantMap& request,
                                               const QString& reqExeStatus,
                                               const QList<QVariantMap>& response) {
    if (msgType != Velmar_MsgType::queryHistoryAssetDeliveryRequest) {
        return;
    }
    if (reqExeStatus != RequestExeStatus::success) {
        qCDebug(lcHistory).noquote()
            << (reqExeStatus == RequestExeStatus::timeout ? QStringLiteral("查询交割报表超时！")
                                                          : QStringLiteral("查询交割报表失败！"));
        return;
    }
    const QString account = request.value(UserAccount::tradingAccount).toString();
    const QDate first = dayOf(request, System::startDate);
    const QDate last = dayOf(request, System::endDate);
    const QMap<QDate, QList<QVariantMap>> days = rowsByDay(account, response);
    qCDebug(lcHistory).noquote() << QStringLiteral("本次查询获取到%1条记录").arg(response.size());
    if (!first.isValid() || !last.isValid()) {
        qCWarning(lcHistory) << "delivery rows of" << account << "without valid dates are dropped";
        return;
    }
    int taken = 0;
    {
        const auto tables = m_assetDeliveryLock.lock();
        auto& held = tables->m_assetDeliveryCache[account];
        QList<QDate> before;
        forEachDay(held, first, last, [&](const auto& day) { before.append(day.key()); });
        for (const QDate& day : before) {
            held.remove(day);
        }
        forEachDay(days, first, last, [&](const auto& day) {
            held.insert(day.key(), day.value());
            taken += day.value().size();
        });
        tables->fetchedDays[account].add(first, last);
    }
    if (taken < response.size()) {
        qCWarning(lcHistory) << "delivery rows of" << account << ":" << response.size() - taken
                             << "have a date that does not parse or was not requested";
    }
}

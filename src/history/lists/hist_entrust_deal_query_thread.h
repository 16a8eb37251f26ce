#pragma once

#include <QRunnable>
#include <QString>
#include <QVariantMap>

class HistoryMerge;
class QueryProgress;
class ZnPresenterClass;

/// Fetches a block of pages of an account's orders or deals and merges them at its end, all
/// together. A page that the server refuses is lost; after a time-out or a failed send it requests
/// the same page again, without a limit, until the presenter is closing; a block that is ended so
/// merges nothing, nor does one whose pages get it nowhere (see PageWalk). The pool deletes it
/// after run().
class histEntrustDealQueryThread : public QRunnable {
public:
    /// Dates as yyyyMMdd numbers; pages from 1 on, both ends included. Without a presenter run()
    /// returns at once.
    histEntrustDealQueryThread(ZnPresenterClass* presenter, const QString& account, int start,
                               int end, const QString& type, qint64 firstPage, qint64 lastPage,
                               int sizeOfPage, HistoryMerge& target)
        : prtClass(presenter),
          tradingAccount(account),
          startDate(start),
          endDate(end),
          msgType(type),
          startPage(firstPage),
          endPage(lastPage),
          pageSize(sizeOfPage),
          m_target(target) {}

    void run() override;
    ~histEntrustDealQueryThread() override = default;

    qint64 expectedTotal = 0;           ///< the rows of the whole list, 0 when unknown
    QueryProgress* progress = nullptr;  ///< receives each page; must outlive the task
    QVariantMap* firstRow = nullptr;    ///< receives the first row; must outlive the task

private:
    ZnPresenterClass* const prtClass;
    const QString tradingAccount;
    const int startDate;
    const int endDate;
    const QString msgType;
    const qint64 startPage;
    const qint64 endPage;
    const int pageSize;
    HistoryMerge& m_target;
};

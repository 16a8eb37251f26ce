#pragma once

#include <QDate>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

class ZnPresenterClass;

/// Past orders and deals as the server lists them, by a filter of the caller or for the export of
/// whole accounts: the server's own rows, quantities in pieces, prices in the currency of the
/// symbol, dates as yyyyMMdd. Keeps nothing. A range beyond 100 years or with an invalid date is
/// refused with a warning; one whose first day is after its last one is requested as it is. Any
/// thread; blocks for its requests.
class HistoryRecords {
public:
    /// One page by the caller's filter, which contains System::pageNo and System::pageSize; with
    /// the configured largest page size all rows up to that number. Element 0 is the answer's
    /// header with System::totalSize. After a failure empty, or, for the largest size, the rows so
    /// far. Adds the flag to `params` that includes cancelled rows, and for the largest size
    /// removes the page fields from it.
    QList<QVariantMap> GetHistoryEntrustRecordList(ZnPresenterClass* presenter, QVariantMap& params,
                                                   const QDate& startDate,
                                                   const QDate& endDate) const;
    /// The same for deals, which also get the flag that includes discharged rows.
    QList<QVariantMap> GetHistoryDealRecordList(ZnPresenterClass* presenter, QVariantMap& params,
                                                const QDate& startDate, const QDate& endDate) const;
    /// Deals by the caller's filter, until there are more than `maxNum` elements, the header row
    /// among them; only the last page of the list is complete all the same. The rows so far after a
    /// failure. Removes the page fields from `params`.
    QList<QVariantMap> GetHistoryDealGatherRecordList(ZnPresenterClass* presenter,
                                                      QVariantMap& params, const QDate& startDate,
                                                      const QDate& endDate,
                                                      const int& maxNum) const;
    /// All rows of all accounts, or an empty list with `error` set, which is cleared first.
    QList<QVariantMap> GetHistoryEntrustExportList(ZnPresenterClass* presenter,
                                                   const QStringList& accounts,
                                                   const QDate& startDate, const QDate& endDate,
                                                   QString& error) const;
    /// The same for deals.
    QList<QVariantMap> GetHistoryDealExportList(ZnPresenterClass* presenter,
                                                const QStringList& accounts, const QDate& startDate,
                                                const QDate& endDate, QString& error) const;

    /// All rows of `tradingAccount`, which may be several accounts joined with ","; or an empty
    /// list with `error` set, which is cleared first.
    QList<QVariantMap> queryHistoryDealRecordList(ZnPresenterClass* presenter,
                                                  const QString& tradingAccount,
                                                  const QDate& startDate, const QDate& endDate,
                                                  QString& error) const;
    QList<QVariantMap> queryHistoryEntrustRecordList(ZnPresenterClass* presenter,
                                                     const QString& tradingAccount,
                                                     const QDate& startDate, const QDate& endDate,
                                                     QString& error) const;
    /// Rows by the filter `params`, from which it removes the page fields, until there are more
    /// than `maxNum` elements; element 0 is the first answer's header. The rows so far after a
    /// failure. Of deals the last page of the list is complete all the same.
    QList<QVariantMap> queryHistoryMaxDealRecordList(ZnPresenterClass* presenter,
                                                     QVariantMap& params, const QDate& startDate,
                                                     const QDate& endDate, const int& maxNum) const;
    QList<QVariantMap> queryHistoryMaxEntrustRecordList(ZnPresenterClass* presenter,
                                                        QVariantMap& params, const QDate& startDate,
                                                        const QDate& endDate,
                                                        const int& maxNum) const;
};

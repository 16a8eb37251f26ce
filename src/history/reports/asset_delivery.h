#pragma once

#include <QDate>
#include <QList>
#include <QMap>
#include <QMutex>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "asset_delivery_sink.h"
#include "date_runs.h"
#include "guarded.h"

class SymbolDataReader;
class ZnPresenterClass;

/// The requests for a run of days: 30 days each, as long as more than 31 are left. Empty when a
/// date is invalid or the run is in reverse order.
QList<QPair<QDate, QDate>> deliveryChunks(const QDate& firstDay, const QDate& lastDay);

/// The asset delivery report by account and day. A day that was fetched is held for good, also one
/// without rows. What is missing is fetched in chunks of up to 31 days by tasks on a pool of the
/// call, of which at most some hundreds wait at a time. Any thread; blocks for the requests and
/// holds no lock meanwhile. Lock: m_assetDeliveryLock.
class AssetDelivery : public AssetDeliverySink {
public:
    explicit AssetDelivery(const SymbolDataReader& symbols) : m_symbols(symbols) {}

    /// Appends the rows of the accounts, in their order, by day, to `reports`; an account named
    /// twice counts once. Days whose request did not succeed are missing, and the next call
    /// requests them again; a warning contains the first of them, unless the presenter is closing.
    /// A range beyond 100 years is refused with a warning. Always 0.
    int GetHistoryAssetDeliveryReports(ZnPresenterClass* presenter, const QStringList& accounts,
                                       const QDate& startDate, const QDate& endDate,
                                       QList<QVariantMap>& reports);
    void QueryAssetDileveryResponse(const QString& msgType, const QVariantMap& request,
                                    const QString& reqExeStatus,
                                    const QList<QVariantMap>& response) override;

private:
    class ChunkTasks;
    using Runs = QList<QPair<QDate, QDate>>;
    struct Tables {
        /// By trading account and trade date; days without rows have no entry.
        QMap<QString, QMap<QDate, QList<QVariantMap>>> m_assetDeliveryCache;
        QMap<QString, HeldDays> fetchedDays;  ///< by trading account, with and without rows
    };
    /// The runs of days of an account for which there was a request.
    struct Requested {
        QString account;
        Runs runs;
    };

    Runs missingRuns(const QString& account, const QDate& startDate, const QDate& endDate);
    void startTasks(ZnPresenterClass* presenter, const Requested& requested, ChunkTasks* tasks);
    void warnOfHoles(const QList<Requested>& requested);
    QMap<QDate, QList<QVariantMap>> rowsByDay(const QString& account,
                                              const QList<QVariantMap>& rows) const;

    const SymbolDataReader& m_symbols;
    Guarded<Tables, QMutex> m_assetDeliveryLock{"m_assetDeliveryLock", LockRank::Leaf};
};

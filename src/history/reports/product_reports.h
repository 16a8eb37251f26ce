#pragma once

#include <QDate>
#include <QList>
#include <QMap>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "guarded.h"

class ZnPresenterClass;

/// Reports of products for a day: appraisement, its profit figures, and the panfen equity flow. A
/// product and day with rows is held and not requested again. A product named twice counts once.
/// Any thread; blocks for its requests, one product after the other, and holds no lock meanwhile.
/// After a refusal the next product is requested. After any other failure, or the fifth time-out of
/// the call, the result contains what came before it; the first pages of a product whose later page
/// failed are held like whole ones.
/// Locks: m_appraisementLock, m_appraisementProfitLock, m_panfenFlowLock.
class ProductReports {
public:
    /// The rows of all products for `date`. Everything held is dropped first when `currentDate`
    /// equals `date`.
    QList<QVariantMap> GetHistoryAppraisementInfo(ZnPresenterClass* presenter,
                                                  const QStringList& accounts, const QDate& date,
                                                  const QDate& currentDate);
    /// The same for the profit figures.
    QList<QVariantMap> GetHistoryAppraisementProfitInfo(ZnPresenterClass* presenter,
                                                        const QStringList& accounts,
                                                        const QDate& date,
                                                        const QDate& currentDate);
    /// The equity flow; one request for each product.
    QList<QVariantMap> GetHistoryPanfenFlowInfo(ZnPresenterClass* presenter,
                                                const QStringList& accounts, const QDate& date);

private:
    /// Rows by product account and day; the day as "yyyy-MM-dd", for the panfen flow as "yyyyMMdd".
    using Cache = QMap<QString, QMap<QString, QList<QVariantMap>>>;
    struct AppraisementTables {
        Cache m_appraisementCache;
    };
    struct ProfitTables {
        Cache m_appraisementProfitCache;
    };
    struct PanfenTables {
        Cache m_panfenFlowCache;
    };

    Guarded<AppraisementTables, QMutex> m_appraisementLock{"m_appraisementLock", LockRank::Leaf};
    Guarded<ProfitTables> m_appraisementProfitLock{"m_appraisementProfitLock", LockRank::Leaf};
    Guarded<PanfenTables> m_panfenFlowLock{"m_panfenFlowLock", LockRank::Leaf};
};

#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "guarded.h"

class ZnPresenterClass;

/// The traders of the user's organisation, loaded once per process at the first call, and the
/// traders bound to an account, queried on each call. Operations may be called from any thread and
/// block for their requests. A load that failed is not repeated, not even with another presenter,
/// until the process ends; a load that a closing presenter interrupted counts as failed. Locks:
/// m_traderLock, not held during requests.
class TraderTable {
public:
    /// The user ids of the traders who may trade on an account, each once, in the server's order.
    /// `accountType` is AccountType's ProductAccount, TradingAccount or InvestAccount. Returns an
    /// empty list and logs a line for another type and when the request failed.
    QStringList GetBindTraderListByAccount(ZnPresenterClass* prtClass, const QString& account,
                                           const QString& accountType) const;
    /// User id to name. Empty until the load has succeeded.
    QMap<QString, QString> GetOrganTraderList(ZnPresenterClass* prtClass);
    /// The rows of all traders, or only those of `userType` when it is not empty, sorted by user
    /// id. While another thread is loading, it returns what the table contains so far.
    QList<QVariantMap> GetTraderInfoList(ZnPresenterClass* prtClass, const QString& userType);

private:
    struct TraderTables {
        QMap<QString, QVariantMap> m_traderInfoMap;  ///< user id to trader row
    };

    void loadTraders(ZnPresenterClass* prtClass);

    Guarded<TraderTables> m_traderLock{"m_traderLock", LockRank::Leaf};
};

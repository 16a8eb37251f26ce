#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "guarded.h"

class ZnPresenterClass;

/// The traders of the user's organisation, loaded once per process at the first question, and the
/// traders that an account is bound to, asked each time. Operations may be called from any thread
/// and block for their requests. A load that failed stays failed, for every presenter and until the
/// process ends, and one that a closing presenter cut short has failed like any other. Locks:
/// m_traderLock, held for no request.
class TraderTable {
public:
    /// The user ids of the traders who may trade on an account, each once, in the server's order.
    /// `accountType` is AccountType's ProductAccount, TradingAccount or InvestAccount. Empty, with
    /// a log line, for another type and when the request failed.
    QStringList GetBindTraderListByAccount(ZnPresenterClass* prtClass, const QString& account,
                                           const QString& accountType) const;
    /// User id to name. Empty while the load has not come to a good end.
    QMap<QString, QString> GetOrganTraderList(ZnPresenterClass* prtClass);
    /// The rows of all traders, or of those of one UserAccount::userType when that is not empty, in
    /// the order of their ids. A call while another one loads answers from the table as it is.
    QList<QVariantMap> GetTraderInfoList(ZnPresenterClass* prtClass, const QString& userType);

private:
    struct TraderTables {
        QMap<QString, QVariantMap> m_traderInfoMap;  ///< user id to trader row
    };

    void loadTraders(ZnPresenterClass* prtClass);

    Guarded<TraderTables> m_traderLock{"m_traderLock", LockRank::Leaf};
};

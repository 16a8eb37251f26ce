#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "platform_export.h"

class ZnPresenterClass;

/// The neighbouring data plug-in: positions and executions of the day. Any thread; memory only,
/// where nothing else is said. Empty as long as the client has no such plug-in.
class PLATFORM_API BusinessDataInterface {
public:
    /// Executions of the day that match every field of `account` (UserAccount::tradingAccount), in
    /// the order in which they were made, from position `start` on; `count` at most, all when it is
    /// negative. `total` gets the number of all that match. The two lists are passed empty.
    /// Quantities are in pieces, amounts in the currency of the symbol.
    static QList<QVariantMap> GetExecutionListByAccount(const QVariantMap& account, int& total,
                                                        int start, int count, const QStringList&,
                                                        const QStringList&);
    /// Positions that match every field of `account`, one row per account, symbol and exchange. The
    /// six texts are passed empty. Security::nominalQty is in display units (pieces divided by the
    /// display factor; docs/value.md has the rule for gold), Security::omsAverageCost in the unit
    /// of the price.
    static QList<QVariantMap> GetPositionListByAccount(const QVariantMap& account, const QString&,
                                                       const QString&, const QString&,
                                                       const QString&, const QString&,
                                                       const QString&);
    /// Requests the funds of all accounts again. Without effect for a null presenter. Blocks: the
    /// local client reads its market's file.
    static void RequeryAccountFundInfo(ZnPresenterClass* presenter);
};

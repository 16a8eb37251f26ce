#pragma once

#include <QString>

#include "platform_export.h"

/// Counts of the neighbouring data plug-in, of one trading account or, for an empty text, of all of
/// them. Any thread; memory only. 0 as long as the client has no such plug-in.
class PLATFORM_API BaseBusinessDataInterface {
public:
    static int GetPositionCountByTradingAccount(const QString& tradingAccount);
    static int GetExecutionCountByTradingAccount(const QString& tradingAccount);
    static int GetOrdersCountByTradingAccount(const QString& tradingAccount);
};

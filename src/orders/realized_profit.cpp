#include "realized_profit.h"

double RealizedProfit::GetRealizedProfitByAccount(const QString&) const {
    return 0;
}

double RealizedProfit::GetRealizedProfitByAccountAndSymbol(const QString&, const QString&,
                                                           const QString&) const {
    return 0;
}

RealizedProfit::ProfitBySymbol RealizedProfit::GetRealizedProfitMapByAccount(const QString&) const {
    return {};
}

QMap<QString, RealizedProfit::ProfitBySymbol> RealizedProfit::GetAllRealizedProfitMap() const {
    return {};
}

#pragma once

#include <QMap>
#include <QMutex>
#include <QString>

#include "guarded.h"

/// What one trading account did in one symbol through one security account.
struct RealizedProfitItem {
    double buyAmount = 0;
    double buyQty = 0;
    double sellAmount = 0;
    double sellQty = 0;
    double commission = 0;
};

/// Realized profit by trading account, symbol and security account, computed from deals alone. Any
/// thread. Lock: m_profitLock.
class RealizedProfit {
public:
    using ProfitBySymbol = QMap<QString, QMap<QString, double>>;

    double GetRealizedProfitByAccount(const QString& tradingAccount) const;
    double GetRealizedProfitByAccountAndSymbol(const QString& tradingAccount, const QString& symbol,
                                               const QString& securityAccount) const;
    ProfitBySymbol GetRealizedProfitMapByAccount(const QString& tradingAccount) const;
    QMap<QString, ProfitBySymbol> GetAllRealizedProfitMap() const;

private:
    struct Tables {
        QMap<QString, QMap<QString, QMap<QString, RealizedProfitItem>>> m_realizedProfitMap;
    };

    Guarded<Tables, QMutex> m_profitLock{"m_profitLock", LockRank::Profit};
};

#pragma once

#include <QMap>
#include <QString>

/// What one trading account did in one symbol through one security account. Amounts and commission
/// in the currency of the symbol, quantities in pieces.
struct RealizedProfitItem {
    double buyAmount = 0;
    double buyQty = 0;
    double sellAmount = 0;
    double sellQty = 0;
    double commission = 0;

    RealizedProfitItem& operator+=(const RealizedProfitItem& other) {
        buyAmount += other.buyAmount;
        buyQty += other.buyQty;
        sellAmount += other.sellAmount;
        sellQty += other.sellQty;
        commission += other.commission;
        return *this;
    }
};

/// By trading account, symbol and security account.
using RealizedProfitTable = QMap<QString, QMap<QString, QMap<QString, RealizedProfitItem>>>;

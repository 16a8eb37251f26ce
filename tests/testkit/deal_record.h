#pragma once

#include <QString>
#include <QVariantMap>

#include "vocabulary/fields.h"
#include "vocabulary/values.h"

/// A deal as an execution list and a deal event contain it; a test changes the parts that matter to
/// it. Price in currency per piece, quantity in pieces.
struct TestDeal {
    QString tradingAccount = QStringLiteral("T0001");
    QString symbol = QStringLiteral("600000.SH");
    QString securityAccount = QStringLiteral("A1");
    bool isBuy = true;
    double quantity = 100;
    double price = 10;
    double commission = 0;
    QString execId;

    static TestDeal buy(double quantity, double price, double commission = 0) {
        TestDeal deal;
        deal.quantity = quantity;
        deal.price = price;
        deal.commission = commission;
        return deal;
    }
    static TestDeal sell(double quantity, double price, double commission = 0) {
        TestDeal deal = buy(quantity, price, commission);
        deal.isBuy = false;
        return deal;
    }
    TestDeal of(const QString& account) const {
        TestDeal deal = *this;
        deal.tradingAccount = account;
        return deal;
    }
    TestDeal in(const QString& otherSymbol, const QString& otherSecurityAccount = {}) const {
        TestDeal deal = *this;
        deal.symbol = otherSymbol;
        if (!otherSecurityAccount.isEmpty()) {
            deal.securityAccount = otherSecurityAccount;
        }
        return deal;
    }
    TestDeal withId(const QString& id) const {
        TestDeal deal = *this;
        deal.execId = id;
        return deal;
    }

    QVariantMap record() const {
        QVariantMap fields{
            {UserAccount::tradingAccount, tradingAccount},
            {UserAccount::securityAccount, securityAccount},
            {Security::symbol, symbol},
            {Security::side, isBuy ? OrderSide::buy : QStringLiteral("2")},
            {Security::lastAmount, quantity * price},
            {Security::lastQty, quantity},
            {Margin::executionCommission, commission},
        };
        if (!execId.isEmpty()) {
            fields.insert(Security::execID, execId);
        }
        return fields;
    }
    // NOLINTNEXTLINE(google-explicit-constructor): a list of deals is a list of records
    operator QVariantMap() const { return record(); }
};

#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QVariantMap>
#include <QtGlobal>

#include "custom_odd_lot_type.h"
#include "guarded.h"

class SymbolIdentity;

/// A limit and the conditions that an order record must meet for it; none for an empty filter.
struct QtyRuleEntry {
    QVariantMap filter;
    int qty = 0;
};

/// Step, minimum and maximum of an order's quantity, and how money and quantity turn into each
/// other. The rule tables are written once by initSymbolQtyRules(), before any reader exists, so
/// without a lock. Quantities are in the unit of the symbol (shares, or lots of a contract),
/// prices in its own currency. Any thread. Lock: m_tradeFeeLock; of the platform's locks that of
/// the settings is taken under it.
class QuantityRules {
public:
    using StepMap = QMap<QString, int>;
    using MaxMap = QMap<QString, QList<QtyRuleEntry>>;

    explicit QuantityRules(const SymbolIdentity& identity) : m_identity(identity) {}

    /// Fills the three tables from the static configuration.
    void initSymbolQtyRules();
    /// Takes the fee settings anew.
    void slotTradeFeeSettingChanged();

    /// The step of a quantity: the security's own lot, cut off, else the rule of the sub-type, of
    /// the type, of every symbol; 100 without any.
    int GetQtyStepBySymbol(const QString& symbol) const;
    /// The smallest quantity of one order: of a Hong Kong symbol the step, else the rule in the
    /// same order; 100 without any.
    int GetMinQtyPerOrderBySymbol(const QString& symbol) const;
    /// The largest quantity of one order like `order`, a record whose fields the rules look at;
    /// 1000000 without a rule. Of Hong Kong's sub-types 3000 steps, in 32 bits, at most 99999999.
    int GetMaxQtyPerOrderBySymbol(const QString& symbol, const QVariantMap& order) const;
    /// The smallest quantity that may be sold, by the sub-type alone; 1 unless its board has more.
    int GetMinSoldQtyBySymbol(const QString& symbol) const;
    /// A quantity brought onto the step in the way of `type`; `flag` serves ByFlag alone: down when
    /// set. 0 when it is too small for an order and goes down; `qty` itself for Keep and any
    /// unknown type, and, with a log line, when the step is below 1.
    qint64 GetQtyByOddLotType(const QString& symbol, CustomOddLotType type, qint64 qty,
                              bool flag) const;
    /// How much a sum of money buys at a price, on the step: of a bond with its accrued interest,
    /// of a pledged repo by 100 each whatever the price; `includeFee` reckons with the fee
    /// settings. 0 when it is too little for an order, and without a price.
    qint64 CalcEntrustQty(double amount, double price, const QString& symbol, int multiplier,
                          bool includeFee) const;
    /// What a quantity costs, without fees; of a pledged repo 100 each.
    double CalcEntrustAmount(double price, double qty, const QString& symbol, int multiplier) const;

    /// The rules as they were loaded: by sub-type, type or "*"; of the maximum the entries with
    /// most conditions first.
    const StepMap& stepQtyMap() const { return m_stepQtyMap; }
    const StepMap& minQtyMap() const { return m_minQtyMap; }
    const MaxMap& maxQtyMap() const { return m_maxQtyMap; }

private:
    struct TradeFees {
        bool m_tradeFeeEnable = false;
        QVariantMap m_tradeFeeMap;
    };

    void initMaxQtyRules();
    void takeMaxQtyRule(const QString& ruleKey, int qty);
    int ruleOf(const StepMap& rules, const QString& symbol, int otherwise) const;
    double rawQty(double amount, double price, const QString& symbol, int multiplier,
                  bool includeFee) const;
    double feeRate(const QString& securityType, const QString& exchange) const;

    const SymbolIdentity& m_identity;
    StepMap m_stepQtyMap;
    StepMap m_minQtyMap;
    MaxMap m_maxQtyMap;
    Guarded<TradeFees> m_tradeFeeLock{"m_tradeFeeLock", LockRank::Leaf};
};

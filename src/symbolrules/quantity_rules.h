#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QVariantMap>
#include <QtGlobal>

#include "custom_odd_lot_type.h"
#include "guarded.h"

class SymbolIdentity;

/// A limit and the fields that an order record must have for it; an empty filter fits every order.
struct QtyRuleEntry {
    QVariantMap filter;
    int qty = 0;
};

/// Step, minimum and maximum of an order's quantity, and the conversion between money and quantity.
/// The rule tables are written once by initSymbolQtyRules(), before any reader exists, so without a
/// lock. Quantities are in the unit of the symbol (shares, or lots of a contract), prices in its
/// own currency. Any thread. Lock: m_tradeFeeLock, under which the platform's lock of the settings
/// is taken.
class QuantityRules {
public:
    using StepMap = QMap<QString, int>;
    using MaxMap = QMap<QString, QList<QtyRuleEntry>>;

    explicit QuantityRules(const SymbolIdentity& identity) : m_identity(identity) {}

    /// Fills the three tables from the static configuration.
    void initSymbolQtyRules();
    /// Reads the fee settings again.
    void slotTradeFeeSettingChanged();

    /// The step of a quantity: the security's own lot, truncated, or else the rule of the sub-type,
    /// of the type, or of every symbol; 100 without a rule.
    int GetQtyStepBySymbol(const QString& symbol) const;
    /// The smallest quantity of one order: the step of a Hong Kong symbol, or else the rule found
    /// in the same order; 100 without a rule.
    int GetMinQtyPerOrderBySymbol(const QString& symbol) const;
    /// The largest quantity of one order like `order`, a record whose fields the rules compare;
    /// 1000000 without a rule. For Hong Kong's sub-types 3000 steps, at most 99999999; the product
    /// is taken in 32 bits, so a step above 715,827 wraps and may give a negative number.
    int GetMaxQtyPerOrderBySymbol(const QString& symbol, const QVariantMap& order) const;
    /// The smallest quantity that may be sold, by the sub-type; 1 unless its board demands more.
    int GetMinSoldQtyBySymbol(const QString& symbol) const;
    /// A quantity adjusted to the step in the way of `type`; `flag` is used by ByFlag only: down
    /// when set. 0 when the quantity is too small for an order and is adjusted down. `qty` itself
    /// for Keep and any unknown type and, with a log line, when the step is below 1. Down is exact;
    /// Nearest and Up are computed as doubles, so beyond 2^53 they are off by their rounding.
    qint64 GetQtyByOddLotType(const QString& symbol, CustomOddLotType type, qint64 qty,
                              bool flag) const;
    /// How much a sum of money buys at a price, rounded down to the step. A bond costs its accrued
    /// interest too; a pledged repo costs 100 each whatever the price; with `includeFee` the fee
    /// settings are included. 0 when the money does not pay the smallest order, and for a price
    /// that is not above zero.
    qint64 CalcEntrustQty(double amount, double price, const QString& symbol, int multiplier,
                          bool includeFee) const;
    /// What a quantity costs without fees; a pledged repo costs 100 each.
    double CalcEntrustAmount(double price, double qty, const QString& symbol, int multiplier) const;

    /// The rules as they were loaded, by sub-type, type or "*"; the maximums with most conditions
    /// first.
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

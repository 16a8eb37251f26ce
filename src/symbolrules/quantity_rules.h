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
/// without a lock. Any thread. Lock: m_tradeFeeLock; of the
/// platform's locks that of the settings is taken under it.
class QuantityRules {
public:
    using StepMap = QMap<QString, int>;
    using MaxMap = QMap<QString, QList<QtyRuleEntry>>;

    explicit QuantityRules(const SymbolIdentity& identity) : m_identity(identity) {}

    /// Fills the three tables from the static configuration.
    void initSymbolQtyRules();
    /// Takes the fee settings anew.
    void slotTradeFeeSettingChanged();

    int GetQtyStepBySymbol(const QString& symbol) const;
    int GetMinQtyPerOrderBySymbol(const QString& symbol) const;
    int GetMaxQtyPerOrderBySymbol(const QString& symbol, const QVariantMap& order) const;
    int GetMinSoldQtyBySymbol(const QString& symbol) const;
    qint64 GetQtyByOddLotType(const QString& symbol, CustomOddLotType type, qint64 qty,
                              bool flag) const;
    qint64 CalcEntrustQty(double amount, double price, const QString& symbol, int multiplier,
                          bool includeFee) const;
    double CalcEntrustAmount(double price, double qty, const QString& symbol, int multiplier) const;

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

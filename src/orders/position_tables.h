#pragma once

#include <QHash>
#include <QMap>
#include <QSet>
#include <QString>
#include <QVariantMap>

#include "velmar_market_value_info.h"

/// The figures of a position record that a tick needs.
struct Holding {
    double nominal = 0;  ///< quantity with display factor and contract multiplier
    double rate = 1.0;   ///< to the account's currency of report
};

/// The holders of one symbol, by trading account and exchange.
using SymbolHolders = QMap<QString, QMap<QString, Holding>>;

/// The position records of one account, by symbol and exchange.
using RecordsBySymbol = QMap<QString, QMap<QString, QVariantMap>>;

struct PositionTables {
    /// By trading account.
    QMap<QString, RecordsBySymbol> m_positionMap;
    /// The same by symbol, so that a tick costs nothing for accounts without it; of known symbols.
    QHash<QString, SymbolHolders> m_holders;
    /// Exchanges whose missing rate was logged.
    QSet<QString> m_withoutRate;
};

struct LastPriceTables {
    QMap<QString, double> m_lastPriceMap;
    /// Symbols whose unusable tick was logged since the last rebuild.
    QSet<QString> m_badTicks;
};

struct MarketValueTables {
    QMap<QString, VelmarMarketValueInfo> m_marketValueMap;
    /// Positions on which a line was logged since the last rebuild, or by it.
    QSet<QString> m_leftOut;
};

/// A change of a symbol's price, with the epoch (the number of rebuilds) in which it was noted.
struct PriceStep {
    double before = 0;
    double after = 0;
    quint64 epoch = 0;
};

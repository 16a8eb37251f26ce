#pragma once

#include <QHash>
#include <QMap>
#include <QMutex>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <atomic>
#include <functional>
#include <mutex>

#include "guarded.h"
#include "position_tables.h"
#include "velmar_market_value_info.h"

class SymbolDataReader;
struct PositionSecurity;

/// Positions of all trading accounts and their market values, kept current by position pushes and
/// ticks. Any thread; every operation but the valuation of one quantity waits while the positions
/// are read again. Locks: m_positionLock, m_lastPriceLock, m_marketValueLock in this order.
class MarketValues {
public:
    explicit MarketValues(const SymbolDataReader& symbols);
    virtual ~MarketValues() = default;
    Q_DISABLE_COPY(MarketValues)

    /// Fills the list of standard bonds, which count at a fixed price. To be called before any
    /// other operation.
    void loadStandardBonds();

    /// Rebuilds all three tables from the positions of the neighbouring data plug-in, then
    /// subscribes to the ticks of the symbols that are held. Blocks while the plug-in reads them.
    /// Leaves all tables as they are when `isBrokenOff`, which is asked before each account under
    /// the locks, returns true.
    void initPosData(const std::function<bool()>& isBrokenOff = nullptr);
    /// Applies one position row, which replaces the position of its account, symbol and exchange.
    void slotPositionUpdated(const QVariantMap& dataMap);
    /// Values the positions in a symbol at its last price. Linear in the accounts that hold it.
    void takeTick(const QString& symbol);

    /// The totals of an account, empty for one without positions. Waits while the positions are
    /// read again.
    VelmarMarketValueInfo GetMarketValueByTradingAccount(const QString& tradingAccount) const;
    /// See calc_market_value.h. 0 for a value that is not finite, with one log line per symbol.
    double calcMarketValue(QString& error, const QString& symbol, qint64 quantity, double price,
                           double multiplier) const;

protected:
    /// Called in takeTick() and slotPositionUpdated() wherever they have released one table and not
    /// yet locked the next one; a test does there what another thread may do.
    virtual void betweenLocks() {}

private:
    struct Change;

    void applyPosition(const QVariantMap& dataMap, Change* change);
    static void takeUnknown(RecordsBySymbol& bySymbol, const QString& securityID,
                            const QString& exchange, Change* change);
    /// False, with 0, when the symbol waits for its first price.
    bool readPrice(const PositionSecurity& security, double* price) const;
    void addToTotals(const Change& change, double price);
    bool takePrice(const QString& symbol, PriceStep* step);
    void addToHolders(const QString& symbol, const PriceStep& step, const SymbolHolders& holders);

    bool isFirstWithoutValue(const QString& symbol) const;

    const SymbolDataReader& m_symbols;
    QStringList m_standardBondList;  // written once, before any reader exists
    // Serialises takeTick() and slotPositionUpdated(), whose steps on single tables would otherwise
    // count a position twice that is changed while its price changes. Guards no table; taken before
    // the three locks and never by a rebuild.
    std::mutex m_streamLock;
    // Raised by each completed rebuild while it holds the three locks. An update that began before
    // the rebuild is part of what the rebuild has counted.
    std::atomic<quint64> m_epoch{0};
    Guarded<PositionTables> m_positionLock{"m_positionLock", LockRank::Position};
    Guarded<LastPriceTables> m_lastPriceLock{"m_lastPriceLock", LockRank::LastPrice};
    Guarded<MarketValueTables> m_marketValueLock{"m_marketValueLock", LockRank::MarketValue};
    // The symbols that calcMarketValue() has logged.
    mutable Guarded<QSet<QString>, QMutex> m_withoutValueLock{"m_withoutValueLock", LockRank::Leaf};
};

#pragma once

#include <QMutex>
#include <QString>
#include <QTime>
#include <QVariantMap>
#include <atomic>

#include "guarded.h"
#include "price_cage_records.h"

class Clock;
class PriceCageSink;
class SymbolIdentity;
class ZnPresenterClass;

/// The limits that keep a price near the market during continuous trading, and for which functions
/// they are switched on. A tick is a record with the keys "Symbol", "TradingPhaseCode" and the
/// quotes; prices are in the symbol's own currency. Any thread. Locks: m_cageLock,
/// m_symbolCageIdLock.
class PriceCage {
public:
    PriceCage(const SymbolIdentity& identity, const Clock& clock, PriceCageSink& sink,
              const CageBuiltIn& builtIn = CageBuiltIn::standard());

    /// Loads the tables from the first source that has them. Without `refresh` only the first call
    /// does. Returns a notice for the user when his own record could not be read, else nothing. A
    /// refresh that fails leaves the tables alone. Blocks for up to three requests; without a
    /// presenter the sources on this machine serve.
    QString initCageMap(ZnPresenterClass* presenter, bool refresh);
    /// Writes switches (their CageField::status) and figures (the four user fields) to the server
    /// and, when it took them, to the tables and the local copies. Empty, or why it failed. Blocks
    /// for one request, and every other question about the cage with it.
    QString updateUserCageInfo(ZnPresenterClass* presenter, const CageRecords& applyInfo,
                               const CageRecords& cageInfo);

    /// The cage of a symbol, empty when there is none.
    QVariantMap GetCageMapBySymbol(const QString& symbol) const;
    /// The price that a cage is built on: the quote of that name ("Buy1Price" or "Sell1Price"),
    /// else the other one, the last price, the last close; 0 when there is none of them.
    static double getCageBasePrice(const QVariantMap& tick, const QString& fieldName);
    /// The highest price of a buy or the lowest of a sell. False, with a limit of 0, outside
    /// continuous trading and without a cage.
    bool getCageLimitPrice(double& limit, const QVariantMap& tick, bool isSell) const;
    /// The price, brought inside the cage when there is one, and checked against the day's limits.
    double CheckCagePrice(const double& price, const QVariantMap& tick, bool isSell) const;

    /// Whether the cage is switched on for a function; false for an unknown one.
    bool IsCageApply(const QString& key) const;
    /// Whether the tables are the user's own or united with the defaults; `text` tells where they
    /// are from otherwise.
    bool IsGetUserCageInfo(QString& text) const;
    /// Whether the load is over. `text` becomes the advice for a user of the function `key`, if
    /// there is any.
    bool IsUserCageInfoInited(const QString& key, QString& text) const;
    /// When the user's profile was last read; a null time before.
    QTime getCageUpdateTime() const;
    CageRecords GetAllCageMap() const;
    CageRecords GetCageApplyMap() const;
    CageIndex GetCageIndexMap() const;

private:
    struct Tables {
        CageIndex m_cageIndexMap;
        CageRecords m_cageMap;
        CageRecords m_cageApplyMap;
    };
    struct SymbolCache {
        QMap<QString, QString> m_symbolCageIdMap;
    };

    void noteProfileQuery(bool succeeded);
    QString cageIdOf(const QString& symbol, const CageIndex& index) const;
    double tickSizeOf(const QString& symbol) const;
    QString sendUserCageInfo(ZnPresenterClass* presenter, const QString& applyJson,
                             const QString& cageJson) const;

    const SymbolIdentity& m_identity;
    const Clock& m_clock;
    PriceCageSink& m_sink;
    const CageBuiltIn m_builtIn;
    Guarded<Tables> m_cageLock{"m_cageLock", LockRank::Cage};
    // Look-ups under m_cageLock for reading add to it, several at a time.
    mutable Guarded<SymbolCache, QMutex> m_symbolCageIdLock{"m_symbolCageIdLock", LockRank::Leaf};
    // Read without the lock.
    std::atomic<bool> m_userCageQueryFailed{false};
    std::atomic<CageSource> m_cageMapSource{CageSource::Nothing};
    std::atomic<CageSource> m_cageApplySource{CageSource::Nothing};
    std::atomic<int> m_cageUpdateTime;  // milliseconds since midnight, negative for the null time
};

#pragma once

#include <QMutex>
#include <QString>
#include <QTime>
#include <QVariantMap>
#include <atomic>

#include "guarded.h"
#include "load_step.h"
#include "price_cage_records.h"

class Clock;
class PriceCageLoad;
class PriceCageSink;
class SymbolIdentity;
class ZnPresenterClass;

/// The limits that keep a price near the market during continuous trading, and the functions for
/// which they are switched on. A tick is a record with the keys of TickField; prices are in the
/// symbol's own currency. Any thread. Locks: m_cageLock, m_symbolCageIdLock, m_userCageQueryLock.
class PriceCage {
public:
    PriceCage(const SymbolIdentity& identity, const Clock& clock, PriceCageSink& sink,
              const CageBuiltIn& builtIn = CageBuiltIn::standard());

    /// Loads the tables from the first source that has them. Without `refresh` only the first call
    /// loads; every later one returns "当前状态不可重新初始化价格笼子配置！", and so does a call
    /// whose presenter is closing or closes meanwhile. Returns a notice for the user when the
    /// tables in force are not the user's own since their record could not be read, otherwise an
    /// empty text. A refresh that fails leaves the tables as they are. Blocks for up to three
    /// requests, and for as many again when updateUserCageInfo() saved something meanwhile. Without
    /// a presenter the sources on this machine replace the tables, and the text is empty.
    QString initCageMap(ZnPresenterClass* presenter, bool refresh);
    /// Saves switches (the CageField::status of each record in `applyInfo`, by function) and
    /// figures (the four user fields of each record in `cageInfo`, by cage id) on the server and,
    /// when the server accepted them, in the tables and the local copies. A field that a record
    /// leaves out is emptied. Returns an empty text, or why nothing was changed. Blocks for one
    /// request, and every question that reads the tables with it. Does not wait for the first load.
    QString updateUserCageInfo(ZnPresenterClass* presenter, const CageRecords& applyInfo,
                               const CageRecords& cageInfo);

    /// The cage of a symbol, empty when it has no cage.
    QVariantMap GetCageMapBySymbol(const QString& symbol) const;
    /// The price that a limit is based on: the quote of that name ("Buy1Price" or "Sell1Price"), or
    /// else the other quote, the last price, the last close; 0 when the tick has none of them.
    static double getCageBasePrice(const QVariantMap& tick, const QString& fieldName);
    /// The highest price of a buy or the lowest of a sell. False, with a limit of 0, outside
    /// continuous trading and for a symbol without a cage.
    bool getCageLimitPrice(double& limit, const QVariantMap& tick, bool isSell) const;
    /// The price, limited by the cage if there is one and then by the day's limits.
    double CheckCagePrice(const double& price, const QVariantMap& tick, bool isSell) const;

    /// Whether the cage is switched on for a function; false for an unknown one.
    bool IsCageApply(const QString& key) const;
    /// Whether the tables are the user's own or united with the defaults. Otherwise `text` says
    /// where they come from.
    bool IsGetUserCageInfo(QString& text) const;
    /// Whether the first load has ended. `text` is set when there is advice for a user of the
    /// function `key`.
    bool IsUserCageInfoInited(const QString& key, QString& text) const;
    /// When the user's profile was last read; a null time before the first success.
    QTime getCageUpdateTime() const;
    CageRecords GetAllCageMap() const;
    CageRecords GetCageApplyMap() const;
    CageIndex GetCageIndexMap() const;

private:
    struct Tables {
        CageIndex m_cageIndexMap;
        CageRecords m_cageMap;
        CageRecords m_cageApplyMap;
        quint64 saves = 0;        // how many updates were accepted
        quint64 loadInForce = 0;  // number of the load that the tables come from
    };
    struct SymbolCache {
        QMap<QString, QString> m_symbolCageIdMap;
    };
    struct UserCageQuery {
        quint64 load = 0;  // number of the load that asked
        bool m_userCageQueryFailed = false;
        QTime m_cageUpdateTime;
    };
    /// One pass over the sources: its place in the order of all passes, and what was saved before.
    struct Pass {
        quint64 number = 0;
        quint64 saves = 0;
    };
    enum class Outcome {
        Taken,    ///< the load's tables are in force
        Kept,     ///< newer tables stay in force
        Failed,   ///< the load has no tables
        MetASave  ///< a save came meanwhile, so the load may be older than the tables
    };

    Pass beginPass();
    Outcome take(const PriceCageLoad& load, const Pass& pass, bool keepsSaved);
    void noteProfileQuery(quint64 load, bool succeeded, bool isTaken);
    bool userCageQueryFailed() const;
    bool rememberedCageId(const QString& symbol, QString* cageId) const;
    QString cageIdOf(const QString& symbol, const CageIndex& index) const;
    double tickSizeOf(const QString& symbol) const;
    QString sendUserCageInfo(ZnPresenterClass* presenter, const QString& applyJson,
                             const QString& cageJson) const;

    const SymbolIdentity& m_identity;
    const Clock& m_clock;
    PriceCageSink& m_sink;
    const CageBuiltIn m_builtIn;
    LoadStep m_loadStep;
    std::atomic<quint64> m_lastPass{0};
    Guarded<Tables> m_cageLock{"m_cageLock", LockRank::Cage};
    // Look-ups that hold m_cageLock for reading add to it, several at a time.
    mutable Guarded<SymbolCache, QMutex> m_symbolCageIdLock{"m_symbolCageIdLock", LockRank::Leaf};
    // Apart from m_cageLock, so that questions about the last query never wait for a save.
    mutable Guarded<UserCageQuery, QMutex> m_userCageQueryLock{"m_userCageQueryLock",
                                                               LockRank::Leaf};
    // Read without a lock.
    std::atomic<CageSource> m_cageMapSource{CageSource::Nothing};
    std::atomic<CageSource> m_cageApplySource{CageSource::Nothing};
};
